#pragma once

#include <cstdint>
#include <string_view>

namespace orv {

/// How many bytes the well-formed UTF-8 sequence at the front of `text` has; 0 when there is none.
inline std::size_t utf8SequenceLength(std::string_view text) {
  const auto byte = [text](std::size_t at) { return static_cast<unsigned char>(text[at]); };
  const auto follows = [text, byte](std::size_t at, unsigned low = 0x80, unsigned high = 0xBF) {
    return at < text.size() && byte(at) >= low && byte(at) <= high;
  };
  if (text.empty()) {
    return 0;
  }
  const unsigned lead = byte(0);
  if (lead < 0x80) {
    return 1;
  }
  if (lead >= 0xC2 && lead <= 0xDF) {
    return follows(1) ? 2 : 0;
  }
  if (lead >= 0xE0 && lead <= 0xEF) {
    // No overlong forms, no surrogates.
    return follows(1, lead == 0xE0 ? 0xA0 : 0x80, lead == 0xED ? 0x9F : 0xBF) && follows(2) ? 3 : 0;
  }
  if (lead >= 0xF0 && lead <= 0xF4) {
    return follows(1, lead == 0xF0 ? 0x90 : 0x80, lead == 0xF4 ? 0x8F : 0xBF) && follows(2) && follows(3) ? 4
                                                                                                          : 0;
  }
  return 0;
}

/// Whether a text is UTF-8 from its first byte to its last.
inline bool isUtf8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = utf8SequenceLength(text);
    if (length == 0) {
      return false;
    }
    text.remove_prefix(length);
  }
  return true;
}

/// The code point of a well-formed sequence of `length` bytes.
inline char32_t utf8CodePoint(std::string_view text, std::size_t length) {
  const auto lead = static_cast<unsigned char>(text[0]);
  if (length == 1) {
    return lead;
  }
  char32_t code = lead & (0xFFu >> (length + 1));
  for (std::size_t at = 1; at < length; ++at) {
    code = (code << 6) | (static_cast<unsigned char>(text[at]) & 0x3Fu);
  }
  return code;
}

}  // namespace orv
