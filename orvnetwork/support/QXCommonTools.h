#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>

namespace orv {

/// Small tools for text, hashes, time stamps and the display of times. There are no instances. Times are whole
/// seconds since 1970-01-01 00:00 UTC; texts of times follow the locale and the time zone of the platform, which
/// is asked at each call. Any thread.
class ORV_EXPORT QXCommonTools {
 public:
  QXCommonTools() = delete;

  /// The MD5 digest of the text's UTF-8 bytes up to the first zero byte, as 32 lower-case hexadecimal digits. It is
  /// the form in which passwords travel; it keeps nothing secret, for it can be guessed from.
  static std::string md5HexDigest(std::string_view text);

  /// A time as "YYYY-MM-dd HH:mm:ss", where "YYYY" is the year that the week belongs to: around New Year it may
  /// be the year before or after, by the locale's habits. `DateFormat` with "yyyy" gives the calendar's year.
  ///
  /// @param seconds since 1970; may be negative
  static std::string getTimeString(std::int64_t seconds);

  /// Whether two texts are equal when runs of ASCII digits count by their value ("a1" and "a01" are) and all else
  /// counts literally ("A" and "a" are not); see `compareNumerically`.
  static bool isString_equalToString(std::string_view left, std::string_view right);

  /// Whether there is nothing in it: true for an absent value, empty text, and an array or a dictionary
  /// without members; false for every number and boolean.
  static bool isEmptyString(const Object& value);

  /// The value itself, unchanged in kind (a number stays a number); "" for an absent one and for JSON null. What it
  /// gives can be put into a values dictionary, where a member must be.
  static json::value formatString(const Object& value);

  /// A span of time as hours, minutes and seconds, two digits each: "01:02:03" for 3723, "100:00:00" for 360000,
  /// since hours have no bound. Divisions cut off towards 0 and each part has its own sign: "00:-1:-1" for -61.
  ///
  /// @param seconds length of the span
  static std::string getMMSSFromSS(std::int64_t seconds);

  /// The current time by the platform's wall clock in whole seconds since 1970; the fraction is cut off. The user may
  /// set that clock, so two readings tell nothing certain of the time between them.
  static std::int64_t getTimeNow();
  /// The same in whole milliseconds.
  static std::int64_t getHSTimeNow();

  /// The JSON text of a dictionary or an array, indented (see `writeJsonPretty`). Absent when the value cannot be
  /// written, which the console gets a line: for an absent value, a text or number by itself, and a value with a number
  /// in it that is none or infinite, or with text that is not UTF-8.
  static OptionalString DataTOjsonString(const Object& value);

  /// The time of a message in a chat: "08:05" for today's, "昨天 08:05" (the word for yesterday) for one on the date of
  /// 24 hours ago, and "2024-01-31 08:05" for every other one, later days included. Locale, zone and clock are read
  /// once.
  ///
  /// @param seconds when the message was sent, since 1970
  static std::string getMessageTime(std::int64_t seconds);
};

}  // namespace orv
