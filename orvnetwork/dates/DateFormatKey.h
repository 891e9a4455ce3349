#pragma once

#include <orvnetwork/data/TimeZone.h>
#include <orvnetwork/data/Types.h>

namespace orv {

/// How much of a date or of a time of day is written, in the words and order of the user's locale.
/// The examples are those of the locale "en_US". A date and a time of day have each a style of their own.
enum class DateStyle {
  None = 0,    ///< nothing
  Short = 1,   ///< digits: "1/31/24", "8:45 AM"
  Medium = 2,  ///< short words, and seconds: "Jan 31, 2024", "8:45:02 AM"
  Long = 3,    ///< whole words, and the zone: "January 31, 2024", "8:45:02 AM GMT+8"
};

namespace detail {

/// What makes two date formats the same.
struct DateFormatKey {
  OptionalString pattern;  ///< absent: the styles count
  DateStyle date = DateStyle::None;
  DateStyle time = DateStyle::None;
  std::string locale;
  TimeZonePtr zone;  ///< one object stands for the same rules

  bool operator==(const DateFormatKey&) const = default;
};

}  // namespace detail

}  // namespace orv
