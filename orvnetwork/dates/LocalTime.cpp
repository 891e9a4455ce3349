#include "orvnetwork/dates/LocalTime.h"

#include <orvnetwork/dates/Calendar.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/platform/TimeZones.h>

#include <algorithm>
#include <mutex>

namespace orv {

namespace {

using std::chrono::floor;
using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::sys_days;

struct WeekHabits {
  std::string locale;
  int firstWeekday = 1;
  int minimalDays = 1;
};

WeekHabits weekHabitsOf(const std::string& locale) {
  static std::mutex& mutex = *new std::mutex;
  static WeekHabits& last = *new WeekHabits;
  const std::lock_guard lock(mutex);
  if (last.locale == locale) return last;
  const Calendar calendar(Calendar::Kind::Gregorian, locale, "UTC");
  return last = {locale, calendar.firstWeekday(), calendar.minimalDaysInFirstWeek()};
}

sys_days dayOf(int year, int month, int day) {
  return std::chrono::year(year) / month / day;
}

/// The day on which the first week of a week-based year begins.
sys_days beginOfWeekBasedYear(int year, int firstWeekday, int minimalDays) {
  const sys_days newYear = dayOf(year, 1, 1);
  const int weekday = static_cast<int>(std::chrono::weekday(newYear).c_encoding()) + 1;
  const int daysBefore = (weekday - firstWeekday + 7) % 7;
  const bool isFirstWeek = 7 - daysBefore >= minimalDays;
  return newYear + std::chrono::days(isFirstWeek ? -daysBefore : 7 - daysBefore);
}

}  // namespace

LocalTime LocalTime::ofSeconds(std::int64_t secondsSince1970, const TimeZone& zone) {
  // The calendar repeats itself, weekdays included, every 400 years; the library's years are 16 bits wide.
  constexpr std::int64_t kCycleYears = 400;
  constexpr seconds kCycle = std::chrono::days(146'097);
  // Where the calendar engine stops, too.
  constexpr std::int64_t kLast = 183'882'168'921'600;
  const seconds second(std::clamp(secondsSince1970, -kLast, kLast));
  const seconds local = second + seconds(zone.rules.at(second.count()).seconds);
  const std::int64_t cycles = local / kCycle - (local % kCycle < seconds(0) ? 1 : 0);
  const std::chrono::sys_seconds inCycle(local - cycles * kCycle);
  const auto midnight = floor<std::chrono::days>(inCycle);
  const std::chrono::year_month_day date(midnight);
  const std::chrono::hh_mm_ss time(inCycle - midnight);
  return {.year = static_cast<int>(static_cast<int>(date.year()) + cycles * kCycleYears),
          .month = static_cast<int>(static_cast<unsigned>(date.month())),
          .day = static_cast<int>(static_cast<unsigned>(date.day())),
          .hour = static_cast<int>(time.hours().count()),
          .minute = static_cast<int>(time.minutes().count()),
          .second = static_cast<int>(time.seconds().count()),
          .weekday = static_cast<int>(std::chrono::weekday(midnight).c_encoding()) + 1};
}

LocalTime LocalTime::ofSeconds(std::int64_t secondsSince1970, const std::string& zone) {
  return ofSeconds(secondsSince1970, *timeZoneNamed(zone));
}

LocalTime LocalTime::ofSeconds(std::int64_t secondsSince1970) {
  return ofSeconds(secondsSince1970, *Platform::current().timeZone());
}

LocalTime LocalTime::of(WallTime moment, const TimeZone& zone) {
  const auto second = floor<seconds>(moment);
  LocalTime time = ofSeconds(second.time_since_epoch().count(), zone);
  time.millisecond = static_cast<int>(floor<milliseconds>(moment - second).count());
  return time;
}

LocalTime LocalTime::of(WallTime moment, const std::string& zone) {
  return of(moment, *timeZoneNamed(zone));
}

LocalTime LocalTime::of(WallTime moment) {
  return of(moment, *Platform::current().timeZone());
}

int weekBasedYear(const LocalTime& date, const std::string& locale) {
  // Whatever the habits, the two years differ from 26 December to 6 January only.
  const bool mayDiffer = (date.month == 12 && date.day >= 26) || (date.month == 1 && date.day <= 6);
  if (!mayDiffer) return date.year;
  const WeekHabits habits = weekHabitsOf(locale);
  return weekBasedYear(date, habits.firstWeekday, habits.minimalDays);
}

int weekBasedYear(const LocalTime& date, int firstWeekday, int minimalDays) {
  const sys_days day = dayOf(date.year, date.month, date.day);
  if (day < beginOfWeekBasedYear(date.year, firstWeekday, minimalDays)) return date.year - 1;
  if (day >= beginOfWeekBasedYear(date.year + 1, firstWeekday, minimalDays)) return date.year + 1;
  return date.year;
}

}  // namespace orv
