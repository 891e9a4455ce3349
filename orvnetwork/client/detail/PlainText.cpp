#include "orvnetwork/client/detail/PlainText.h"

#include <orvnetwork/data/Utf8.h>

#include <algorithm>
#include <cstddef>

namespace orv {

namespace {

bool isControlCharacter(char c) {
  return static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
}

}  // namespace

bool isPlainText(std::string_view text) {
  constexpr std::size_t kLongest = 256;
  if (text.empty() || text.size() > kLongest) return false;
  while (!text.empty()) {
    const std::size_t length = utf8SequenceLength(text);
    if (length == 0 || isControlCharacter(text.front())) return false;
    text.remove_prefix(length);
  }
  return true;
}

std::string asOneLine(std::string line, std::string_view why) {
  if (!why.empty()) line.append(": ").append(why);
  std::ranges::replace_if(line, isControlCharacter, ' ');
  return line;
}

}  // namespace orv
