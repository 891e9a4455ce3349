#include "CoursePage.h"

#include <orvnetwork/data/Json.h>

#include <algorithm>
#include <random>
#include <vector>

namespace bench {

namespace {

namespace json = orv::json;

json::object makeCourse(std::int64_t number) {
  const std::string room = std::to_string(482'000 + number);
  const auto address = [&](std::string_view host, std::string_view kind) {
    return "https://" + std::string(host) + ".example.com/" + room + "." + std::string(kind);
  };
  const std::int64_t moment = 1'706'661'902 + 3'600 * number;
  return {
      {"orv_local", false},
      {"orv_intro", ""},
      {"orv_createInfo", {{"title", "Lesson " + room}, {"liveType", 1}, {"coursePrice", "9.90"}}},
      {"orv_cloudRoomID", 0},
      {"orv_vectorDuration", 2'712.4},
      {"videoType", 1},
      {"seriesType", 0},
      {"status", 2},
      {"title", "Fractions for the sixth year, part " + std::to_string(number)},
      {"coverUrl", address("pictures", "jpg")},
      {"flvUrl", address("pull", "flv")},
      {"rtmpUrl", address("pull", "rtmp")},
      {"hlsUrl", address("pull", "m3u8")},
      {"viewCnt", 1'234 + number},
      {"duration", 2'700.5},
      {"rolename", "teacher"},
      {"updatetime", moment + 120},
      {"whiteboardDataID", 77'000 + number},
      {"uID", 10'086},
      {"cover", 55'012 + number},
      {"startTimeEnable", 1},
      {"courseType", 3},
      {"pptStatus", 1},
      {"addtime", moment - 86'400},
      {"roomID", 482'000 + number},
      {"tvSeries", 12},
      {"liveType", number % 4},
      {"classroomID", 3'001},
      {"role", 2},
      {"income", 18'500},
      {"startTime", moment},
      {"enrolmentCnt", 42},
      {"coursePrice", 9.9},
      {"publishStatus", 1},
      {"videoUrl", address("replay", "mp4")},
      {"videoStatus", 2},
      {"host", "live-07.example.com"},
      {"liveStatus", 3},
      {"publishUrl", address("push", "rtmp")},
      {"teacher", "Lin Meiling"},
      {"teacherIntro", "Twelve years of mathematics."},
      {"intro", "Adding and comparing fractions."},
      {"liveCommand", 0},
      {"nick", "Teacher Lin"},
      {"userpic", address("pictures", "png")},
      {"livePauseRemainingTime", 0},
      {"liveStartTime", static_cast<double>(moment) + 0.345},
      {"liveTime", 2'699.25},
      {"test", false},
      {"liveDuration", 2'700},
      {"shareUrl", address("share", "html")},
      {"kelto_open", true},
  };
}

/// Places in a mixed order, the same one each time.
std::vector<std::ptrdiff_t> mixedOrder(std::size_t places) {
  std::vector<std::ptrdiff_t> order(places);
  for (std::size_t at = 0; at < places; ++at) order[at] = static_cast<std::ptrdiff_t>(at);
  std::shuffle(order.begin(), order.end(), std::mt19937(52));
  return order;
}

}  // namespace

std::string coursePage(std::size_t courses) {
  json::array page;
  for (std::size_t number = 0; number < courses; ++number) {
    const json::object course = makeCourse(static_cast<std::int64_t>(number));
    json::object mixed;
    for (const std::ptrdiff_t at : mixedOrder(course.size())) mixed.insert(*(course.begin() + at));
    page.emplace_back(std::move(mixed));
  }
  return orv::writeJsonCompact(json::value(std::move(page))).value();
}

}  // namespace bench
