#include "orvnetwork/data/NumericCompare.h"

#include <algorithm>

namespace orv {

namespace {

bool standsAtDigit(std::string_view text) {
  return !text.empty() && text.front() >= '0' && text.front() <= '9';
}

/// Takes the run of digits off the front of a text; the run comes without the zeros in front.
std::string_view takeNumber(std::string_view& text) {
  const std::size_t end = std::min(text.find_first_not_of("0123456789"), text.size());
  std::string_view digits = text.substr(0, end);
  text.remove_prefix(end);
  digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size()));
  return digits;
}

std::strong_ordering compareNumbers(std::string_view left, std::string_view right) {
  if (left.size() != right.size()) return left.size() <=> right.size();
  return left.compare(right) <=> 0;
}

}  // namespace

std::strong_ordering compareNumerically(std::string_view left, std::string_view right) {
  while (!left.empty() && !right.empty()) {
    std::strong_ordering order = std::strong_ordering::equal;
    if (standsAtDigit(left) && standsAtDigit(right)) {
      // In this order: both texts move on, whatever comes out.
      const std::string_view leftNumber = takeNumber(left);
      order = compareNumbers(leftNumber, takeNumber(right));
    } else {
      // Bytes of UTF-8 compare as the code points do.
      order = static_cast<unsigned char>(left.front()) <=> static_cast<unsigned char>(right.front());
      left.remove_prefix(1);
      right.remove_prefix(1);
    }
    if (order != 0) return order;
  }
  return left.size() <=> right.size();
}

}  // namespace orv
