#include "orvnetwork/data/RecordNumber.h"

#include <orvnetwork/data/JsonIndex.h>
#include <orvnetwork/data/LooseRead.h>

#include <algorithm>
#include <array>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>

namespace orv {

namespace {

constexpr std::array<std::string_view, 6> kTrueWords = {"TRUE", "True", "true", "YES", "Yes", "yes"};
constexpr std::array<std::string_view, 6> kFalseWords = {"FALSE", "False", "false", "NO", "No", "no"};
constexpr std::array<std::string_view, 12> kNoneWords = {
    "NIL", "Nil", "nil", "NULL", "Null", "null", "(NULL)", "(Null)", "(null)", "<NULL>", "<Null>", "<null>"};

template <std::size_t N>
bool isOneOf(std::string_view text, const std::array<std::string_view, N>& words) {
  return std::find(words.begin(), words.end(), text) != words.end();
}

/// The leading number of a text, in whatever locale the host runs. A zero byte ends the text.
double realFromText(const char* text) {
  static const locale_t plain = newlocale(LC_ALL_MASK, "C", nullptr);
  return strtod_l(text, nullptr, plain);
}

}  // namespace

RecordNumber::RecordNumber(const json::value& value) {
  switch (value.kind()) {
    case json::kind::bool_:
      kind_ = Kind::Signed;
      integer_ = value.get_bool() ? 1 : 0;
      return;
    case json::kind::int64:
      kind_ = Kind::Signed;
      integer_ = value.get_int64();
      return;
    case json::kind::uint64:
      kind_ = Kind::Unsigned;
      integer_ = static_cast<std::int64_t>(value.get_uint64());
      return;
    case json::kind::double_:
      kind_ = Kind::Real;
      real_ = value.get_double();
      return;
    case json::kind::string:
      readText({value.get_string().data(), value.get_string().size()});
      return;
    default:
      return;
  }
}

RecordNumber::RecordNumber(const JsonView& value) {
  if (value.isInteger() || value.isFlag()) {
    kind_ = Kind::Signed;
    integer_ = value.isInteger() ? value.integer() : value.isTrue();
  } else if (value.isReal()) {
    kind_ = Kind::Real;
    real_ = value.real();
  } else if (value.isText()) {
    readText(value.text());
  }
}

void RecordNumber::readText(std::string_view text) {
  if (isOneOf(text, kNoneWords)) return;
  if (text.find('.') != std::string_view::npos) {
    real_ = realFromText(std::string(text).c_str());
    if (std::isfinite(real_)) kind_ = Kind::Real;
    return;
  }
  kind_ = Kind::Signed;
  if (isOneOf(text, kTrueWords)) {
    integer_ = 1;
  } else if (!isOneOf(text, kFalseWords)) {
    integer_ = strtoll(std::string(text).c_str(), nullptr, 10);
  }
}

std::int64_t RecordNumber::asInt64() const {
  return kind_ == Kind::Real ? truncateToInt64(real_) : integer_;
}

std::uint64_t RecordNumber::asUint64() const {
  // A number that needs more than 64 bits is held to the signed range, as the server's own integers are.
  if (kind_ == Kind::Real && real_ >= 0x1p63 && real_ < 0x1p64) return static_cast<std::uint64_t>(real_);
  return static_cast<std::uint64_t>(asInt64());
}

double RecordNumber::asDouble() const {
  if (kind_ == Kind::Unsigned) return static_cast<double>(static_cast<std::uint64_t>(integer_));
  if (kind_ != Kind::Real) return static_cast<double>(integer_);
  return std::isfinite(real_) ? real_ : 0;
}

float RecordNumber::asFloat() const {
  static_assert(std::numeric_limits<float>::is_iec559, "what is too large becomes infinite");
  const float number = static_cast<float>(asDouble());
  return std::isfinite(number) ? number : 0;
}

bool RecordNumber::asBool() const {
  return kind_ == Kind::Real ? real_ != 0 : integer_ != 0;
}

}  // namespace orv
