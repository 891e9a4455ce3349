#pragma once

#include <cstdint>
#include <string_view>

namespace orv::testing {

/// Whether a text is UTF-8: no overlong form, no surrogate, nothing above U+10FFFF.
inline bool isUtf8(std::string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    const auto lead = static_cast<std::uint8_t>(text[at++]);
    const int rest = lead < 0x80 ? 0 : lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
    if ((lead >= 0x80 && lead < 0xC2) || lead > 0xF4) {
      return false;
    }
    for (int i = 0; i < rest; ++i, ++at) {
      const auto byte = at < text.size() ? static_cast<std::uint8_t>(text[at]) : std::uint8_t{0};
      const std::uint8_t least = i > 0 ? 0x80 : lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
      const std::uint8_t most = i > 0 ? 0xBF : lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
      if (byte < least || byte > most) {
        return false;
      }
    }
  }
  return true;
}

}  // namespace orv::testing
