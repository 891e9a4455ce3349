#pragma once

// The HTTP side of the handshake: a status line, header lines, and an empty line that ends them. What comes behind
// the empty line of a 101 answer is WebSocket frames already and is let through untouched; any other answer is a
// refusal, and so is what does not begin as HTTP does, and a header longer than the bound.

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace orv {

/// Whether a header line begins with a name, which is in small letters and ends with a colon; a server may write it in
/// any case.
inline bool isHeaderLineOf(std::string_view line, std::string_view name) {
  return line.size() >= name.size() && std::equal(name.begin(), name.end(), line.begin(), [](char a, char b) {
           return a == (b >= 'A' && b <= 'Z' ? static_cast<char>(b + ('a' - 'A')) : b);
         });
}

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
    const std::size_t begun = std::min(received.size(), kHttp.size());
    if (received.substr(0, begun) != kHttp.substr(0, begun)) return state_ = State::Refused;
    const std::size_t end = received.substr(0, kLongestHeader).find(kEnd);
    if (end != std::string_view::npos) {
      headerSize_ = end + kEnd.size();
      status_ = readStatus(received.substr(0, received.find(kEnd.substr(0, 2))));
      date_ = readDate(received.substr(0, headerSize_));
      state_ = status_ == kSwitchingProtocols ? State::Passed : State::Refused;
    } else if (received.size() > kLongestHeader) {
      tooLong_ = true;
      state_ = State::Refused;
    }
    return state_;
  }

  State state() const { return state_; }

  /// The HTTP status of the answer; absent before it has come, or when it is not HTTP.
  std::optional<int> status() const { return status_; }
  /// What stands in the header "Date" of the answer; empty without it.
  const std::string& date() const { return date_; }
  /// It was refused because its header has no end within the bound.
  bool isTooLong() const { return tooLong_; }

  /// How much of what was received is header; 0 before it is whole.
  std::size_t headerSize() const { return headerSize_; }

 private:
  static constexpr int kSwitchingProtocols = 101;
  static constexpr std::string_view kHttp = "HTTP/";

  /// The status of a line like "HTTP/1.1 101 Switching Protocols".
  static std::optional<int> readStatus(std::string_view line) {
    const std::size_t space = line.find(' ');
    if (space == std::string_view::npos || line.size() < space + 4) return std::nullopt;
    int status = 0;
    const char* const digits = line.data() + space + 1;
    if (std::from_chars(digits, digits + 3, status).ptr != digits + 3) return std::nullopt;
    return status;
  }

  static std::string readDate(std::string_view header) {
    constexpr std::string_view kName = "date:";
    constexpr std::string_view kBlanks = " \t";
    while (!header.empty()) {
      const std::size_t end = header.find("\r\n");
      std::string_view line = header.substr(0, end);
      if (isHeaderLineOf(line, kName)) {
        line.remove_prefix(std::min(line.find_first_not_of(kBlanks, kName.size()), line.size()));
        return std::string(line.substr(0, line.find_last_not_of(kBlanks) + 1));
      }
      header.remove_prefix(end == std::string_view::npos ? header.size() : end + 2);
    }
    return {};
  }

  State state_ = State::Waiting;
  bool tooLong_ = false;
  std::optional<int> status_;
  std::string date_;
  std::size_t headerSize_ = 0;
};

}  // namespace orv
