#include "orvnetwork/data/LooseRead.h"

#include <orvnetwork/data/detail/Characters.h>
#include <orvnetwork/data/detail/Decimal.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace orv {
namespace {

void skipBlanks(std::string_view& text) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
}

/// Takes one sign off the front and says whether it was a minus.
bool takeSign(std::string_view& text) {
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) {
    text.remove_prefix(1);
  }
  return negative;
}

template <typename Integer>
Integer integerFromText(std::string_view text) {
  skipBlanks(text);
  const bool negative = takeSign(text);
  using Limits = std::numeric_limits<Integer>;
  Integer result = 0;
  for (std::size_t at = 0; at < text.size() && isDigit(text[at]); ++at) {
    // Counted down from 0, so that the smallest number has room.
    const Integer digit = static_cast<Integer>(text[at] - '0');
    if (result < (Limits::min() + digit) / 10) {
      return negative ? Limits::min() : Limits::max();
    }
    result = static_cast<Integer>(result * 10 - digit);
  }
  if (negative) {
    return result;
  }
  return result == Limits::min() ? Limits::max() : static_cast<Integer>(-result);
}

std::string_view viewOf(const json::string& text) {
  return {text.data(), text.size()};
}

template <typename Number>
std::string generalForm(Number number, int digits) {
  char buffer[32];
  const auto end = std::to_chars(buffer, buffer + sizeof buffer, number, std::chars_format::general, digits);
  return std::string(buffer, end.ptr);
}

}  // namespace

const json::value* member(const json::object& object, std::string_view key) {
  return object.if_contains({key.data(), key.size()});
}

const json::value* member(const json::object* object, std::string_view key) {
  return object == nullptr ? nullptr : member(*object, key);
}

std::int32_t looseInt32(const json::value* value) {
  if (value != nullptr && value->is_string()) {
    return int32FromText(viewOf(value->get_string()));
  }
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(looseInt64(value)));
}

std::int64_t looseInt64(const json::value* value) {
  if (value == nullptr) {
    return 0;
  }
  switch (value->kind()) {
    case json::kind::bool_:
      return value->get_bool() ? 1 : 0;
    case json::kind::int64:
      return value->get_int64();
    case json::kind::uint64:
      return static_cast<std::int64_t>(value->get_uint64());
    case json::kind::double_:
      return truncateToInt64(value->get_double());
    case json::kind::string:
      return int64FromText(viewOf(value->get_string()));
    default:
      return 0;
  }
}

double looseDouble(const json::value* value) {
  if (value == nullptr) {
    return 0;
  }
  switch (value->kind()) {
    case json::kind::bool_:
      return value->get_bool() ? 1 : 0;
    case json::kind::int64:
      return static_cast<double>(value->get_int64());
    case json::kind::uint64:
      return static_cast<double>(value->get_uint64());
    case json::kind::double_:
      return value->get_double();
    case json::kind::string:
      return doubleFromText(viewOf(value->get_string()));
    default:
      return 0;
  }
}

bool looseBool(const json::value* value) {
  if (value != nullptr && value->is_string()) {
    return boolFromText(viewOf(value->get_string()));
  }
  return looseDouble(value) != 0;
}

OptionalString looseString(const json::value* value) {
  const auto text = looseStringView(value);
  return text ? OptionalString(*text) : std::nullopt;
}

std::optional<std::string_view> looseStringView(const json::value* value) {
  if (value == nullptr || !value->is_string()) {
    return std::nullopt;
  }
  return viewOf(value->get_string());
}

const json::object* looseObject(const json::value* value) {
  return value == nullptr ? nullptr : value->if_object();
}

const json::array* looseArray(const json::value* value) {
  return value == nullptr ? nullptr : value->if_array();
}

std::int32_t int32FromText(std::string_view text) {
  return integerFromText<std::int32_t>(text);
}
std::int64_t int64FromText(std::string_view text) {
  return integerFromText<std::int64_t>(text);
}

double doubleFromText(std::string_view text) {
  skipBlanks(text);
  const bool negative = takeSign(text);
  const bool isNumber = !text.empty() && (isDigit(text.front()) || text.front() == '.');
  const double size = isNumber ? realFromDecimal(text) : 0;
  return negative ? -size : size;
}

bool boolFromText(std::string_view text) {
  skipBlanks(text);
  if (!text.empty() && std::string_view("tTyY").find(text.front()) != std::string_view::npos) {
    return true;
  }
  takeSign(text);
  const std::size_t first = text.find_first_not_of('0');
  return first != std::string_view::npos && isDigit(text[first]);
}

std::int64_t truncateToInt64(double number) {
  using Limits = std::numeric_limits<std::int64_t>;
  constexpr double kEnd = 9223372036854775808.0;  // 2^63, the first number that is too large
  if (std::isnan(number)) {
    return 0;
  }
  if (number >= kEnd) {
    return Limits::max();
  }
  return number < -kEnd ? Limits::min() : static_cast<std::int64_t>(number);
}

std::string textOfNumber(double number) {
  return generalForm(number, 16);
}
std::string textOfNumber(float number) {
  return generalForm(number, 7);
}
std::string textOfNumber(std::int64_t number) {
  return std::to_string(number);
}
std::string textOfNumber(std::uint64_t number) {
  return std::to_string(number);
}

OptionalString textOfNumber(const json::value& value) {
  switch (value.kind()) {
    case json::kind::bool_:
      return value.get_bool() ? "1" : "0";
    case json::kind::int64:
      return textOfNumber(value.get_int64());
    case json::kind::uint64:
      return textOfNumber(value.get_uint64());
    case json::kind::double_:
      return textOfNumber(value.get_double());
    default:
      return std::nullopt;
  }
}

}  // namespace orv
