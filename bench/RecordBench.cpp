// Filling course records from a page of the server's, beside a mapper that is written by hand for just these fields.
//
//   bench_RecordBench [rounds]
//
// The page has 30 courses of 52 fields, about 39 KB of text, and is parsed before: what is timed is making the
// records, merging the page into records that are there, and what becomes of them afterwards (JSON dictionaries,
// property-list texts). The hand-written mapper fills plain structs by looking each key up in the parsed dictionary.
// A page's way to the catalogue is timed too: its text is read without making values (`JsonIndex`), and the records are
// filled from there.

#include <orvnetwork/course/OrvCourseModel.h>
#include <orvnetwork/data/Json.h>
#include <orvnetwork/data/JsonIndex.h>
#include <orvnetwork/data/PropertyList.h>
#include <orvnetwork/data/RecordMapping.h>

#include "support/CoursePage.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace orv;
using Clock = std::chrono::steady_clock;

/// What a mapper by hand fills: no locks, no conversions of kinds.
struct PlainCourse {
  bool orv_local{};
  OptionalString orv_intro{};
  std::optional<json::object> orv_createInfo{};
  std::int64_t orv_cloudRoomID{};
  double orv_vectorDuration{};
  std::uint64_t videoType{};
  std::int64_t seriesType{};
  std::uint64_t status{};
  OptionalString title{};
  OptionalString coverUrl{};
  OptionalString flvUrl{};
  OptionalString rtmpUrl{};
  OptionalString hlsUrl{};
  std::int64_t viewCnt{};
  double duration{};
  OptionalString rolename{};
  std::int64_t updatetime{};
  std::int64_t whiteboardDataID{};
  std::int64_t uID{};
  std::int64_t cover{};
  std::int64_t startTimeEnable{};
  std::uint64_t courseType{};
  std::int64_t pptStatus{};
  std::int64_t addtime{};
  std::int64_t roomID{};
  std::int64_t tvSeries{};
  std::uint64_t liveType{};
  std::int64_t classroomID{};
  std::int64_t role{};
  std::int64_t income{};
  std::int64_t startTime{};
  std::int64_t enrolmentCnt{};
  float coursePrice{};
  std::uint64_t publishStatus{};
  OptionalString videoUrl{};
  std::uint64_t videoStatus{};
  OptionalString host{};
  std::uint64_t liveStatus{};
  OptionalString publishUrl{};
  OptionalString teacher{};
  OptionalString teacherIntro{};
  OptionalString intro{};
  std::uint64_t liveCommand{};
  OptionalString nick{};
  OptionalString userpic{};
  double livePauseRemainingTime{};
  double liveStartTime{};
  double liveTime{};
  bool test{};
  double liveDuration{};
  OptionalString shareUrl{};
  bool kelto_open{};
};

OptionalString textOf(const json::object& values, std::string_view key) {
  const json::value* const value = values.if_contains(key);
  if (value == nullptr || !value->is_string()) return std::nullopt;
  return std::string(value->get_string().data(), value->get_string().size());
}

template <typename Integer>
Integer integerOf(const json::object& values, std::string_view key) {
  const json::value* const value = values.if_contains(key);
  return value != nullptr && value->is_int64() ? static_cast<Integer>(value->get_int64()) : Integer{0};
}

template <typename Real>
Real realOf(const json::object& values, std::string_view key) {
  const json::value* const value = values.if_contains(key);
  if (value == nullptr) return 0;
  if (value->is_int64()) return static_cast<Real>(value->get_int64());
  return value->is_double() ? static_cast<Real>(value->get_double()) : Real{0};
}

bool flagOf(const json::object& values, std::string_view key) {
  const json::value* const value = values.if_contains(key);
  return value != nullptr && value->is_bool() && value->get_bool();
}

std::optional<json::object> objectOf(const json::object& values, std::string_view key) {
  const json::value* const value = values.if_contains(key);
  if (value == nullptr || !value->is_object()) return std::nullopt;
  return json::object(value->get_object(), json::storage_ptr());
}

std::shared_ptr<PlainCourse> mapByHand(const json::object& values) {
  auto course = std::make_shared<PlainCourse>();
  course->orv_local = flagOf(values, "orv_local");
  course->orv_intro = textOf(values, "orv_intro");
  course->orv_createInfo = objectOf(values, "orv_createInfo");
  course->orv_cloudRoomID = integerOf<std::int64_t>(values, "orv_cloudRoomID");
  course->orv_vectorDuration = realOf<double>(values, "orv_vectorDuration");
  course->videoType = integerOf<std::uint64_t>(values, "videoType");
  course->seriesType = integerOf<std::int64_t>(values, "seriesType");
  course->status = integerOf<std::uint64_t>(values, "status");
  course->title = textOf(values, "title");
  course->coverUrl = textOf(values, "coverUrl");
  course->flvUrl = textOf(values, "flvUrl");
  course->rtmpUrl = textOf(values, "rtmpUrl");
  course->hlsUrl = textOf(values, "hlsUrl");
  course->viewCnt = integerOf<std::int64_t>(values, "viewCnt");
  course->duration = realOf<double>(values, "duration");
  course->rolename = textOf(values, "rolename");
  course->updatetime = integerOf<std::int64_t>(values, "updatetime");
  course->whiteboardDataID = integerOf<std::int64_t>(values, "whiteboardDataID");
  course->uID = integerOf<std::int64_t>(values, "uID");
  course->cover = integerOf<std::int64_t>(values, "cover");
  course->startTimeEnable = integerOf<std::int64_t>(values, "startTimeEnable");
  course->courseType = integerOf<std::uint64_t>(values, "courseType");
  course->pptStatus = integerOf<std::int64_t>(values, "pptStatus");
  course->addtime = integerOf<std::int64_t>(values, "addtime");
  course->roomID = integerOf<std::int64_t>(values, "roomID");
  course->tvSeries = integerOf<std::int64_t>(values, "tvSeries");
  course->liveType = integerOf<std::uint64_t>(values, "liveType");
  course->classroomID = integerOf<std::int64_t>(values, "classroomID");
  course->role = integerOf<std::int64_t>(values, "role");
  course->income = integerOf<std::int64_t>(values, "income");
  course->startTime = integerOf<std::int64_t>(values, "startTime");
  course->enrolmentCnt = integerOf<std::int64_t>(values, "enrolmentCnt");
  course->coursePrice = realOf<float>(values, "coursePrice");
  course->publishStatus = integerOf<std::uint64_t>(values, "publishStatus");
  course->videoUrl = textOf(values, "videoUrl");
  course->videoStatus = integerOf<std::uint64_t>(values, "videoStatus");
  course->host = textOf(values, "host");
  course->liveStatus = integerOf<std::uint64_t>(values, "liveStatus");
  course->publishUrl = textOf(values, "publishUrl");
  course->teacher = textOf(values, "teacher");
  course->teacherIntro = textOf(values, "teacherIntro");
  course->intro = textOf(values, "intro");
  course->liveCommand = integerOf<std::uint64_t>(values, "liveCommand");
  course->nick = textOf(values, "nick");
  course->userpic = textOf(values, "userpic");
  course->livePauseRemainingTime = realOf<double>(values, "livePauseRemainingTime");
  course->liveStartTime = realOf<double>(values, "liveStartTime");
  course->liveTime = realOf<double>(values, "liveTime");
  course->test = flagOf(values, "test");
  course->liveDuration = realOf<double>(values, "liveDuration");
  course->shareUrl = textOf(values, "shareUrl");
  course->kelto_open = flagOf(values, "kelto_open");
  return course;
}

/// The median over rounds of what `work` takes, in microseconds.
double medianCost(int rounds, const std::function<std::size_t()>& work) {
  std::vector<double> costs;
  std::size_t used = 0;
  for (int round = 0; round < rounds; ++round) {
    const auto begin = Clock::now();
    used += work();
    costs.push_back(std::chrono::duration<double, std::micro>(Clock::now() - begin).count());
  }
  if (used == 0) std::exit(EXIT_FAILURE);
  std::nth_element(costs.begin(), costs.begin() + static_cast<std::ptrdiff_t>(costs.size() / 2), costs.end());
  return costs[costs.size() / 2];
}

void print(const char* what, double cost, double byHand) {
  std::printf("%-58s %9.1f us   x %.2f of by hand\n", what, cost, cost / byHand);
}

}  // namespace

int main(int argc, char** argv) {
  const int rounds = argc > 1 ? std::max(std::atoi(argv[1]), 1) : 2'000;
  const std::string text = bench::coursePage(30);
  const json::value parsed = std::move(parseJson(text).value());
  const json::array& page = parsed.get_array();
  std::printf("%zu courses of %zu fields, %zu bytes of JSON, %d rounds\n", page.size(),
              page.front().get_object().size(), text.size(), rounds);

  // What the round before made is destroyed within the time.
  std::vector<std::shared_ptr<PlainCourse>> plain(page.size());
  std::vector<std::shared_ptr<OrvCourseModel>> records(page.size());
  const auto byHandOnce = [&] {
    for (std::size_t at = 0; at < page.size(); ++at) plain[at] = mapByHand(page[at].get_object());
    return static_cast<std::size_t>(plain.back()->roomID);
  };
  const auto mapOnce = [&] {
    for (std::size_t at = 0; at < page.size(); ++at) {
      records[at] = makeRecord<OrvCourseModel>(page[at].get_object());
    }
    return static_cast<std::size_t>(records.back()->roomID.get());
  };
  const auto mergeOnce = [&] {
    for (std::size_t at = 0; at < page.size(); ++at) records[at]->merge(page[at].get_object());
    return static_cast<std::size_t>(records.back()->roomID.get());
  };
  const auto writeOnce = [&] {
    std::size_t used = 0;
    for (const auto& record : records) used += record->jsonObject().size();
    return used;
  };
  const auto writeListsOnce = [&] {
    std::size_t used = 0;
    for (const auto& record : records) used += writePropertyList(record->jsonObject())->size();
    return used;
  };
  const auto parseOnce = [&] { return parseJson(text)->get_array().size(); };
  const auto readOnce = [&] { return JsonIndex::read(text)->memory(); };
  const auto index = JsonIndex::read(text);
  const auto mapTextOnce = [&] {
    std::size_t at = 0;
    index->root(text).eachItem([&](const JsonView& values) {
      auto record = std::make_shared<OrvCourseModel>();
      record->fields().merge(*record, values);
      records[at++] = std::move(record);
    });
    return static_cast<std::size_t>(records.back()->roomID.get());
  };

  byHandOnce();
  mapOnce();
  const double byHand = medianCost(rounds, byHandOnce);
  print("mapped by hand to plain structs", byHand, byHand);
  print("mapped to new records", medianCost(rounds, mapOnce), byHand);
  print("merged into records that are there", medianCost(rounds, mergeOnce), byHand);
  print("records to JSON dictionaries", medianCost(rounds, writeOnce), byHand);
  print("records to JSON dictionaries to property-list texts", medianCost(rounds, writeListsOnce), byHand);
  print("for scale: the page parsed", medianCost(rounds, parseOnce), byHand);
  print("the page read without values", medianCost(rounds, readOnce), byHand);
  print("mapped to new records from its text", medianCost(rounds, mapTextOnce), byHand);
  return 0;
}
