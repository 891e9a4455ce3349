#pragma once

#include <boost/json/object.hpp>
#include <boost/json/value.hpp>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace orv::test {

/// A WebSocket client of bare sockets: it sees each frame and the way in which the connection ends, and can
/// send what no well-behaved client would. Blocking, with time-outs; for one thread.
class RawClient {
 public:
  struct Message {
    int opcode = 0;  ///< 1 text, 2 binary, 8 close, 9 ping, 10 pong
    std::string payload;
  };
  enum class End { None, Fin, Reset };
  static constexpr std::chrono::seconds kPatience{20};

  /// Connects to the port on 127.0.0.1, or at another address; `tls` without looking at the certificate. `from` is the
  /// address of this machine that it comes from, where that matters.
  explicit RawClient(std::uint16_t port, bool tls = false, int receiveBuffer = 0, const char* from = nullptr,
                     const char* to = "127.0.0.1");
  ~RawClient();
  RawClient(RawClient&&) noexcept;

  /// The client's handshake; returns the head of the answer, empty when none came.
  std::string shakeHands(std::string_view extraHead = {});
  /// Connects and shakes hands.
  static RawClient open(std::uint16_t port, bool tls = false);

  void sendBytes(std::string_view bytes);
  /// Like `sendBytes`; false when the peer ended the connection meanwhile.
  bool trySendBytes(std::string_view bytes);
  void sendFrame(int opcode, std::string_view payload);
  void sendText(std::string_view text) { sendFrame(1, text); }
  static std::string frameBytes(int opcode, std::string_view payload);

  /// The next frame; absent when the connection ended or nothing came in time.
  std::optional<Message> receive(std::chrono::milliseconds timeout = kPatience);
  /// The next frame, which has to be text; "" otherwise.
  std::string receiveText(std::chrono::milliseconds timeout = kPatience);
  /// The next frame as a JSON object; empty otherwise.
  boost::json::object receiveObject();
  /// Everything until the connection ends.
  std::string receiveRest();
  /// Bytes up to and with `end`.
  std::string receiveUntil(std::string_view end, std::chrono::milliseconds timeout = kPatience);
  /// How the connection ended, as far as it was read.
  End end() const { return end_; }
  /// Reads frames until the connection ends and says how.
  End waitForEnd();

  /// Sends a request in the standard form and returns the reply to it.
  boost::json::object request(std::string_view command, const boost::json::object& values,
                              std::string_view timestamp = "1700000000000001");
  static std::string standardFrame(std::string_view command, const boost::json::object& values,
                                   std::string_view timestamp);
  /// One HTTP request on a connection of its own; returns the body, and the status through `status`.
  static std::string http(std::uint16_t port, std::string_view method, std::string_view target,
                          std::string_view body, int& status, bool tls = false);

 private:
  struct Tls;
  bool fill(std::chrono::steady_clock::time_point deadline);

  int socket_ = -1;
  std::unique_ptr<Tls> tls_;
  std::string input_;
  End end_ = End::None;
};

}  // namespace orv::test
