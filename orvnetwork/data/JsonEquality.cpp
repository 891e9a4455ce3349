#include "orvnetwork/data/JsonEquality.h"

#include <cmath>
#include <functional>
#include <variant>

namespace orv {

namespace {

/// A number in the one form that its value has: a signed integer where it fits, else an unsigned one, else a
/// real that is not whole, too large or not finite.
using Number = std::variant<std::int64_t, std::uint64_t, double>;

Number numberOf(double real) {
  constexpr double kTwoTo63 = 9223372036854775808.0;
  if (std::trunc(real) == real) {
    if (real >= -kTwoTo63 && real < kTwoTo63) return static_cast<std::int64_t>(real);
    if (real >= kTwoTo63 && real < 2 * kTwoTo63) return static_cast<std::uint64_t>(real);
  }
  return real;
}

/// Absent when the value is no number.
std::optional<Number> numberOf(const json::value& value) {
  switch (value.kind()) {
    case json::kind::bool_:
      return std::int64_t{value.get_bool()};
    case json::kind::int64:
      return value.get_int64();
    case json::kind::uint64: {
      const std::uint64_t number = value.get_uint64();
      if (number <= static_cast<std::uint64_t>(INT64_MAX)) return static_cast<std::int64_t>(number);
      return number;
    }
    case json::kind::double_:
      return numberOf(value.get_double());
    default:
      return std::nullopt;
  }
}

bool sameNumber(const Number& left, const Number& right) {
  if (left == right) return true;
  const double* one = std::get_if<double>(&left);
  const double* other = std::get_if<double>(&right);
  return one != nullptr && other != nullptr && std::isnan(*one) && std::isnan(*other);
}

std::size_t mixed(std::uint64_t bits) {
  bits = (bits ^ (bits >> 30)) * 0xBF58476D1CE4E5B9u;
  bits = (bits ^ (bits >> 27)) * 0x94D049BB133111EBu;
  return static_cast<std::size_t>(bits ^ (bits >> 31));
}

std::size_t hashOf(std::string_view text) {
  return std::hash<std::string_view>{}(text);
}

std::size_t hashOf(const Number& number) {
  if (const auto* whole = std::get_if<std::int64_t>(&number)) {
    return mixed(static_cast<std::uint64_t>(*whole));
  }
  if (const auto* large = std::get_if<std::uint64_t>(&number)) return mixed(*large);
  const double real = std::get<double>(number);
  return std::isnan(real) ? 1 : std::hash<double>{}(real);
}

}  // namespace

bool sameJson(const json::value& left, const json::value& right) {
  if (const auto number = numberOf(left)) {
    const auto other = numberOf(right);
    return other && sameNumber(*number, *other);
  }
  if (left.kind() != right.kind()) return false;
  switch (left.kind()) {
    case json::kind::string:
      return left.get_string() == right.get_string();
    case json::kind::array:
      return sameJson(left.get_array(), right.get_array());
    case json::kind::object:
      return sameJson(left.get_object(), right.get_object());
    default:
      return true;
  }
}

bool sameJson(const json::object& left, const json::object& right) {
  if (left.size() != right.size()) return false;
  for (const json::key_value_pair& member : left) {
    const json::value* other = right.if_contains(member.key());
    if (other == nullptr || !sameJson(member.value(), *other)) return false;
  }
  return true;
}

bool sameJson(const json::array& left, const json::array& right) {
  if (left.size() != right.size()) return false;
  for (std::size_t at = 0; at < left.size(); ++at) {
    if (!sameJson(left[at], right[at])) return false;
  }
  return true;
}

std::size_t hashOfJson(const json::value& value) {
  if (const auto number = numberOf(value)) return hashOf(*number);
  switch (value.kind()) {
    case json::kind::string:
      return hashOf({value.get_string().data(), value.get_string().size()});
    case json::kind::array:
      return hashOfJson(value.get_array());
    case json::kind::object:
      return hashOfJson(value.get_object());
    default:
      return 0;
  }
}

std::size_t hashOfJson(const json::object& dictionary) {
  // The order of the members has no say.
  std::size_t sum = dictionary.size();
  for (const json::key_value_pair& member : dictionary) {
    const std::size_t key = hashOf({member.key().data(), member.key().size()});
    sum += mixed(key ^ mixed(hashOfJson(member.value()) + 1));
  }
  return mixed(sum);
}

std::size_t hashOfJson(const json::array& array) {
  std::size_t chain = ~array.size();
  for (const json::value& item : array) chain = mixed(chain * 31 + hashOfJson(item));
  return chain;
}

}  // namespace orv
