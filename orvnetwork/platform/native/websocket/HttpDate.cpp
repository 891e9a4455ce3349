#include "orvnetwork/platform/native/websocket/HttpDate.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstddef>
#include <optional>
#include <string_view>

namespace orv {

namespace {

constexpr std::string_view kPattern = "aaa, 00 aaa 0000 00:00:00 GMT";
constexpr std::string_view kMonths = "JanFebMarAprMayJunJulAugSepOctNovDec";

/// Letters for "a", digits for "0", else the very character.
bool hasForm(std::string_view text) {
  return text.size() == kPattern.size() &&
         std::equal(text.begin(), text.end(), kPattern.begin(), [](char c, char wanted) {
           if (wanted == 'a') return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
           return wanted == '0' ? c >= '0' && c <= '9' : c == wanted;
         });
}

int digitsAt(std::string_view text, std::size_t at, std::size_t count) {
  int number = 0;
  std::from_chars(text.data() + at, text.data() + at + count, number);
  return number;
}

}  // namespace

std::optional<WallTime> parseHttpDate(std::string_view text) {
  if (!hasForm(text)) return std::nullopt;
  const std::size_t month = kMonths.find(text.substr(8, 3));
  if (month == std::string_view::npos || month % 3 != 0) return std::nullopt;
  const std::chrono::year_month_day day{std::chrono::year(digitsAt(text, 12, 4)),
                                        std::chrono::month(static_cast<unsigned>(month / 3 + 1)),
                                        std::chrono::day(static_cast<unsigned>(digitsAt(text, 5, 2)))};
  const int hour = digitsAt(text, 17, 2);
  const int minute = digitsAt(text, 20, 2);
  const int second = digitsAt(text, 23, 2);
  // A second may be a leap second. The years are those that a moment in nanoseconds can hold.
  const bool isInRange = day.year() > std::chrono::year(1677) && day.year() < std::chrono::year(2262);
  if (!day.ok() || !isInRange) return std::nullopt;
  if (hour > 23 || minute > 59 || second > 60) return std::nullopt;
  return WallTime(std::chrono::sys_days(day).time_since_epoch() + std::chrono::hours(hour) +
                  std::chrono::minutes(minute) + std::chrono::seconds(second));
}

}  // namespace orv
