// What is asked of a simulated school about its courses.

#include "orvnetwork/testing/detail/SchoolDesk.h"

#include <orvnetwork/testing/SchoolRules.h>
#include <orvnetwork/testing/detail/SchoolValues.h>

#include <algorithm>
#include <array>

namespace orv::testing {

namespace {

constexpr std::int64_t kMostRows = 100;
constexpr std::int64_t kWithTests = 3;
constexpr std::int64_t kPublished = 1;
constexpr std::int64_t kUploading = 2;

/// Members that a request may set.
constexpr std::array<std::string_view, 27> kMembers = {
    "title",        "teacher",         "teacher2",      "teacherIntro",      "intro",
    "imgIntro",     "courseType",      "startTime",     "startTimeEnable",   "seriesType",
    "seriesID",     "saleEnable",      "salePercent",   "videoID",           "whiteboardDataID",
    "videoConvert", "whiteboardMp3ID", "publishStatus", "enrollTableEnable", "test",
    "kelto_open",   "draft",           "coursePrice",   "duration",          "enrollcols",
    "cover",        "updatetime"};

json::object settable(const json::object& values) {
  json::object fields;
  for (const std::string_view key : kMembers) {
    if (const json::value* const value = values.if_contains(key); value != nullptr && !value->is_null()) {
      fields[key] = *value;
    }
  }
  return fields;
}

/// "start" counts pages here, from 1.
void takePage(const json::object& values, SchoolCourseFilter& filter) {
  const std::int64_t page = std::max<std::int64_t>(numberIn(values, "start").value_or(1), 1) - 1;
  const std::int64_t limit = numberIn(values, "limit").value_or(30);
  if (limit < 1) throw SchoolRefusal(SchoolRules::kMissingValue, "missing or not usable: limit");
  filter.limit = static_cast<std::size_t>(std::min(limit, kMostRows));
  filter.first = static_cast<std::size_t>(std::min<std::int64_t>(page, 1'000'000'000)) * filter.limit;
}

std::optional<std::int64_t> idIn(const json::object& values, std::string_view key) {
  const auto id = numberIn(values, key);
  return id && *id > 0 ? id : std::nullopt;
}

}  // namespace

json::object SchoolDesk::courseAsked(const json::object& values) const {
  const std::int64_t roomID = numberIn(values, "roomID").value_or(0);
  const auto course = courses_.find(roomID);
  if (!course) {
    throw SchoolRefusal(SchoolRules::kNoSuchCourse, "there is no room " + std::to_string(roomID));
  }
  return *course;
}

json::object SchoolDesk::ownCourse(const User& user, const json::object& values) const {
  json::object course = courseAsked(values);
  if (textIn(course, "uID") != user.uID) {
    throw SchoolRefusal(SchoolRules::kNotAllowed, "only for the teachers of this course");
  }
  return course;
}

json::value SchoolDesk::courseInfo(const json::object& values) const {
  json::object course = courseAsked(values);
  course["enrolled"] = false;
  course["followed"] = false;
  course["onlineCnt"] = 0;
  return course;
}

json::value SchoolDesk::recordedCourses(const json::object& values) const {
  SchoolCourseFilter filter;
  filter.classroomID = idIn(values, "classroomID");
  if (!filter.classroomID) {
    throw SchoolRefusal(SchoolRules::kMissingValue, "missing or not usable: classroomID");
  }
  filter.liveTypes = {numberIn(values, "liveType").value_or(SchoolCourses::kRecorded)};
  filter.draft = numberIn(values, "draft").value_or(0) != 0;
  filter.keyword = textIn(values, "keyword");
  takePage(values, filter);
  return courses_.list(filter);
}

json::value SchoolDesk::liveCourses(const json::object& values) const {
  SchoolCourseFilter filter;
  filter.liveTypes = {1, 3};
  filter.classroomID = idIn(values, "classroomID");
  filter.status = idIn(values, "status");
  const std::int64_t test = numberIn(values, "test").value_or(0);
  if (test != kWithTests) filter.test = test != 0;
  filter.order = textIn(values, "order") == "asc" ? SchoolCourseFilter::Order::EarliestFirst
                                                  : SchoolCourseFilter::Order::LatestFirst;
  takePage(values, filter);
  return courses_.list(filter);
}

json::value SchoolDesk::createCourse(const User& user, const json::object& values) {
  json::object fields = settable(values);
  if (textIn(fields, "title").empty()) {
    throw SchoolRefusal(SchoolRules::kMissingValue, "missing or not usable: title");
  }
  const std::int64_t liveType = numberIn(values, "liveType").value_or(SchoolCourses::kRecorded);
  fields["liveType"] = liveType;
  fields["uID"] = numberIn(json::object{{"uID", user.uID}}, "uID").value_or(0);
  fields["nick"] = textIn(user.members, "nick");
  const std::string room = textIn(user.members, "classroom");
  fields["classroomID"] = idIn(values, "classroomID").value_or(schoolNumber(json::string(room)).value_or(0));
  // Texts such as "2024-01-31 08:00" stay with the caller; what a list is sorted by is a number.
  fields.erase("startTime");
  const bool waits = numberIn(fields, "publishStatus").value_or(-1) != kPublished;
  if (liveType == SchoolCourses::kRecorded && waits) fields["publishStatus"] = kUploading;
  if (liveType != SchoolCourses::kRecorded) fields["publishStatus"] = 0;
  const std::int64_t roomID = courses_.add(fields, secondsNow());
  publishIfComplete(roomID);
  return *courses_.find(roomID);
}

json::value SchoolDesk::changeCourse(const User& user, const json::object& values, bool isFinish) {
  const json::object course = ownCourse(user, values);
  const std::int64_t roomID = numberIn(course, "roomID").value_or(0);
  json::object fields = isFinish ? json::object() : settable(values);
  fields.erase("startTime");
  fields["updatetime"] = secondsNow();
  if (isFinish && numberIn(course, "liveType") == SchoolCourses::kRecorded) {
    fields["draft"] = false;
    if (numberIn(course, "publishStatus") != kPublished) fields["publishStatus"] = kUploading;
  } else if (isFinish) {
    fields["status"] = 3;
  }
  courses_.change(roomID, fields);
  publishIfComplete(roomID);
  return *courses_.find(roomID);
}

json::value SchoolDesk::deleteCourse(const User& user, const json::object& values) {
  const std::int64_t roomID = numberIn(ownCourse(user, values), "roomID").value_or(0);
  courses_.remove(roomID);
  return json::object{{"roomID", roomID}};
}

// A recorded course is published as soon as both of its files are there.
void SchoolDesk::publishIfComplete(std::int64_t roomID) {
  const json::object course = *courses_.find(roomID);
  const bool isComplete = numberIn(course, "whiteboardDataID").value_or(0) > 0 &&
                          numberIn(course, "whiteboardMp3ID").value_or(0) > 0;
  if (numberIn(course, "liveType") == SchoolCourses::kRecorded && isComplete &&
      numberIn(course, "draft").value_or(0) == 0 && numberIn(course, "publishStatus") == kUploading) {
    publish(roomID);
  }
}

}  // namespace orv::testing
