#pragma once

#include <orvnetwork/data/Utf8.h>

#include <cstddef>
#include <string_view>

namespace orv::cli {

/// About as many columns of a terminal as a text takes: Chinese characters take two, others one.
constexpr std::size_t textWidth(std::string_view text) {
  std::size_t width = 0;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    // From U+2E80 on characters are wide.
    if (!isUtf8Continuation(c)) width += byte >= 0xE3 ? 2 : 1;
  }
  return width;
}

}  // namespace orv::cli
