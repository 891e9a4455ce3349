#include "orvnetwork/dates/DateFormat.h"

#include <orvnetwork/dates/Calendar.h>
#include <orvnetwork/dates/icu/Icu.h>
#include <orvnetwork/dates/icu/IcuDateFormat.h>
#include <orvnetwork/dates/icu/IcuPools.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/platform/TimeZones.h>

namespace orv {

namespace {

/// Longer patterns and texts are no date.
constexpr std::size_t kMaxPatternSize = 1024;
constexpr std::size_t kMaxTextSize = 4096;

bool isEmpty(const detail::DateFormatKey& key) {
  return key.pattern ? key.pattern->empty() || key.pattern->size() > kMaxPatternSize
                     : key.date == DateStyle::None && key.time == DateStyle::None;
}

DateFormatPool::Lease lease(const detail::DateFormatKey& key) {
  return dateFormatPool().lease(key, [&key] { return IcuDateFormat::make(key); });
}

}  // namespace

DateFormat::DateFormat(detail::DateFormatKey key) : key_(std::move(key)) {
  if (!key_.zone) key_.zone = timeZoneNamed("UTC");
}

DateFormat DateFormat::withPattern(std::string_view pattern, std::string locale, TimeZonePtr zone) {
  return DateFormat({.pattern = std::string(pattern), .locale = std::move(locale), .zone = std::move(zone)});
}

DateFormat DateFormat::withPattern(std::string_view pattern, std::string locale, const std::string& zone) {
  return withPattern(pattern, std::move(locale), timeZoneNamed(zone));
}

DateFormat DateFormat::withPattern(std::string_view pattern) {
  Platform& platform = Platform::current();
  return withPattern(pattern, platform.localeName(), platform.timeZone());
}

DateFormat DateFormat::withStyles(DateStyle date, DateStyle time, std::string locale, TimeZonePtr zone) {
  return DateFormat(
      {.pattern = {}, .date = date, .time = time, .locale = std::move(locale), .zone = std::move(zone)});
}

DateFormat DateFormat::withStyles(DateStyle date, DateStyle time, std::string locale,
                                  const std::string& zone) {
  return withStyles(date, time, std::move(locale), timeZoneNamed(zone));
}

DateFormat DateFormat::withStyles(DateStyle date, DateStyle time) {
  Platform& platform = Platform::current();
  return withStyles(date, time, platform.localeName(), platform.timeZone());
}

std::string DateFormat::format(Seconds since1970) const {
  if (isEmpty(key_)) return {};
  const auto formatter = lease(key_);
  return formatter ? formatter->format(icuMillis(withinDateLimit(since1970))) : std::string();
}

std::optional<Seconds> DateFormat::parse(std::string_view text) const {
  if (isEmpty(key_) || text.size() > kMaxTextSize) return std::nullopt;
  const auto formatter = lease(key_);
  if (!formatter) return std::nullopt;
  const std::optional<double> millis = formatter->parse(text);
  if (!millis) return std::nullopt;
  return withinDateLimit(secondsOfIcu(*millis));
}

}  // namespace orv
