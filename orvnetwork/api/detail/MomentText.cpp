#include "orvnetwork/api/detail/MomentText.h"

#include <orvnetwork/dates/LocalTime.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <limits>

namespace orv {

std::string minuteText(std::uint64_t secondsSince1970) {
  constexpr auto kGreatest = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
  const auto seconds = static_cast<std::int64_t>(std::min(secondsSince1970, kGreatest));
  const LocalTime time = LocalTime::ofSeconds(seconds);
  std::array<char, 64> text;
  std::snprintf(text.data(), text.size(), "%04d-%02d-%02d %02d:%02d", time.year, time.month, time.day,
                time.hour, time.minute);
  return text.data();
}

std::string secondText(const QXDate& moment) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(moment.since1970()).count();
  const LocalTime time = LocalTime::ofSeconds(seconds);
  std::array<char, 96> text;
  std::snprintf(text.data(), text.size(), "%04d-%02d-%02d %02d:%02d:%02d", time.year, time.month, time.day,
                time.hour, time.minute, time.second);
  return text.data();
}

}  // namespace orv
