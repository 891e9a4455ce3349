#pragma once

#include <orvnetwork/data/ZoneRules.h>

#include <memory>
#include <string>

namespace orv {

/// A time zone: what it is called, and when its clocks go how.
/// One is made by `findTimeZone` and `timeZoneNamed` of the platform, or by a test from rules of its own:
///
///     const TimeZonePtr shanghai = findTimeZone("Asia/Shanghai");   // null when the name means nothing
///     shanghai->rules.at(0).seconds                                 // 28800
///
///     auto own = std::make_shared<TimeZone>();
///     own->name = "GMT+05:45";
///     own->rules = ZoneRules::ofOffset(20700);
struct TimeZone {
  /// A name of the zone collection ("Asia/Shanghai"), an offset ("GMT+08:00"), the text of a rule
  /// ("EST5EDT,M3.2.0,M11.1.0"), or the path of a zone file that has no name.
  std::string name = "UTC";
  /// Those of UTC unless set.
  ZoneRules rules;
};

/// A time zone that is shared and never changes. Two pointers to one object stand for the same rules, which is
/// how those who keep something of a zone notice another one.
/// Any number of threads may read one. It lives as long as somebody holds it, whatever the user's zone is by then.
using TimeZonePtr = std::shared_ptr<const TimeZone>;

}  // namespace orv
