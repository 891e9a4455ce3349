#include "orvnetwork/dates/icu/IcuDateFormat.h"

#include <orvnetwork/dates/icu/Icu.h>
#include <orvnetwork/dates/icu/IcuZone.h>
#include <orvnetwork/platform/TimeZones.h>

#include <unicode/gregocal.h>
#include <unicode/uchar.h>

namespace orv {

namespace {

icu::UnicodeString wideText(std::string_view text) {
  return icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
}

icu::DateFormat::EStyle icuStyle(DateStyle style) {
  switch (style) {
    case DateStyle::Short:
      return icu::DateFormat::kShort;
    case DateStyle::Medium:
      return icu::DateFormat::kMedium;
    case DateStyle::Long:
      return icu::DateFormat::kLong;
    case DateStyle::None:
      break;
  }
  return icu::DateFormat::kNone;
}

std::unique_ptr<icu::SimpleDateFormat> makeFormatter(const detail::DateFormatKey& key,
                                                     const icu::Locale& locale) {
  if (key.pattern) {
    UErrorCode status = U_ZERO_ERROR;
    auto formatter = std::make_unique<icu::SimpleDateFormat>(wideText(*key.pattern), locale, status);
    return U_SUCCESS(status) ? std::move(formatter) : nullptr;
  }
  std::unique_ptr<icu::DateFormat> formatter(
      icu::DateFormat::createDateTimeInstance(icuStyle(key.date), icuStyle(key.time), locale));
  auto* simple = dynamic_cast<icu::SimpleDateFormat*>(formatter.get());
  if (simple != nullptr) (void)formatter.release();
  return std::unique_ptr<icu::SimpleDateFormat>(simple);
}

bool isBlankFrom(const icu::UnicodeString& text, int32_t begin) {
  for (int32_t i = begin; i < text.length(); ++i) {
    if (!u_isblank(text[i])) return false;
  }
  return true;
}

/// Whether a pattern tells a year by its weeks ("YYYY").
bool hasWeekYear(const icu::SimpleDateFormat& formatter) {
  icu::UnicodeString pattern;
  formatter.toPattern(pattern);
  bool quoted = false;
  for (int32_t i = 0; i < pattern.length(); ++i) {
    if (pattern[i] == u'\'') quoted = !quoted;
    if (pattern[i] == u'Y' && !quoted) return true;
  }
  return false;
}

}  // namespace

std::unique_ptr<IcuDateFormat> IcuDateFormat::make(const detail::DateFormatKey& key) {
  auto calendar = makeIcuCalendar(CalendarKind::OfLocale, key.locale, key.zone);
  auto formatter = makeFormatter(key, icuLocale(key.locale));
  if (!calendar || !formatter) return nullptr;
  formatter->setTimeZone(calendar->getTimeZone());
  formatter->setLenient(false);
  std::unique_ptr<icu::TimeZone> zone(calendar->getTimeZone().clone());
  return std::unique_ptr<IcuDateFormat>(
      new IcuDateFormat(std::move(formatter), std::move(calendar), std::move(zone)));
}

std::string IcuDateFormat::format(UDate millis) {
  UErrorCode status = U_ZERO_ERROR;
  icu::UnicodeString wide;
  calendar_->setTime(millis, status);
  formatter_->format(*calendar_, wide, static_cast<icu::FieldPositionIterator*>(nullptr), status);
  std::string text;
  if (U_SUCCESS(status)) wide.toUTF8String(text);
  return text;
}

IcuDateFormat::Reading IcuDateFormat::prepareReading() {
  UErrorCode status = U_ZERO_ERROR;
  icu::GregorianCalendar gregorian(calendar_->getTimeZone(), status);
  const auto newYear = [&](int year) {
    gregorian.clear();
    gregorian.set(year, UCAL_JANUARY, 1);
    return gregorian.getTime(status);
  };
  const UDate unsetFields = newYear(2000);
  formatter_->set2DigitYearStart(newYear(1950), status);
  return {hasWeekYear(*formatter_), unsetFields};
}

std::optional<UDate> IcuDateFormat::parse(std::string_view text) {
  if (!reading_) reading_ = prepareReading();
  UErrorCode status = U_ZERO_ERROR;
  if (reading_->hasWeekYear) {
    // Weeks of the date below would mix with the year that is read.
    calendar_->clear();
  } else {
    calendar_->setTime(reading_->unsetFields, status);
  }
  const icu::UnicodeString wide = wideText(text);
  icu::ParsePosition position(0);
  formatter_->parse(wide, *calendar_, position);
  const bool isRead = U_SUCCESS(status) && position.getErrorIndex() < 0 && position.getIndex() > 0 &&
                      isBlankFrom(wide, position.getIndex()) && everyFieldIsInRange();
  takeOurRulesOfZoneRead();
  const UDate millis = isRead ? calendar_->getTime(status) : 0;
  calendar_->setTimeZone(*zone_);
  return isRead && U_SUCCESS(status) ? std::optional(millis) : std::nullopt;
}

void IcuDateFormat::takeOurRulesOfZoneRead() {
  const icu::TimeZone& read = calendar_->getTimeZone();
  if (dynamic_cast<const IcuZone*>(&read) != nullptr) return;
  icu::UnicodeString id;
  std::string name;
  read.getID(id).toUTF8String(name);
  if (const TimeZonePtr zone = findTimeZone(name)) calendar_->adoptTimeZone(new IcuZone(zone));
}

bool IcuDateFormat::everyFieldIsInRange() const {
  // In a zone without changes of the clocks, since a strict calendar refuses a local time that one leaves out.
  const std::unique_ptr<icu::Calendar> strict(calendar_->clone());
  if (!strict) return false;
  strict->setTimeZone(*icu::TimeZone::getGMT());
  strict->setLenient(false);
  UErrorCode status = U_ZERO_ERROR;
  strict->getTime(status);
  return U_SUCCESS(status);
}

}  // namespace orv
