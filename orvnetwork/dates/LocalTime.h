#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/TimeZone.h>
#include <orvnetwork/data/Types.h>

namespace orv {

/// A moment as a clock on the wall shows it: Gregorian calendar, 24 hours.
struct ORV_EXPORT LocalTime {
  int year = 1970;
  int month = 1;        ///< 1 to 12
  int day = 1;          ///< 1 to 31
  int hour = 0;         ///< 0 to 23
  int minute = 0;       ///< 0 to 59
  int second = 0;       ///< 0 to 59
  int millisecond = 0;  ///< 0 to 999; what is below a millisecond is cut off, towards the past
  int weekday = 5;      ///< 1 Sunday to 7 Saturday

  /// `moment` in the time zone of the platform in use, which is asked at each call. Costs about half a
  /// microsecond. Any thread.
  static LocalTime of(WallTime moment);

  /// `moment` in a time zone, or in the one of that name, as for `timeZoneNamed`: a name that means nothing
  /// stands for UTC. Any thread.
  static LocalTime of(WallTime moment, const TimeZone& zone);
  static LocalTime of(WallTime moment, const std::string& zone);

  /// The same for whole seconds since 1970-01-01 00:00 UTC, far beyond what a `WallTime` can hold: up to the
  /// year 5,828,963 either way, where it stops.
  static LocalTime ofSeconds(std::int64_t secondsSince1970);
  static LocalTime ofSeconds(std::int64_t secondsSince1970, const TimeZone& zone);
  static LocalTime ofSeconds(std::int64_t secondsSince1970, const std::string& zone);
};

/// The year that the week of a date belongs to by the habits of a locale ("en_US"): which weekday begins a
/// week, and how many days of a year make its first week. Around New Year it may be the year before or after
/// the date's own. Any thread.
ORV_EXPORT int weekBasedYear(const LocalTime& date, const std::string& locale);

/// The same for given habits: the first weekday of a week (1 Sunday to 7 Saturday), and the least number of
/// days in January (1 to 7) that make the week of 1 January the first one.
ORV_EXPORT int weekBasedYear(const LocalTime& date, int firstWeekday, int minimalDays);

}  // namespace orv
