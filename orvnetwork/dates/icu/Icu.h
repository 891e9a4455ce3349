#pragma once

#include <orvnetwork/data/Types.h>
#include <orvnetwork/dates/CalendarKind.h>

#include <unicode/calendar.h>
#include <unicode/timezone.h>

#include <memory>

namespace orv {

/// ICU's locale for a locale name; "C", "POSIX" and "" are read as en_US_POSIX, a character set is left out.
icu::Locale icuLocale(const std::string& name);

/// The zone of that name; one that is not known counts as UTC.
std::unique_ptr<icu::TimeZone> icuZone(const std::string& name);

/// A calendar that takes the first of two moments with the same local time; null when ICU has none.
std::unique_ptr<icu::Calendar> makeIcuCalendar(CalendarKind kind, const std::string& locale,
                                               const std::string& zone);

/// The last whole millisecond at or before a moment. A number of seconds that is the nearest one to a whole
/// millisecond counts as that.
UDate icuMillis(Seconds since1970);

inline Seconds secondsOfIcu(UDate millis) {
  return Seconds(millis / 1000);
}

}  // namespace orv
