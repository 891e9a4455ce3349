#include "orvnetwork/course/detail/FolderName.h"

#include <orvnetwork/data/Utf8.h>

#include <algorithm>
#include <cstddef>

namespace orv {

namespace {

/// U+0000 to U+001F and U+007F to U+009F.
bool isControl(std::string_view letter) {
  const char32_t code =
      letter.size() > 1 ? utf8CodePoint(letter, letter.size()) : static_cast<unsigned char>(letter.front());
  return code < 0x20 || (code >= 0x7F && code <= 0x9F);
}

void appendEscaped(std::string& name, unsigned char byte) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  name += '%';
  name += kDigits[byte >> 4];
  name += kDigits[byte & 15];
}

}  // namespace

std::string folderName(std::string_view text) {
  if (text == ".") return "%2E";
  if (text == "..") return "%2E%2E";
  std::string name;
  while (!text.empty()) {
    const std::size_t length = std::max<std::size_t>(utf8SequenceLength(text), 1);
    const std::string_view letter = text.substr(0, length);
    if (letter == "/" || isControl(letter)) {
      for (const char byte : letter) appendEscaped(name, static_cast<unsigned char>(byte));
    } else {
      name += letter;
    }
    text.remove_prefix(length);
  }
  return name;
}

}  // namespace orv
