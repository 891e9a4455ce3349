#pragma once

#include <orvnetwork/data/ZoneOffset.h>

#include <optional>
#include <string_view>
#include <vector>

namespace orv {

/// A second of each year: a day by one of three ways to count, and a time on that day's clock.
struct YearlyMoment {
  enum class Day {
    WithoutLeapDay,  ///< "J60": 1 to 365; 60 is 1 March in every year
    FromZero,        ///< "59": 0 to 365; 59 is 29 February or 1 March
    OfWeek,          ///< "M3.2.0": the second Sunday of March; week 5 is the last one
  };
  Day kind = Day::WithoutLeapDay;
  unsigned month = 0;
  unsigned week = 0;
  unsigned day = 0;          ///< of the year, or of the week from Sunday, 0
  std::int32_t seconds = 0;  ///< since the day's midnight

  /// By the day's own clock, as if that showed UTC.
  std::int64_t ofYear(std::int64_t year) const;
};

/// A zone rule taken apart.
struct ZoneRuleText {
  struct Summer {
    ZoneOffset offset;
    YearlyMoment begin;  ///< by the clocks of standard time
    YearlyMoment end;    ///< by the clocks of summer time
  };
  ZoneOffset standard;
  std::optional<Summer> summer;

  /// The changes that the rule brings in years from the first to the last, in the order of time; none without
  /// summer time.
  std::vector<ZoneChange> changes(std::int64_t firstYear, std::int64_t lastYear) const;
};

/// Absent for a text that is no zone rule.
std::optional<ZoneRuleText> readZoneRuleText(std::string_view text);

/// The year of a moment in UTC.
std::int64_t yearOfMoment(std::int64_t moment);

/// The first second of a year in UTC.
std::int64_t momentOfYear(std::int64_t year);

/// After so many years, and seconds, the Gregorian calendar repeats itself, weekdays included.
inline constexpr std::int64_t kCycleYears = 400;
inline constexpr std::int64_t kCycleSeconds = std::int64_t{146'097} * 86'400;

/// The furthest that local time may be from UTC, either way.
inline constexpr std::int32_t kMaxZoneOffset = 26 * 3600;

/// The furthest moment from 1970, either way, that anybody counts with: farther than the makers of zone files put the
/// beginning of all time, and far enough from where the numbers end.
inline constexpr std::int64_t kMaxZoneMoment = std::int64_t{1} << 60;

/// The quotient, rounded down.
constexpr std::int64_t floorDivide(std::int64_t number, std::int64_t by) {
  return number / by - (number % by < 0 ? 1 : 0);
}

}  // namespace orv
