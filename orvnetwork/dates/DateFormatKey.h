#pragma once

#include <orvnetwork/data/Types.h>

namespace orv {

/// How much of a date or of a time of day is written, in the words and order of the user's locale.
enum class DateStyle { None = 0, Short = 1, Medium = 2, Long = 3 };

namespace detail {

/// What makes two date formats the same.
struct DateFormatKey {
  OptionalString pattern;
  DateStyle date = DateStyle::None;
  DateStyle time = DateStyle::None;
  std::string locale;
  std::string zone;

  bool operator==(const DateFormatKey&) const = default;
};

}  // namespace detail

}  // namespace orv
