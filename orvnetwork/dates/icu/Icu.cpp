#include "orvnetwork/dates/icu/Icu.h"

#include <orvnetwork/data/LocaleName.h>
#include <orvnetwork/dates/icu/IcuZone.h>

#include <unicode/gregocal.h>

#include <cmath>

namespace orv {

icu::Locale icuLocale(const std::string& name) {
  return icu::Locale::createFromName(plainLocaleName(name).c_str());
}

std::unique_ptr<icu::Calendar> makeIcuCalendar(CalendarKind kind, const std::string& locale,
                                               const TimeZonePtr& zone) {
  UErrorCode status = U_ZERO_ERROR;
  const icu::Locale wanted = icuLocale(locale);
  auto rules = std::make_unique<IcuZone>(zone);
  std::unique_ptr<icu::Calendar> calendar;
  if (kind == CalendarKind::Gregorian) {
    calendar = std::make_unique<icu::GregorianCalendar>(rules.release(), wanted, status);
  } else {
    calendar.reset(icu::Calendar::createInstance(rules.release(), wanted, status));
  }
  return U_SUCCESS(status) ? std::move(calendar) : nullptr;
}

UDate icuMillis(Seconds since1970) {
  const double seconds = since1970.count();
  const double nearest = std::round(seconds * 1000);
  return nearest / 1000 == seconds ? nearest : std::floor(seconds * 1000);
}

}  // namespace orv
