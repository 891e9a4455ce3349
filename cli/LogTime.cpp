#include "cli/LogTime.h"

#include <orvnetwork/dates/LocalTime.h>

#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <system_error>

namespace orv::cli {

namespace {

constexpr std::int64_t kDay = 24 * 3600;
/// More days than a log goes back.
constexpr std::int64_t kMostOfAUnit = 100'000;

std::optional<std::int64_t> numberIn(std::string_view text) {
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool isWhole = error == std::errc() && end == text.data() + text.size() && !text.starts_with('-');
  return isWhole && number <= kMostOfAUnit ? std::optional(number) : std::nullopt;
}

std::optional<std::int64_t> secondsOfUnit(char unit) {
  switch (unit) {
    case 's':
      return 1;
    case 'm':
      return 60;
    case 'h':
      return 3600;
    case 'd':
      return kDay;
    default:
      return std::nullopt;
  }
}

/// Whether a text has digits where the shape has zeros, and the shape's characters elsewhere.
bool hasShape(std::string_view text, std::string_view shape) {
  if (text.size() != shape.size()) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (shape[i] == '0' ? text[i] < '0' || text[i] > '9' : text[i] != shape[i]) return false;
  }
  return true;
}

int part(std::string_view text, std::size_t from, std::size_t size) {
  return static_cast<int>(numberIn(text.substr(from, size)).value_or(0));
}

/// Puts "14:30" or "14:30:05" into a time; false where it is neither.
bool readTimeOfDay(std::string_view text, std::tm& time) {
  const bool hasSeconds = hasShape(text, "00:00:00");
  if (!hasSeconds && !hasShape(text, "00:00")) return false;
  time.tm_hour = part(text, 0, 2);
  time.tm_min = part(text, 3, 2);
  time.tm_sec = hasSeconds ? part(text, 6, 2) : 0;
  return time.tm_hour < 24 && time.tm_min < 60 && time.tm_sec < 60;
}

bool readDate(std::string_view text, std::tm& time) {
  if (!hasShape(text, "0000-00-00")) return false;
  const int year = part(text, 0, 4), month = part(text, 5, 2), day = part(text, 8, 2);
  time.tm_year = year - 1900;
  time.tm_mon = month - 1;
  time.tm_mday = day;
  std::tm normal = time;
  normal.tm_isdst = -1;
  // A day that is in no calendar becomes another one.
  return std::mktime(&normal) != -1 && normal.tm_mon == month - 1 && normal.tm_mday == day;
}

/// By the zone files that the log's own stamps go by.
std::string stampOf(std::time_t time) {
  const LocalTime local = LocalTime::ofSeconds(time);
  std::array<char, 96> text{};
  std::snprintf(text.data(), text.size(), "%04d/%02d/%02d %02d:%02d:%02d", local.year, local.month, local.day,
                local.hour, local.minute, local.second);
  return text.data();
}

/// The beginning of a day.
std::tm dayOf(std::time_t time) {
  const LocalTime local = LocalTime::ofSeconds(time);
  std::tm day{};
  day.tm_year = local.year - 1900;
  day.tm_mon = local.month - 1;
  day.tm_mday = local.day;
  return day;
}

std::string stampOf(std::tm local) {
  local.tm_isdst = -1;
  return stampOf(std::mktime(&local));
}

}  // namespace

std::optional<std::string> logStamp(std::string_view text, std::time_t now) {
  if (text.empty()) return std::nullopt;
  if (const auto unit = secondsOfUnit(text.back())) {
    const auto number = numberIn(text.substr(0, text.size() - 1));
    if (!number) return std::nullopt;
    return stampOf(now - static_cast<std::time_t>(*number * *unit));
  }
  std::tm time = dayOf(now);
  if (readTimeOfDay(text, time)) {
    std::tm day = time;
    day.tm_isdst = -1;
    if (std::mktime(&day) > now) --time.tm_mday;
    return stampOf(time);
  }
  time = {};
  time.tm_mday = 1;
  constexpr std::size_t kDateSize = 10;
  const std::string_view date = text.substr(0, kDateSize);
  if (!readDate(date, time)) return std::nullopt;
  if (text.size() == kDateSize) return stampOf(time);
  const char between = text[kDateSize];
  if ((between != ' ' && between != 'T') || !readTimeOfDay(text.substr(kDateSize + 1), time)) {
    return std::nullopt;
  }
  return stampOf(time);
}

bool isLogTime(std::string_view text) {
  return logStamp(text, std::time(nullptr)).has_value();
}

}  // namespace orv::cli
