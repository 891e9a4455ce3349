#include "orvnetwork/support/QXCommonTools.h"

#include <orvnetwork/data/Json.h>
#include <orvnetwork/data/NumericCompare.h>
#include <orvnetwork/dates/Calendar.h>
#include <orvnetwork/dates/DateFormat.h>
#include <orvnetwork/platform/ConsoleLog.h>
#include <orvnetwork/platform/Md5.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/support/detail/Spans.h>

namespace orv {

namespace {

Seconds secondsNow() {
  return secondsSince1970(Platform::current().clock().wallNow());
}

}  // namespace

std::string QXCommonTools::md5HexDigest(std::string_view text) {
  return md5Hex(text.substr(0, text.find('\0')));
}

bool QXCommonTools::isEmptyString(const Object& value) {
  if (!value || value->is_null()) {
    return true;
  }
  if (const json::string* text = value->if_string()) {
    return text->empty();
  }
  if (const json::array* array = value->if_array()) {
    return array->empty();
  }
  const json::object* object = value->if_object();
  return object != nullptr && object->empty();
}

json::value QXCommonTools::formatString(const Object& value) {
  return !value || value->is_null() ? json::value("") : *value;
}

std::string QXCommonTools::getTimeString(std::int64_t seconds) {
  return DateFormat::withPattern("YYYY-MM-dd HH:mm:ss").format(Seconds(seconds));
}

bool QXCommonTools::isString_equalToString(std::string_view left, std::string_view right) {
  return compareNumerically(left, right) == 0;
}

std::string QXCommonTools::getMMSSFromSS(std::int64_t seconds) {
  const std::string hours = formatText("%02ld", seconds / 3600);
  const std::string minutes = formatText("%02ld", seconds % 3600 / 60);
  const std::string rest = formatText("%02ld", seconds % 60);
  return formatText("%@:%@:%@", hours, minutes, rest);
}

std::int64_t QXCommonTools::getTimeNow() {
  return static_cast<std::int64_t>(secondsNow().count());
}

std::int64_t QXCommonTools::getHSTimeNow() {
  return static_cast<std::int64_t>(secondsNow().count() * 1000.0);
}

OptionalString QXCommonTools::DataTOjsonString(const Object& value) {
  Result<std::string> written = writeJsonPretty(value ? *value : json::value());
  if (written) return *std::move(written);
  consoleLog("Got an error: %@", written.error());
  return std::nullopt;
}

std::string QXCommonTools::getMessageTime(std::int64_t seconds) {
  Platform& platform = Platform::current();
  const std::string locale = platform.localeName();
  const TimeZonePtr zone = platform.timeZone();
  const auto text = [&](Seconds moment, std::string_view pattern) {
    return DateFormat::withPattern(pattern, locale, zone).format(moment);
  };
  const Seconds when(seconds);
  const Seconds now = secondsNow();
  const std::string day = text(when, "yyyy-MM-dd");
  if (day == text(now, "yyyy-MM-dd")) return text(when, "HH':'mm");
  if (day == text(now - kDay, "yyyy-MM-dd")) return "昨天 " + text(when, "HH:mm");
  return text(when, "yyyy-MM-dd HH:mm");
}

}  // namespace orv
