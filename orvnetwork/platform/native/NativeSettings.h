#pragma once

#include <string>
#include <string_view>

namespace orv {

/// The user's locale out of `LC_ALL`, `LC_TIME` and `LANG`, the first that is set: without character set and
/// modifier; "en_US_POSIX" when it is "C" or "POSIX" or none is set. Any thread.
std::string nativeLocaleName();

/// The same for the value of a variable.
std::string localeNameOfVariable(std::string_view value);

struct NativeTimeZone {
  std::string name;
  /// Whether the C library, by its own rules, keeps to the zone of this name.
  bool usedByCLibrary = false;
};

/// The zone that `TZ` names, or its fixed offset as "GMT+08:00"; else the one that `/etc/localtime` is a link
/// to or `/etc/timezone` names; else "UTC". Read at each call. Any thread.
NativeTimeZone nativeTimeZone();
std::string nativeTimeZoneName();

/// The zone name at the end of the path of a zone file; empty when the path is not one of a zone file.
std::string_view zoneNameInPath(std::string_view path);

/// "GMT+08:00" for a rule such as "CST-8" or "<+08>-08:00", "UTC" for one without an offset; empty for a rule
/// that changes in the year and for any other text.
std::string fixedOffsetZoneName(std::string_view rule);

}  // namespace orv
