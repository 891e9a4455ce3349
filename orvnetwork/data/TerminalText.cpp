#include "orvnetwork/data/TerminalText.h"

#include <orvnetwork/data/Utf8.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>

namespace orv {

namespace {

/// "\u202e" and a zero byte.
constexpr std::size_t kEscapeSize = 8;

/// Whether a character does something to a terminal, to the direction in which it writes or to its lines, in the place of
/// being shown.
bool isControl(char32_t code) {
  const bool isLineOrDirection = code == 0x061C || code == 0x200E || code == 0x200F ||
                                 (code >= 0x2028 && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
  return (code < 0x20 && code != U'\n') || (code >= 0x7F && code <= 0x9F) || isLineOrDirection;
}

bool isPlain(char c) {
  return (c >= 0x20 && c < 0x7F) || c == '\n';
}

void appendEscaped(std::string& out, const char* format, unsigned number) {
  std::array<char, kEscapeSize> text{};
  std::snprintf(text.data(), text.size(), format, number);
  out += text.data();
}

}  // namespace

std::string printable(std::string_view text) {
  std::string shown;
  shown.reserve(text.size());
  while (!text.empty()) {
    const auto plain = static_cast<std::size_t>(std::ranges::find_if_not(text, isPlain) - text.begin());
    shown += text.substr(0, plain);
    text.remove_prefix(plain);
    if (text.empty()) break;
    const std::size_t length = utf8SequenceLength(text);
    const char32_t code = length > 0 ? utf8CodePoint(text, length) : 0;
    if (length == 0) {
      appendEscaped(shown, "\\x%02x", static_cast<unsigned char>(text.front()));
    } else if (isControl(code)) {
      appendEscaped(shown, "\\u%04x", static_cast<unsigned>(code));
    } else {
      shown += text.substr(0, length);
    }
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return shown;
}

}  // namespace orv
