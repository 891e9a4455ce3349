#include "orvnetwork/dates/icu/IcuPools.h"

#include <orvnetwork/dates/icu/IcuDateFormat.h>

namespace orv {

namespace {

// A calendar takes about a kilobyte, a format about ten; a host uses a handful of each.
constexpr std::size_t kCalendarsAtRest = 16;
constexpr std::size_t kFormatsAtRest = 32;

}  // namespace

CalendarPool& calendarPool() {
  static CalendarPool& pool = *new CalendarPool(kCalendarsAtRest);
  return pool;
}

DateFormatPool& dateFormatPool() {
  static DateFormatPool& pool = *new DateFormatPool(kFormatsAtRest);
  return pool;
}

}  // namespace orv
