#include "orvnetwork/support/detail/LogStamp.h"

#include <orvnetwork/platform/Platform.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <string_view>

namespace orv {

std::string_view LogStamp::of(WallTime moment) {
  const auto second = std::chrono::floor<std::chrono::seconds>(moment);
  const auto millisecond = std::chrono::floor<std::chrono::milliseconds>(moment - second);
  if (second_ != second) {
    format(moment);
    second_ = second;
  } else if (millisecond_ != millisecond) {
    const auto digits = static_cast<unsigned>(millisecond.count());
    text_[kSize - 3] = static_cast<char>('0' + digits / 100);
    text_[kSize - 2] = static_cast<char>('0' + digits / 10 % 10);
    text_[kSize - 1] = static_cast<char>('0' + digits % 10);
  }
  millisecond_ = millisecond;
  return {text_.data(), kSize};
}

void LogStamp::format(WallTime moment) {
  const LocalTime time = LocalTime::of(moment);
  const int year = weekBasedYear(time, Platform::current().localeName());
  std::snprintf(text_.data(), text_.size(), "%04d/%02d/%02d %02d:%02d:%02d.%03d", year, time.month, time.day,
                time.hour, time.minute, time.second, time.millisecond);
}

std::string logFileStamp(const LocalTime& time) {
  std::array<char, 96> text;
  std::snprintf(text.data(), text.size(), "%04d%02d%02d%02d%02d%02d", time.year, time.month, time.day,
                time.hour, time.minute, time.second);
  return text.data();
}

}  // namespace orv
