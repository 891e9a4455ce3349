#pragma once

#include <orvnetwork/platform/native/system/FileDescriptor.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace orv::test {

/// One WebSocket client among many: a socket that never blocks, so that a thread can look after a hundred. It can
/// break off in every way.
class LoadClient {
 public:
  enum class Break { Fin, Reset, HalfFrame, RandomBytes, Unmasked, NotUtf8 };
  static constexpr int kBreaks = 6;

  struct Message {
    int opcode = 0;
    std::string payload;
  };

  /// Connects to the port on 127.0.0.1 and asks for the handshake. What was there before is dropped.
  void connect(std::uint16_t port);
  void disconnect();
  /// Goes in a way that a server has to live with; after some of them it is for the server to end the connection.
  void breakOff(Break how);

  /// Sends a frame, or keeps it until the socket takes it.
  void send(int opcode, std::string_view payload);
  /// Reads and writes what can be; false when the connection has ended.
  bool work();
  /// The next message that has come in; absent when there is none, or while the handshake goes on.
  std::optional<Message> next();

  int descriptor() const { return socket_.get(); }
  bool isOpen() const { return open_; }
  bool wantsToWrite() const { return !output_.empty(); }

 private:
  bool flush();
  bool fill();

  FileDescriptor socket_;
  std::string input_, output_;
  std::size_t read_ = 0;
  bool open_ = false;
};

}  // namespace orv::test
