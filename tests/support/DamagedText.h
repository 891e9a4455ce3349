#pragma once

#include <cstddef>
#include <random>
#include <string>
#include <string_view>

namespace orv::test {

/// A text with so many bytes changed, put in or taken out, for readers of JSON that must not be misled by any of it.
inline std::string damaged(std::string_view text, std::size_t changes, std::mt19937& random) {
  constexpr std::string_view kBytes = "{}[]\",:\\0123456789-+.eE nulltrefasuCv/\t\x01\x80";
  const auto below = [&](std::size_t most) { return random() % most; };
  std::string changed(text);
  for (; changes > 0 && !changed.empty(); --changes) {
    const std::size_t at = below(changed.size());
    const char byte = kBytes[below(kBytes.size())];
    switch (below(3)) {
      case 0:
        changed[at] = byte;
        break;
      case 1:
        changed.insert(at, 1, byte);
        break;
      default:
        changed.erase(at, 1 + below(4));
    }
  }
  return changed;
}

}  // namespace orv::test
