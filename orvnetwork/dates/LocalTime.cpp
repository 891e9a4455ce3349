#include "orvnetwork/dates/LocalTime.h"

#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/platform/native/NativeSettings.h>

#include <unicode/ucal.h>

#include <algorithm>
#include <ctime>
#include <memory>
#include <mutex>

namespace orv {

namespace {

using std::chrono::floor;
using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::sys_days;

struct CalendarCloser {
  void operator()(UCalendar* calendar) const { ucal_close(calendar); }
};
using Calendar = std::unique_ptr<UCalendar, CalendarCloser>;

Calendar openCalendar(const std::string& zone, const std::string& locale) {
  const std::u16string wideZone(zone.begin(), zone.end());  // zone names are ASCII
  UErrorCode status = U_ZERO_ERROR;
  Calendar calendar(ucal_open(wideZone.data(), static_cast<int32_t>(wideZone.size()), locale.c_str(),
                              UCAL_GREGORIAN, &status));
  if (U_FAILURE(status)) calendar.reset();
  return calendar;
}

/// Offsets of any zone, by ICU. Its first use costs 25 ms and 4 MB, so it is kept for zones that are not the
/// process's own.
seconds offsetByIcu(seconds sinceEpoch, const std::string& zone) {
  static std::mutex& mutex = *new std::mutex;
  static std::string& openZone = *new std::string;
  static Calendar& calendar = *new Calendar;
  const std::lock_guard lock(mutex);
  if (!calendar || openZone != zone) {
    calendar = openCalendar(zone, "en_US_POSIX");
    openZone = zone;
  }
  if (!calendar) return seconds(0);
  UErrorCode status = U_ZERO_ERROR;
  ucal_setMillis(calendar.get(), static_cast<double>(sinceEpoch.count()) * 1000, &status);
  const milliseconds offset(ucal_get(calendar.get(), UCAL_ZONE_OFFSET, &status) +
                            ucal_get(calendar.get(), UCAL_DST_OFFSET, &status));
  return U_SUCCESS(status) ? floor<seconds>(offset) : seconds(0);
}

seconds offsetByCLibrary(seconds sinceEpoch) {
  ::tzset();  // localtime_r alone does not look whether the zone has changed
  const std::time_t time = sinceEpoch.count();
  std::tm fields{};
  return ::localtime_r(&time, &fields) != nullptr ? seconds(fields.tm_gmtoff) : seconds(0);
}

seconds zoneOffset(seconds sinceEpoch, const std::string& zone) {
  if (zone == "UTC" || zone == "Etc/UTC" || zone == "GMT") return seconds(0);
  const NativeTimeZone native = nativeTimeZone();
  return native.usedByCLibrary && native.name == zone ? offsetByCLibrary(sinceEpoch)
                                                      : offsetByIcu(sinceEpoch, zone);
}

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
  WeekHabits habits{.locale = locale};
  if (const Calendar calendar = openCalendar("UTC", locale)) {
    habits.firstWeekday = ucal_getAttribute(calendar.get(), UCAL_FIRST_DAY_OF_WEEK);
    habits.minimalDays = ucal_getAttribute(calendar.get(), UCAL_MINIMAL_DAYS_IN_FIRST_WEEK);
  }
  return last = habits;
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

LocalTime LocalTime::ofSeconds(std::int64_t secondsSince1970, const std::string& zone) {
  // The calendar repeats itself, weekdays included, every 400 years; the library's years are 16 bits wide.
  constexpr std::int64_t kCycleYears = 400;
  constexpr seconds kCycle = std::chrono::days(146'097);
  // Where the calendar engine stops, too.
  constexpr std::int64_t kLast = 183'882'168'921'600;
  const seconds second(std::clamp(secondsSince1970, -kLast, kLast));
  const seconds local = second + zoneOffset(second, zone);
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

LocalTime LocalTime::of(WallTime moment, const std::string& zone) {
  const auto second = floor<seconds>(moment);
  LocalTime time = ofSeconds(second.time_since_epoch().count(), zone);
  time.millisecond = static_cast<int>(floor<milliseconds>(moment - second).count());
  return time;
}

LocalTime LocalTime::of(WallTime moment) {
  return of(moment, Platform::current().timeZoneName());
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
