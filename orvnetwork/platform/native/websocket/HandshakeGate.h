#pragma once

// The HTTP side of the handshake: a status line, header lines, and an empty line that ends them. What comes behind
// the empty line of a 101 answer is WebSocket frames already and is let through untouched; any other answer is a
// refusal. A header longer than the bound counts as a refusal too.

#include <charconv>
#include <cstddef>
#include <optional>
#include <string_view>

namespace orv {

/// Holds the server's answer to the handshake back until its header is whole, so that a refusal is known at
/// once, whatever body follows it or does not.
class HandshakeGate {
 public:
  static constexpr std::size_t kLongestHeader = std::size_t{16} << 10;

  enum class State { Waiting, Passed, Refused };

  /// Looks at all that has come so far.
  State look(std::string_view received) {
    if (state_ != State::Waiting) return state_;
    constexpr std::string_view kEnd = "\r\n\r\n";
    const std::size_t end = received.find(kEnd);
    if (end != std::string_view::npos) {
      headerLeft_ = end + kEnd.size();
      status_ = readStatus(received);
      state_ = status_ == kSwitchingProtocols ? State::Passed : State::Refused;
    } else if (received.size() > kLongestHeader) {
      state_ = State::Refused;
    }
    return state_;
  }

  State state() const { return state_; }

  /// The HTTP status of the answer; absent before it has come, or when it is not HTTP.
  std::optional<int> status() const { return status_; }

  /// How much of what was received is still header, and the note that some of it was used.
  std::size_t headerLeft() const { return headerLeft_; }
  void headerUsed(std::size_t size) { headerLeft_ -= size; }

 private:
  static constexpr int kSwitchingProtocols = 101;

  /// The status of a line like "HTTP/1.1 101 Switching Protocols".
  static std::optional<int> readStatus(std::string_view header) {
    if (!header.starts_with("HTTP/")) return std::nullopt;
    const std::size_t space = header.find(' ');
    if (space == std::string_view::npos || header.size() < space + 4) return std::nullopt;
    int status = 0;
    const char* const digits = header.data() + space + 1;
    if (std::from_chars(digits, digits + 3, status).ptr != digits + 3) return std::nullopt;
    return status;
  }

  State state_ = State::Waiting;
  std::optional<int> status_;
  std::size_t headerLeft_ = 0;
};

}  // namespace orv
