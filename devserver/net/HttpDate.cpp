#include "devserver/net/HttpDate.h"

#include <array>
#include <cstddef>
#include <cstdio>
#include <ctime>

namespace orv::devserver {

std::string httpDate(std::chrono::system_clock::time_point moment) {
  constexpr std::array kDays = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  constexpr std::array kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                  "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  const std::time_t seconds = std::chrono::system_clock::to_time_t(moment);
  std::tm utc{};
  ::gmtime_r(&seconds, &utc);
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%s, %02d %s %04d %02d:%02d:%02d GMT",
                kDays[static_cast<std::size_t>(utc.tm_wday)], utc.tm_mday,
                kMonths[static_cast<std::size_t>(utc.tm_mon)], utc.tm_year + 1900, utc.tm_hour, utc.tm_min,
                utc.tm_sec);
  return text.data();
}

}  // namespace orv::devserver
