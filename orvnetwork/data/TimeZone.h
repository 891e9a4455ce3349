#pragma once

#include <orvnetwork/data/ZoneRules.h>

#include <memory>
#include <string>

namespace orv {

/// A time zone: what it is called, and when its clocks go how.
struct TimeZone {
  /// A name of the zone collection ("Asia/Shanghai"), an offset ("GMT+08:00"), the text of a rule
  /// ("EST5EDT,M3.2.0,M11.1.0"), or the path of a zone file that has no name.
  std::string name = "UTC";
  ZoneRules rules;
};

/// A time zone that is shared and never changes. Two pointers to one object stand for the same rules, which is
/// how those who keep something of a zone notice another one.
using TimeZonePtr = std::shared_ptr<const TimeZone>;

}  // namespace orv
