#include "orvnetwork/data/detail/Decimal.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

namespace orv {
namespace {

/// Whether a number that a double cannot hold is too large rather than too small: the sign of the exponent
/// that its first digit other than 0 has.
bool isTooLarge(std::string_view number) {
  const std::size_t exponentAt = std::min(number.find_first_of("eE"), number.size());
  const std::string_view mantissa = number.substr(0, exponentAt);
  const std::size_t point = std::min(mantissa.find('.'), mantissa.size());
  const std::size_t digit = mantissa.find_first_of("123456789");
  if (digit == std::string_view::npos) {
    return false;
  }
  const double firstDigitExponent = static_cast<double>(point) - static_cast<double>(digit);

  std::string_view digits = number.substr(std::min(exponentAt + 1, number.size()));
  const bool negative = digits.starts_with('-');
  digits.remove_prefix(negative || digits.starts_with('+') ? 1 : 0);
  double exponent = 0;
  for (const char c : digits) {
    exponent = exponent * 10 + (c - '0');
  }
  return firstDigitExponent + (negative ? -exponent : exponent) > 0;
}

}  // namespace

double realFromDecimal(std::string_view text) {
  double result = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), result);
  if (error == std::errc::result_out_of_range) {
    const std::string_view number(text.data(), static_cast<std::size_t>(end - text.data()));
    result = isTooLarge(number) ? std::numeric_limits<double>::infinity() : 0.0;
    return number.starts_with('-') ? -result : result;
  }
  return result;
}

char* writeShortestReal(char* place, double number) {
  const double size = std::fabs(number);
  const bool plain = size == 0 || (size >= 1e-4 && size < 1e17);
  return std::to_chars(place, place + kLongestReal, number,
                       plain ? std::chars_format::fixed : std::chars_format::scientific)
      .ptr;
}

}  // namespace orv
