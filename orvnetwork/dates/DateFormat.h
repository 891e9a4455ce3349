#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/TimeZone.h>
#include <orvnetwork/data/Types.h>
#include <orvnetwork/dates/DateFormatKey.h>

namespace orv {

/// A way to write and to read dates.
///
/// It keeps to the locale and the time zone that it was made with, and to the locale's calendar and digits.
/// Making one is cheap; what is dear about it is made at first use and kept for the next ones of the same
/// pattern, locale and zone. Any thread.
///
///     const DateFormat format = DateFormat::withPattern("yyyy-MM-dd HH:mm:ss", "en_US_POSIX", "UTC");
///     format.format(Seconds(1'706'688'000))                            // "2024-01-31 08:00:00"
///     const std::optional<Seconds> moment = format.parse("2024-01-31 08:00:00");
///     if (!moment) return refuse("not a date");
class ORV_EXPORT DateFormat {
 public:
  /// Letters of the pattern stand for fields, as in "yyyy-MM-dd HH:mm:ss.SSS", text between ' for itself.
  /// "yyyy" is the calendar's year; "YYYY" is the year that the week belongs to, which differs around New Year
  /// by the habits of the locale. The locale and the zone are the platform's at this moment.
  static DateFormat withPattern(std::string_view pattern);

  /// The same with a locale (see `plainLocaleName`) and a zone: its name, as for `timeZoneNamed`, or itself,
  /// where null stands for UTC.
  static DateFormat withPattern(std::string_view pattern, std::string locale, const std::string& zone);
  static DateFormat withPattern(std::string_view pattern, std::string locale, TimeZonePtr zone);

  /// The same for styles; the pattern is the locale's. With no style for either, every text is empty.
  static DateFormat withStyles(DateStyle date, DateStyle time);
  static DateFormat withStyles(DateStyle date, DateStyle time, std::string locale, const std::string& zone);
  static DateFormat withStyles(DateStyle date, DateStyle time, std::string locale, TimeZonePtr zone);

  /// The text of a moment, in seconds since 1970-01-01 00:00 UTC. Fractions are cut off, towards the past. ""
  /// when the pattern has a letter that means nothing, or more than 1024 bytes.
  std::string format(Seconds since1970) const;

  /// The moment that a text tells of, in seconds since 1970; absent when it does not match.
  ///
  /// The whole text (of up to 4096 bytes) must match, save blanks at its end; every field must be in its
  /// range. Fields that the pattern does not have are those of 2000-01-01 00:00:00; a year of two digits for
  /// "yy" lies between 1950 and 2049. A zone that the text names counts instead of the format's own. Of two
  /// moments with the same local time it is the first; a local time that a change of the clocks leaves out
  /// moves forward by what is left out.
  std::optional<Seconds> parse(std::string_view text) const;

 private:
  explicit DateFormat(detail::DateFormatKey key);

  detail::DateFormatKey key_;
};

}  // namespace orv
