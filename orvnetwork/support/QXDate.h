#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>
#include <orvnetwork/dates/Calendar.h>
#include <orvnetwork/dates/DateFormat.h>

#include <compare>

namespace orv {

/// A moment in time, and what can be asked of it: how it is written, how it stands to other moments, where it
/// lies in the user's calendar.
///
/// A plain value of 8 bytes. Whatever depends on the user's locale or time zone (formats, fields, calendar
/// arithmetic, "today") reads both from the platform at each call and so follows them as they change; "now"
/// is the platform's wall clock. Years, months and days go through the calendar, hours and minutes are fixed
/// numbers of seconds: a day added across a change of the clocks keeps the local time, 24 hours do not. Of
/// two moments with the same local time the calendar takes the first; a local time that does not exist moves
/// forward by what the clocks leave out. Results beyond `kDateLimit` stop there. Nothing throws. Any thread.
class ORV_EXPORT QXDate {
 public:
  /// The moment so many seconds after 1970-01-01 00:00 UTC (before it when negative), as exact as a double of
  /// seconds is. Not-a-number counts as 0.
  explicit QXDate(Seconds since1970) : since1970_(withinDateLimit(since1970)) {}
  /// A moment of the platform's wall clock, to the same exactness.
  explicit QXDate(WallTime moment) : since1970_(secondsSince1970(moment)) {}

  /// This moment by the platform's wall clock.
  static QXDate now();

  /// The moment in seconds since 1970-01-01 00:00 UTC, within `kDateLimit` of it.
  Seconds since1970() const { return since1970_; }
  /// Dates compare by their moments, to the last fraction of a second; the calendar has no say.
  auto operator<=>(const QXDate& other) const { return since1970_.count() <=> other.since1970_.count(); }
  bool operator==(const QXDate& other) const = default;

  /// @name Making dates
  /// @{

  /// The user's calendar, which follows locale and zone as they change; there is one in the process.
  static const Calendar& currentCalendar();

  /// Now plus or minus `days` calendar days, at this local time; a negative number goes the other way.
  static QXDate dateWithDaysFromNow(std::int64_t days);
  static QXDate dateWithDaysBeforeNow(std::int64_t days);
  /// Now plus or minus one calendar day.
  static QXDate dateTomorrow();
  static QXDate dateYesterday();

  /// Now plus or minus so many times 3600 seconds.
  static QXDate dateWithHoursFromNow(std::int64_t hours);
  static QXDate dateWithHoursBeforeNow(std::int64_t hours);
  /// Now plus or minus so many times 60 seconds.
  static QXDate dateWithMinutesFromNow(std::int64_t minutes);
  static QXDate dateWithMinutesBeforeNow(std::int64_t minutes);

  /// The date that `text` tells of in the form of the pattern; absent when it does not match. See
  /// `DateFormat::parse` for what matches and what unset fields count as.
  ///
  /// @param text such as "2024-01-31 08:45", in the user's local time unless the pattern has a zone
  /// @param format such as "yyyy-MM-dd HH:mm"
  static std::optional<QXDate> date_WithFormat(std::string_view text, std::string_view format);

  /// @}
  /// @name Writing dates
  /// @{

  /// The date in the form of a pattern such as "yyyy-MM-dd HH:mm:ss", in local time; see `DateFormat::withPattern`.
  /// "" for a pattern that is none.
  std::string stringWithFormat(std::string_view format) const;
  /// The date and the time in the locale's own words; "" for no style at all.
  std::string stringWithDateStyle_timeStyle(DateStyle dateStyle, DateStyle timeStyle) const;

  /// Date and time, the time alone, the date alone in one style. The short one is mostly digits: "2024/1/31 08:45" in
  /// zh_CN.
  std::string shortString() const;
  std::string shortTimeString() const;
  std::string shortDateString() const;
  /// The medium style has the month in a word where the locale has short ones, and seconds: "2024年1月31日 08:45:02".
  std::string mediumString() const;
  std::string mediumTimeString() const;
  std::string mediumDateString() const;
  /// The long style has the month's whole name, seconds and the zone: "2024年1月31日 GMT+8 08:45:02".
  std::string longString() const;
  std::string longTimeString() const;
  std::string longDateString() const;

  /// Local midnight of this day: the date written as "yyyy-MM-dd" and read again. (So a year before the year 1,
  /// whose era that pattern leaves out, becomes one after it.)
  QXDate dateWithYMD() const;
  /// The date written in the form of a pattern and read again, which leaves what the pattern keeps; absent
  /// when the pattern writes what it cannot read.
  std::optional<QXDate> dateWithFormatter(std::string_view format) const;

  /// @}
  /// @name Comparing dates, in the user's calendar
  /// @{

  /// Whether both dates lie on the same local day.
  bool isEqualToDateIgnoringTime(const QXDate& other) const;
  /// Whether the date lies on the local day of now, of `dateTomorrow`, of `dateYesterday`.
  bool isToday() const;
  bool isTomorrow() const;
  bool isYesterday() const;

  /// Whether both dates have the same number of the week in their months and lie less than 604800 seconds
  /// apart. So two dates of one week on both sides of the end of a month count as different weeks.
  bool isSameWeekAsDate(const QXDate& other) const;
  /// The week of now, with the same limits.
  bool isThisWeek() const;
  /// The week of now plus or minus 604800 seconds.
  bool isNextWeek() const;
  bool isLastWeek() const;

  /// The same month of the same year.
  bool isSameMonthAsDate(const QXDate& other) const;
  bool isThisMonth() const;
  /// The month of now plus or minus one calendar month.
  bool isNextMonth() const;
  bool isLastMonth() const;

  /// The same year of the user's calendar, whatever the era.
  bool isSameYearAsDate(const QXDate& other) const;
  /// The year of now, and the one whose number is greater or less by 1.
  bool isThisYear() const;
  bool isNextYear() const;
  bool isLastYear() const;

  /// Whether this moment comes first, or last, to the fraction of a second. Both are false for equal dates.
  bool isEarlierThanDate(const QXDate& other) const;
  bool isLaterThanDate(const QXDate& other) const;
  /// The same, compared with now.
  bool isInFuture() const;
  bool isInPast() const;

  /// Saturday or Sunday, whatever the weekend of the locale is; every other day is a workday.
  bool isTypicallyWeekend() const;
  bool isTypicallyWorkday() const;

  /// @}
  /// @name Shifting dates
  /// @{

  /// So many units later (`Adding`) or earlier (`Subtracting`) in the user's calendar, the other way when negative,
  /// at the same local time; a day that the month does not have becomes its last: 31 January and a month is 29
  /// February in 2024. Any number is taken; what leads beyond `kDateLimit` stops there.
  QXDate dateByAddingYears(std::int64_t years) const;
  QXDate dateBySubtractingYears(std::int64_t years) const;
  QXDate dateByAddingMonths(std::int64_t months) const;
  QXDate dateBySubtractingMonths(std::int64_t months) const;
  QXDate dateByAddingDays(std::int64_t days) const;
  QXDate dateBySubtractingDays(std::int64_t days) const;

  /// So many times 3600 seconds later or earlier: across a change of the clocks the local time moves by an hour more
  /// or less.
  QXDate dateByAddingHours(std::int64_t hours) const;
  QXDate dateBySubtractingHours(std::int64_t hours) const;
  /// So many times 60 seconds later or earlier.
  QXDate dateByAddingMinutes(std::int64_t minutes) const;
  QXDate dateBySubtractingMinutes(std::int64_t minutes) const;

  /// 00:00:00 of this local day (01:00:00 where the clocks skip midnight), and 23:59:59.
  QXDate dateAtStartOfDay() const;
  QXDate dateAtEndOfDay() const;

  /// @}
  /// @name Differences and fields
  /// @{

  /// The distance from `other` to this date in years, and what is left in months, weeks, days and so on, down to
  /// seconds; all of them negative or 0 when this date comes first. See `Calendar::difference`.
  CalendarFields componentsWithOffsetFromDate(const QXDate& other) const;

  /// Whole minutes, hours or days of 86400 seconds from `other` to this date (`After`) or from this date to
  /// `other` (`Before`); cut off towards 0.
  std::int64_t minutesAfterDate(const QXDate& other) const;
  std::int64_t minutesBeforeDate(const QXDate& other) const;
  std::int64_t hoursAfterDate(const QXDate& other) const;
  std::int64_t hoursBeforeDate(const QXDate& other) const;
  std::int64_t daysAfterDate(const QXDate& other) const;
  std::int64_t daysBeforeDate(const QXDate& other) const;

  /// Whole calendar days from this date to `other`, by the Gregorian calendar; cut off towards 0.
  std::int64_t distanceInDaysToDate(const QXDate& other) const;

  /// The hour (0 to 23) that is nearest to the current time. The date itself does not matter.
  std::int64_t nearestHour() const;

  /// The hour (0 to 23), minute (0 to 59) and second (0 to 59) of the local time.
  std::int64_t hour() const;
  std::int64_t minute() const;
  std::int64_t seconds() const;
  /// The day of the month (from 1), the month (from 1) and the year in the user's calendar.
  std::int64_t day() const;
  std::int64_t month() const;
  std::int64_t year() const;
  /// The week of the month; which day begins it, and how many days make the first one, is the locale's.
  std::int64_t week() const;
  /// 1 Sunday to 7 Saturday.
  std::int64_t weekday() const;
  /// Which one of its weekday in the month it is: 1 to 5. The 10th is the second of its weekday, whatever that is.
  std::int64_t nthWeekday() const;

  /// @}

 private:
  /// The date `amount` times `span` later, whatever the size of the amount.
  QXDate shifted(std::int64_t amount, Seconds span) const;
  QXDate atTimeOfDay(int hour, int minute, int second) const;

  Seconds since1970_;
};

}  // namespace orv
