#include "orvnetwork/dates/icu/IcuZone.h"

#include <chrono>
#include <cmath>
#include <string>

namespace orv {

namespace {

icu::UnicodeString wideName(const std::string& name) {
  return icu::UnicodeString::fromUTF8(name);
}

std::unique_ptr<icu::TimeZone> namesakeOf(const std::string& name) {
  std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createTimeZone(wideName(name)));
  if (zone && *zone == icu::TimeZone::getUnknown()) zone.reset();
  return zone;
}

std::int64_t secondOf(UDate millis) {
  return static_cast<std::int64_t>(std::floor(millis / 1000));
}

}  // namespace

IcuZone::IcuZone(TimeZonePtr zone)
    : icu::TimeZone(wideName(zone->name)), zone_(std::move(zone)), namesake_(namesakeOf(zone_->name)) {}

IcuZone::IcuZone(const IcuZone& other)
    : icu::TimeZone(other),
      zone_(other.zone_),
      namesake_(other.namesake_ ? other.namesake_->clone() : nullptr) {}

void IcuZone::getOffset(UDate date, UBool local, int32_t& rawOffset, int32_t& dstOffset,
                        UErrorCode& status) const {
  rawOffset = dstOffset = 0;
  if (U_FAILURE(status)) return;
  const std::int64_t second = secondOf(date);
  if (local != 0) {
    // Calendars ask for the sum only.
    rawOffset = 1000 * static_cast<int32_t>(second - zone_->rules.momentOf(second));
    return;
  }
  constexpr int32_t kHour = 3'600'000;
  const ZoneOffset offset = zone_->rules.at(second);
  const int32_t total = 1000 * offset.seconds;
  if (namesake_) {
    namesake_->getOffset(date, 0, rawOffset, dstOffset, status);
    if (U_SUCCESS(status) && rawOffset + dstOffset == total) return;
    status = U_ZERO_ERROR;
  }
  dstOffset = offset.isDaylight ? kHour : 0;
  rawOffset = total - dstOffset;
}

int32_t IcuZone::getOffset(uint8_t era, int32_t year, int32_t month, int32_t day, uint8_t, int32_t millis,
                           UErrorCode& status) const {
  if (U_FAILURE(status)) return 0;
  // Years before the first one of the era are counted backwards.
  const int wholeYear = era == 0 ? 1 - year : year;
  const std::chrono::sys_days date = std::chrono::year(wholeYear) / (month + 1) / day;
  const std::chrono::milliseconds wall = date.time_since_epoch() + std::chrono::milliseconds(millis);
  int32_t rawOffset = 0;
  int32_t dstOffset = 0;
  getOffset(static_cast<UDate>(wall.count()), 1, rawOffset, dstOffset, status);
  return rawOffset + dstOffset;
}

int32_t IcuZone::getOffset(uint8_t era, int32_t year, int32_t month, int32_t day, uint8_t dayOfWeek,
                           int32_t millis, int32_t, UErrorCode& status) const {
  return getOffset(era, year, month, day, dayOfWeek, millis, status);
}

int32_t IcuZone::getRawOffset() const {
  // ICU asks for the present one of zones that have several; nothing that we use of it goes by the answer.
  constexpr UDate kLater = 4'102'444'800'000;
  UErrorCode status = U_ZERO_ERROR;
  int32_t rawOffset = 0;
  int32_t dstOffset = 0;
  getOffset(kLater, 0, rawOffset, dstOffset, status);
  return rawOffset;
}

UBool IcuZone::useDaylightTime() const {
  return namesake_ ? namesake_->useDaylightTime() : UBool(!zone_->rules.onlyOffset());
}

UBool IcuZone::inDaylightTime(UDate date, UErrorCode& status) const {
  int32_t rawOffset = 0;
  int32_t dstOffset = 0;
  getOffset(date, 0, rawOffset, dstOffset, status);
  return dstOffset != 0;
}

UBool IcuZone::hasSameRules(const icu::TimeZone& other) const {
  const auto* same = dynamic_cast<const IcuZone*>(&other);
  return same != nullptr && same->zone_ == zone_;
}

bool IcuZone::operator==(const icu::TimeZone& other) const {
  return icu::TimeZone::operator==(other) && hasSameRules(other);
}

UClassID IcuZone::getStaticClassID() {
  static char id = 0;
  return &id;
}

}  // namespace orv
