#include "orvnetwork/data/TextOrder.h"

#include <algorithm>

namespace orv {

namespace {

// A character beyond U+FFFF begins with a surrogate (0xD800 and up) in UTF-16, below U+E000, but with a lead
// byte of 0xF0 and up in UTF-8, above the lead bytes 0xEE and 0xEF of U+E000 to U+FFFF.
int rankOf(char character) {
  const int byte = static_cast<unsigned char>(character);
  return byte == 0xEE || byte == 0xEF ? byte + 0x100 : byte;
}

}  // namespace

bool precedesByUtf16Units(std::string_view left, std::string_view right) {
  return std::lexicographical_compare(left.begin(), left.end(), right.begin(), right.end(),
                                      [](char a, char b) { return rankOf(a) < rankOf(b); });
}

}  // namespace orv
