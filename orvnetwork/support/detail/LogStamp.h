#pragma once

#include <orvnetwork/dates/LocalTime.h>

#include <array>
#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace orv {

/// The time stamps of log lines: "YYYY/MM/dd HH:mm:ss.SSS", with the year that the day's *week* belongs to in
/// the user's locale. Once a second it looks at the platform's locale and zone and formats anew; in between
/// it changes the milliseconds only. Used by one thread at a time.
class LogStamp {
 public:
  /// The stamp of a moment; valid until the next call.
  std::string_view of(WallTime moment);

 private:
  static constexpr std::size_t kSize = 23;

  void format(WallTime moment);

  std::optional<std::chrono::sys_seconds> second_;
  std::chrono::milliseconds millisecond_{-1};
  std::array<char, 64> text_{};
};

/// The stamp in a log file's name, "yyyyMMddHHmmss", by the calendar's year.
std::string logFileStamp(const LocalTime& time);

}  // namespace orv
