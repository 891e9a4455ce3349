#pragma once

#include <orvnetwork/platform/native/system/FileDescriptor.h>

#include <sys/socket.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

struct ssl_ctx_st;
struct ssl_st;

namespace orv::test {

/// One WebSocket frame on the wire.
struct RawFrame {
  int opcode = 0;
  bool fin = true;
  bool masked = false;
  std::string payload;

  /// The code of a close frame; 0 when there is none.
  int closeCode() const;
};

namespace opcode {
inline constexpr int kContinuation = 0;
inline constexpr int kText = 1;
inline constexpr int kBinary = 2;
inline constexpr int kClose = 8;
inline constexpr int kPing = 9;
inline constexpr int kPong = 10;
}  // namespace opcode

/// Writes a frame. `firstBits` are the bits of the first byte beside the opcode: 0x80 ends a message, 0x40,
/// 0x20 and 0x10 are reserved.
std::string frameBytes(int op, std::string_view payload, int firstBits = 0x80, bool masked = false);
/// The payload of a close frame.
std::string closePayload(int code, std::string_view reason = "");

/// A server that speaks the protocol by hand, so that it can break every rule. All operations block the test
/// thread, for half a minute at most; what goes wrong is thrown.
class RawPeer {
 public:
  explicit RawPeer(int descriptor) : socket_(descriptor) {}

  /// Speaks TLS from now on. False when the client refuses.
  bool acceptTls(ssl_ctx_st* context);

  /// Reads the request of the opening handshake, to the blank line.
  std::string readRequest();
  /// Reads the request and agrees; what `extra` says goes out in the same packet.
  void acceptHandshake(std::string_view extra = "");
  /// The answer that agrees to `request`, with more header lines (each with its line end).
  static std::string agreement(std::string_view request, std::string_view moreHeaders = "");

  void send(std::string_view bytes);
  void sendOneByOne(std::string_view bytes);
  /// Reads a frame; absent when the client ended the stream.
  std::optional<RawFrame> readFrame();
  /// Reads exactly `size` bytes; fewer at the end of the stream.
  std::string readBytes(std::size_t size);
  /// What the client has sent in one piece, or as much of it as has come.
  std::string readOnce();
  /// Whether nothing but the end of the stream, or a reset, is left to read.
  bool readEnd();

  void close();
  /// Drops the connection so that the client sees a reset.
  void reset();
  int descriptor() const { return socket_.get(); }

 private:
  struct FreeTls {
    void operator()(ssl_st* session) const;
  };

  std::size_t readSome(char* into, std::size_t size);
  void waitFor(short events);

  FileDescriptor socket_;
  std::unique_ptr<ssl_st, FreeTls> tls_;
};

/// A listening socket.
class RawListener {
 public:
  /// Without `listening` the port is taken but refuses connections. Without `host` it is the loopback one.
  explicit RawListener(bool listening = true, int family = AF_INET, const char* host = nullptr);

  std::uint16_t port() const { return port_; }
  std::string url(std::string_view path = "/", std::string_view scheme = "ws",
                  std::string_view host = "127.0.0.1") const;
  RawPeer accept();
  /// Whether somebody has connected, and waits for `accept`.
  bool hasConnection(int milliseconds = 0) const;

 private:
  FileDescriptor socket_;
  std::uint16_t port_ = 0;
};

}  // namespace orv::test
