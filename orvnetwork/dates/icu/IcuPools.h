#pragma once

#include <orvnetwork/dates/CalendarKind.h>
#include <orvnetwork/dates/DateFormatKey.h>
#include <orvnetwork/dates/icu/LeasePool.h>

#include <unicode/calendar.h>

#include <string>

namespace orv {

struct CalendarKey {
  CalendarKind kind;
  std::string locale;
  TimeZonePtr zone;  ///< one object stands for the same rules

  bool operator==(const CalendarKey&) const = default;
};

class IcuDateFormat;

using CalendarPool = LeasePool<CalendarKey, icu::Calendar>;
using CalendarLease = CalendarPool::Lease;
using DateFormatPool = LeasePool<detail::DateFormatKey, IcuDateFormat>;

/// The process's calendars and formats at rest; made at first use, never destroyed. Any thread.
CalendarPool& calendarPool();
DateFormatPool& dateFormatPool();

}  // namespace orv
