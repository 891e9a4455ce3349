#include "orvnetwork/platform/TimeZones.h"

#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/native/zones/NativeTimeZones.h>

#include <string>

namespace orv {

TimeZonePtr findTimeZone(const std::string& name) {
  return NativeTimeZones::instance().find(name);
}

TimeZonePtr timeZoneNamed(const std::string& name) {
  return NativeTimeZones::instance().named(name, &Console::write);
}

}  // namespace orv
