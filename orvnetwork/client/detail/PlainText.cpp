#include "orvnetwork/client/detail/PlainText.h"

#include <orvnetwork/data/Utf8.h>

#include <cstddef>

namespace orv {

bool isPlainText(std::string_view text) {
  constexpr std::size_t kLongest = 256;
  if (text.empty() || text.size() > kLongest) return false;
  while (!text.empty()) {
    const std::size_t length = utf8SequenceLength(text);
    const auto first = static_cast<unsigned char>(text.front());
    if (length == 0 || first < 0x20 || first == 0x7F) return false;
    text.remove_prefix(length);
  }
  return true;
}

}  // namespace orv
