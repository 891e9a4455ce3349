#pragma once

#include <orvnetwork/data/TimeZone.h>
#include <orvnetwork/data/Types.h>
#include <orvnetwork/dates/CalendarKind.h>

#include <unicode/calendar.h>

#include <memory>

namespace orv {

/// ICU's locale for a locale name, read as `plainLocaleName` tells.
icu::Locale icuLocale(const std::string& name);

/// A calendar that goes by the rules of a zone; null when ICU has none.
std::unique_ptr<icu::Calendar> makeIcuCalendar(CalendarKind kind, const std::string& locale,
                                               const TimeZonePtr& zone);

/// The last whole millisecond at or before a moment. A number of seconds that is the nearest one to a whole
/// millisecond counts as that.
UDate icuMillis(Seconds since1970);

inline Seconds secondsOfIcu(UDate millis) {
  return Seconds(millis / 1000);
}

}  // namespace orv
