#include "orvnetwork/dates/Calendar.h"

#include <orvnetwork/dates/icu/Icu.h>
#include <orvnetwork/dates/icu/IcuPools.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/platform/TimeZones.h>

#include <algorithm>
#include <cmath>

namespace orv {

namespace {

constexpr double kSecondsPerDay = 86'400;
constexpr double kSecondsPerYear = 365.2425 * kSecondsPerDay;

CalendarLease lease(Calendar::Kind kind, const std::string& locale, const TimeZonePtr& zone) {
  return calendarPool().lease(CalendarKey{kind, locale, zone},
                              [&] { return makeIcuCalendar(kind, locale, zone); });
}

CalendarFields readFields(const icu::Calendar& calendar) {
  UErrorCode status = U_ZERO_ERROR;
  const auto get = [&](UCalendarDateFields field) { return calendar.get(field, status); };
  CalendarFields fields{.year = get(UCAL_YEAR),
                        .month = get(UCAL_MONTH) + 1,
                        .day = get(UCAL_DATE),
                        .hour = get(UCAL_HOUR_OF_DAY),
                        .minute = get(UCAL_MINUTE),
                        .second = get(UCAL_SECOND),
                        .weekday = get(UCAL_DAY_OF_WEEK),
                        .weekdayOrdinal = get(UCAL_DAY_OF_WEEK_IN_MONTH),
                        .weekOfMonth = get(UCAL_WEEK_OF_MONTH),
                        .era = get(UCAL_ERA),
                        .isLeapMonth = get(UCAL_IS_LEAP_MONTH) != 0};
  return U_SUCCESS(status) ? fields : CalendarFields();
}

/// Whether the fields are far enough from where ICU's arithmetic, which is 32 bits wide, would overflow.
bool areCountable(const CalendarFields& fields) {
  constexpr std::int64_t kMaxYear = 4'000'000;
  constexpr std::int64_t kMaxMonth = 1'000'000;
  constexpr std::int64_t kMaxOther = 100'000'000;
  const auto within = [](std::int64_t value, std::int64_t limit) {
    return value >= -limit && value <= limit;
  };
  return within(fields.year, kMaxYear) && within(fields.month, kMaxMonth) && within(fields.day, kMaxOther) &&
         within(fields.hour, kMaxOther) && within(fields.minute, kMaxOther) &&
         within(fields.second, kMaxOther);
}

std::optional<Seconds> momentOf(icu::Calendar& calendar, const CalendarFields& fields) {
  calendar.clear();
  if (fields.era) calendar.set(UCAL_ERA, *fields.era);
  if (fields.isLeapMonth) calendar.set(UCAL_IS_LEAP_MONTH, 1);
  calendar.set(UCAL_YEAR, static_cast<int32_t>(fields.year));
  calendar.set(UCAL_MONTH, static_cast<int32_t>(fields.month - 1));
  calendar.set(UCAL_DATE, static_cast<int32_t>(fields.day));
  calendar.set(UCAL_HOUR_OF_DAY, static_cast<int32_t>(fields.hour));
  calendar.set(UCAL_MINUTE, static_cast<int32_t>(fields.minute));
  calendar.set(UCAL_SECOND, static_cast<int32_t>(fields.second));
  UErrorCode status = U_ZERO_ERROR;
  const UDate millis = calendar.getTime(status);
  if (U_FAILURE(status)) return std::nullopt;
  return withinDateLimit(secondsOfIcu(millis));
}

double roughSecondsOf(CalendarUnit unit) {
  switch (unit) {
    case CalendarUnit::Year:
      return kSecondsPerYear;
    case CalendarUnit::Month:
      return kSecondsPerYear / 12;
    case CalendarUnit::Day:
      break;
  }
  return kSecondsPerDay;
}

/// Moves the calendar to the same local time of a day so many days later. (ICU's own sum goes by moments and
/// misses local times next to a change of the clocks when the offset differs on the way.)
void addDays(icu::Calendar& calendar, std::int64_t amount, UErrorCode& status) {
  const std::int64_t day = calendar.get(UCAL_JULIAN_DAY, status) + amount;
  const int32_t millisInDay = calendar.get(UCAL_MILLISECONDS_IN_DAY, status);
  calendar.clear();
  calendar.set(UCAL_JULIAN_DAY, static_cast<int32_t>(day));
  calendar.set(UCAL_MILLISECONDS_IN_DAY, millisInDay);
}

/// How many days, whole by the clock on the wall, lead from where the calendar stands to `goal`; moves it there
/// by as many.
std::int64_t takeDays(icu::Calendar& calendar, UDate goal, UErrorCode& status) {
  const UDate start = calendar.getTime(status);
  const std::int64_t firstDay = calendar.get(UCAL_JULIAN_DAY, status);
  calendar.setTime(goal, status);
  std::int64_t days = calendar.get(UCAL_JULIAN_DAY, status) - firstDay;
  // Clocks that go back may show an earlier day at a later moment.
  days = goal >= start ? std::max<std::int64_t>(days, 0) : std::min<std::int64_t>(days, 0);
  const auto moveBy = [&](std::int64_t count) {
    calendar.setTime(start, status);
    if (count != 0) addDays(calendar, count, status);
    return calendar.getTime(status);
  };
  const UDate reached = moveBy(days);
  const bool tooFar = goal >= start ? days > 0 && reached > goal : days < 0 && reached < goal;
  if (tooFar) {
    days += goal >= start ? -1 : 1;
    moveBy(days);
  }
  return days;
}

/// Moves the calendar by an amount whose result is known to lie within the date limit.
void add(icu::Calendar& calendar, CalendarUnit unit, std::int64_t amount, UErrorCode& status) {
  if (unit == CalendarUnit::Day) {
    addDays(calendar, amount, status);
  } else {
    calendar.add(unit == CalendarUnit::Year ? UCAL_YEAR : UCAL_MONTH, static_cast<int32_t>(amount), status);
  }
}

}  // namespace

Seconds withinDateLimit(Seconds since1970) {
  if (std::isnan(since1970.count())) return Seconds(0);
  return std::clamp(since1970, -kDateLimit, kDateLimit);
}

Seconds secondsSince1970(WallTime moment) {
  const auto whole = std::chrono::floor<std::chrono::seconds>(moment);
  return Seconds(whole.time_since_epoch()) + Seconds(moment - whole);
}

Calendar::Calendar(Kind kind, std::string locale, const std::string& zone)
    : Calendar(kind, std::move(locale), timeZoneNamed(zone)) {}

Calendar::Calendar(Kind kind, std::string locale, TimeZonePtr zone)
    : kind_(kind), own_(Settings{std::move(locale), zone ? std::move(zone) : timeZoneNamed("UTC")}) {}

const Calendar& Calendar::current() {
  static const Calendar& calendar = *new Calendar;
  return calendar;
}

Calendar::Settings Calendar::settings() const {
  if (own_) return *own_;
  Platform& platform = Platform::current();
  return {platform.localeName(), platform.timeZone()};
}

Calendar Calendar::fixed() const {
  Settings now = settings();
  return {kind_, std::move(now.locale), std::move(now.zone)};
}

CalendarFields Calendar::fields(Seconds since1970) const {
  const auto [locale, zone] = settings();
  const auto calendar = lease(kind_, locale, zone);
  if (!calendar) return {};
  UErrorCode status = U_ZERO_ERROR;
  calendar->setTime(icuMillis(withinDateLimit(since1970)), status);
  return readFields(*calendar);
}

std::optional<Seconds> Calendar::moment(const CalendarFields& fields) const {
  if (!areCountable(fields)) return std::nullopt;
  const auto [locale, zone] = settings();
  const auto calendar = lease(kind_, locale, zone);
  return calendar ? momentOf(*calendar, fields) : std::nullopt;
}

Seconds Calendar::adding(Seconds since1970, CalendarUnit unit, std::int64_t amount) const {
  const Seconds from = withinDateLimit(since1970);
  if (amount == 0) return from;
  const Seconds roughly = from + Seconds(static_cast<double>(amount) * roughSecondsOf(unit));
  if (withinDateLimit(roughly) != roughly) return withinDateLimit(roughly);

  const auto [locale, zone] = settings();
  const auto calendar = lease(kind_, locale, zone);
  if (!calendar) return roughly;
  const Seconds whole(std::floor(from.count()));
  UErrorCode status = U_ZERO_ERROR;
  calendar->setTime(icuMillis(whole), status);
  add(*calendar, unit, amount, status);
  const UDate sum = calendar->getTime(status);
  if (U_FAILURE(status)) return roughly;
  return withinDateLimit(secondsOfIcu(sum) + (from - whole));
}

CalendarFields Calendar::difference(Seconds from, Seconds to) const {
  const auto [locale, zone] = settings();
  const auto calendar = lease(kind_, locale, zone);
  if (!calendar) return {};
  UErrorCode status = U_ZERO_ERROR;
  calendar->setTime(icuMillis(withinDateLimit(from)), status);
  const UDate goal = icuMillis(withinDateLimit(to));
  CalendarFields distance;
  // In this order: each one moves the calendar on by what it counted.
  distance.year = calendar->fieldDifference(goal, UCAL_YEAR, status);
  distance.month = calendar->fieldDifference(goal, UCAL_MONTH, status);
  const std::int64_t days = takeDays(*calendar, goal, status);
  distance.weekOfMonth = days / 7;
  distance.day = days % 7;
  const auto seconds = static_cast<std::int64_t>((goal - calendar->getTime(status)) / 1000);
  distance.hour = seconds / 3600;
  distance.minute = seconds % 3600 / 60;
  distance.second = seconds % 60;
  return U_SUCCESS(status) ? distance : CalendarFields();
}

std::int64_t Calendar::daysBetween(Seconds from, Seconds to) const {
  const auto [locale, zone] = settings();
  const auto calendar = lease(kind_, locale, zone);
  if (!calendar) return 0;
  UErrorCode status = U_ZERO_ERROR;
  calendar->setTime(icuMillis(withinDateLimit(from)), status);
  const std::int64_t days = takeDays(*calendar, icuMillis(withinDateLimit(to)), status);
  return U_SUCCESS(status) ? days : 0;
}

int Calendar::firstWeekday() const {
  const auto [locale, zone] = settings();
  const auto calendar = lease(kind_, locale, zone);
  UErrorCode status = U_ZERO_ERROR;
  return calendar ? calendar->getFirstDayOfWeek(status) : 1;
}

int Calendar::minimalDaysInFirstWeek() const {
  const auto [locale, zone] = settings();
  const auto calendar = lease(kind_, locale, zone);
  return calendar ? calendar->getMinimalDaysInFirstWeek() : 1;
}

}  // namespace orv
