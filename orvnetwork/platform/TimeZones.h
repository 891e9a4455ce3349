#pragma once

#include <orvnetwork/data/TimeZone.h>

namespace orv {

/// The time zone of a name, by the system's zone files; null when the name means nothing.
///
/// A name is that of a file of the zone collection ("Asia/Shanghai"; in "posix/" or "right/", too), an offset
/// ("GMT+08:00"), a rule as the variable `TZ` may hold it ("EST5EDT,M3.2.0,M11.1.0"), or the path of a zone
/// file. The collection is the C library's: the folder that the variable `TZDIR` names, else
/// `/usr/share/zoneinfo`. What was read is kept for as long as the file stays the same; the answer for one
/// name is the same object until then. Costs a look at the file, half a microsecond. Any thread.
ORV_EXPORT TimeZonePtr findTimeZone(const std::string& name);

/// The same; a name that means nothing stands for UTC, which the console gets a line once.
ORV_EXPORT TimeZonePtr timeZoneNamed(const std::string& name);

}  // namespace orv
