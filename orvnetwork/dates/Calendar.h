#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/TimeZone.h>
#include <orvnetwork/data/Types.h>
#include <orvnetwork/dates/CalendarKind.h>

namespace orv {

/// The furthest moment from 1970, either way, that dates are told of: about 3.8 million years.
inline constexpr Seconds kDateLimit{1.2e14};

/// A moment within `kDateLimit`: what lies beyond it becomes the limit, not-a-number becomes 1970.
ORV_EXPORT Seconds withinDateLimit(Seconds since1970);

/// A moment of the wall clock in seconds since 1970, as exact as a double can be. (A plain conversion would go
/// by the number of nanoseconds, which has more digits than a double.)
ORV_EXPORT Seconds secondsSince1970(WallTime moment);

/// What a calendar says of a moment, or the distance of two moments in units of a calendar.
struct ORV_EXPORT CalendarFields {
  std::int64_t year = 0;
  std::int64_t month = 0;           ///< 1 January to 12 December (in the Gregorian calendar)
  std::int64_t day = 0;             ///< of the month, from 1
  std::int64_t hour = 0;            ///< 0 to 23
  std::int64_t minute = 0;          ///< 0 to 59
  std::int64_t second = 0;          ///< 0 to 59
  std::int64_t weekday = 0;         ///< 1 Sunday to 7 Saturday
  std::int64_t weekdayOrdinal = 0;  ///< which one of its weekday in the month: 1 to 5
  /// 1 for the first week of the month that has enough days by the locale's habits; the days before it are in
  /// week 0. Where one day is enough, which is the case in en_US and zh_CN, the range is 1 to 6.
  std::int64_t weekOfMonth = 0;
  /// Which era the year counts from, in the calendar's own numbering; absent: the era of today, and in a
  /// distance.
  std::optional<int> era = std::nullopt;
  /// Whether the month is one that some calendars put in between.
  bool isLeapMonth = false;

  bool operator==(const CalendarFields&) const = default;
};

/// What can be added to a moment by the calendar.
enum class CalendarUnit { Year, Month, Day };

/// The user's calendar: what it is called, in which zone it counts, where weeks begin.
///
/// One that is not `fixed()` keeps no settings: it asks the platform for the locale and the time zone at each
/// call, so it follows the user as they change. All moments are seconds since 1970-01-01 00:00 UTC and are
/// brought `withinDateLimit` first. Any thread.
class ORV_EXPORT Calendar {
 public:
  using Kind = CalendarKind;

  /// The calendar that the user's locale counts by (Gregorian for most), or always the Gregorian one.
  explicit Calendar(Kind kind = Kind::OfLocale) : kind_(kind) {}

  /// A calendar with settings of its own, which do not change: a locale (see `plainLocaleName`) and a zone, by
  /// its name, as for `timeZoneNamed`, or itself, where null stands for UTC.
  Calendar(Kind kind, std::string locale, const std::string& zone);
  Calendar(Kind kind, std::string locale, TimeZonePtr zone);

  /// The one of the process; made at the first call, never destroyed.
  static const Calendar& current();

  /// This calendar with the settings of this moment: for several questions that belong together.
  Calendar fixed() const;

  /// What the calendar and the clock on the wall show at a moment; fractions of a second are cut off, towards
  /// the past.
  CalendarFields fields(Seconds since1970) const;

  /// The moment of year, month, day, hour, minute and second (with era and leap month); the other fields do
  /// not count. Of two moments with the same local time it is the first; a local time that a change of the
  /// clocks leaves out moves forward by what is left out. Numbers out of range run on (day 0 is the last of
  /// the month before). Absent for years beyond the date limit and other numbers beyond 100 million.
  std::optional<Seconds> moment(const CalendarFields& fields) const;

  /// The moment `amount` units later, at the same local time (see `moment` for one that is there twice or not
  /// at all); a day that the month does not have becomes its last. What is below a second is kept. 0 changes
  /// nothing.
  Seconds adding(Seconds since1970, CalendarUnit unit, std::int64_t amount) const;

  /// The distance in whole years, then months, weeks (`weekOfMonth`), days, hours, minutes and seconds of what
  /// is left each time; all of them negative or 0 when `to` comes first. `weekday` and `weekdayOrdinal` are 0.
  CalendarFields difference(Seconds from, Seconds to) const;

  /// The distance in whole days: 24 hours by the clock on the wall, which a day with a change of the clocks
  /// has too. Negative when `to` comes first.
  std::int64_t daysBetween(Seconds from, Seconds to) const;

  /// The weekday on which a week begins: 1 Sunday to 7 Saturday.
  int firstWeekday() const;
  /// How many days of a month or year make its first week: 1 to 7.
  int minimalDaysInFirstWeek() const;

 private:
  struct Settings {
    std::string locale;
    TimeZonePtr zone;
  };
  Settings settings() const;

  Kind kind_;
  std::optional<Settings> own_;
};

}  // namespace orv
