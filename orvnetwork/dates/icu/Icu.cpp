#include "orvnetwork/dates/icu/Icu.h"

#include <unicode/gregocal.h>

#include <cmath>

namespace orv {

icu::Locale icuLocale(const std::string& name) {
  std::string plain = name.substr(0, name.find('.'));
  // "@euro" and the like are the C library's; ICU's own come as "@calendar=buddhist".
  if (const auto at = plain.find('@'); at != std::string::npos && plain.find('=', at) == std::string::npos) {
    plain.resize(at);
  }
  if (plain.empty() || plain == "C" || plain == "POSIX") plain = "en_US_POSIX";
  return icu::Locale::createFromName(plain.c_str());
}

std::unique_ptr<icu::TimeZone> icuZone(const std::string& name) {
  return std::unique_ptr<icu::TimeZone>(icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(name)));
}

std::unique_ptr<icu::Calendar> makeIcuCalendar(CalendarKind kind, const std::string& locale,
                                               const std::string& zone) {
  UErrorCode status = U_ZERO_ERROR;
  const icu::Locale wanted = icuLocale(locale);
  std::unique_ptr<icu::Calendar> calendar;
  if (kind == CalendarKind::Gregorian) {
    calendar = std::make_unique<icu::GregorianCalendar>(icuZone(zone).release(), wanted, status);
  } else {
    calendar.reset(icu::Calendar::createInstance(icuZone(zone).release(), wanted, status));
  }
  if (U_FAILURE(status) || !calendar) return nullptr;
  calendar->setRepeatedWallTimeOption(UCAL_WALLTIME_FIRST);
  return calendar;
}

UDate icuMillis(Seconds since1970) {
  const double seconds = since1970.count();
  const double nearest = std::round(seconds * 1000);
  return nearest / 1000 == seconds ? nearest : std::floor(seconds * 1000);
}

}  // namespace orv
