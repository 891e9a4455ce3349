#include "cli/CourseTable.h"

#include <orvnetwork/dates/LocalTime.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>

namespace orv::cli {

namespace {

constexpr std::uint64_t kRecorded = 2;
constexpr int kMinute = 60;

/// Seconds since 1970 as a local time; "" for none.
std::string timeText(std::int64_t seconds) {
  if (seconds <= 0) return {};
  const LocalTime local = LocalTime::ofSeconds(seconds);
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%04d-%02d-%02d %02d:%02d", local.year, local.month, local.day,
                local.hour, local.minute);
  return text.data();
}

/// A length as "1:02:03" or "2:03"; "" for none.
std::string lengthText(double seconds) {
  if (!(seconds >= 0.5) || seconds > 1e9) return {};
  const auto whole = static_cast<std::int64_t>(std::llround(seconds));
  const auto hours = whole / (kMinute * kMinute), minutes = whole / kMinute % kMinute;
  std::array<char, 48> text{};
  if (hours > 0) {
    std::snprintf(text.data(), text.size(), "%lld:%02lld:%02lld", static_cast<long long>(hours),
                  static_cast<long long>(minutes), static_cast<long long>(whole % kMinute));
  } else {
    std::snprintf(text.data(), text.size(), "%lld:%02lld", static_cast<long long>(minutes),
                  static_cast<long long>(whole % kMinute));
  }
  return text.data();
}

std::string stateText(const OrvCourseModel& course) {
  if (course.orv_local) return course.orv_cloudRoomID > 0 ? "published" : "local";
  switch (static_cast<std::uint64_t>(course.status)) {
    case 1:
      return "to come";
    case 2:
      return "on the air";
    case 3:
      return "over";
    case 4:
      return "withdrawn";
    case 5:
      return "recorded";
    default:
      return std::to_string(course.status);
  }
}

std::string whenText(const OrvCourseModel& course) {
  const bool isLive = course.liveType != kRecorded && course.startTime > 0;
  return timeText(isLive ? course.startTime : course.addtime);
}

}  // namespace

CourseTable::CourseTable()
    : table_({{"ROOM", Table::Align::Right},
              {"TITLE"},
              {"STATE"},
              {"TIME"},
              {"LENGTH", Table::Align::Right},
              {"VIEWS", Table::Align::Right}}) {}

void CourseTable::add(const OrvCourseModel& course) {
  table_.add({std::to_string(course.roomID), course.title.get().value_or(""), stateText(course),
              whenText(course), lengthText(course.duration()), std::to_string(course.viewCnt)});
}

}  // namespace orv::cli
