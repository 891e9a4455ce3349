#pragma once

#include <orvnetwork/data/TimeZone.h>

#include <unicode/timezone.h>

#include <memory>

namespace orv {

/// A time zone of ours for ICU: the offsets are those of the zone's rules, the words for it are ICU's.
///
/// It is no `icu::BasicTimeZone` on purpose. Of any other zone an ICU calendar asks for the offset of a local time and
/// takes the answer as it is, so which of two moments is meant is decided by the rules alone. Such a calendar must keep
/// its options for repeated and skipped local times, or it would correct the answer.
class IcuZone final : public icu::TimeZone {
 public:
  explicit IcuZone(TimeZonePtr zone);
  IcuZone(const IcuZone& other);

  const TimeZonePtr& zone() const { return zone_; }

  using icu::TimeZone::getOffset;
  void getOffset(UDate date, UBool local, int32_t& rawOffset, int32_t& dstOffset,
                 UErrorCode& status) const override;
  int32_t getOffset(uint8_t era, int32_t year, int32_t month, int32_t day, uint8_t dayOfWeek, int32_t millis,
                    UErrorCode& status) const override;
  int32_t getOffset(uint8_t era, int32_t year, int32_t month, int32_t day, uint8_t dayOfWeek, int32_t millis,
                    int32_t monthLength, UErrorCode& status) const override;
  int32_t getRawOffset() const override;
  /// Without effect: the rules do not change.
  void setRawOffset(int32_t) override {}
  UBool useDaylightTime() const override;
  UBool inDaylightTime(UDate date, UErrorCode& status) const override;
  UBool hasSameRules(const icu::TimeZone& other) const override;
  bool operator==(const icu::TimeZone& other) const override;
  IcuZone* clone() const override { return new IcuZone(*this); }

  static UClassID getStaticClassID();
  UClassID getDynamicClassID() const override { return getStaticClassID(); }

 private:
  TimeZonePtr zone_;
  /// What ICU knows under the same name; null when that is nothing. It has a say in which part of an offset is summer
  /// time, for there are zones whose rules tell of a winter time instead.
  std::unique_ptr<icu::TimeZone> namesake_;
};

}  // namespace orv
