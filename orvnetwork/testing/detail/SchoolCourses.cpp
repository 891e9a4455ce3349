#include "orvnetwork/testing/detail/SchoolCourses.h"

#include <orvnetwork/testing/detail/SchoolValues.h>

#include <boost/json/parse.hpp>

#include <algorithm>
#include <limits>
#include <utility>

namespace orv::testing {

namespace {

constexpr std::int64_t kHour = 3600;

const json::object& usualCourse() {
  static const auto& usual = *new json::object(json::parse(R"json({
    "videoType":1,"seriesType":0,"status":5,"title":"","viewCnt":0,"duration":0,"rolename":"","updatetime":0,
    "whiteboardDataID":0,"uID":0,"cover":0,"startTimeEnable":0,"courseType":1,"pptStatus":0,"addtime":0,
    "tvSeries":0,"liveType":2,"classroomID":5001,"role":1,"income":0,"startTime":0,"enrolmentCnt":0,
    "coursePrice":0,"publishStatus":1,"videoStatus":1,"host":"","liveStatus":0,"teacher":"","teacherIntro":"",
    "intro":"","liveCommand":0,"nick":"","userpic":"","livePauseRemainingTime":0,"liveStartTime":0,"liveTime":0,
    "test":false,"liveDuration":0,"kelto_open":false,"draft":false,"enrollTableEnable":0,"enrollcols":[]})json")
                                                   .as_object());
  return usual;
}

std::int64_t number(const json::object& object, std::string_view key) {
  return numberIn(object, key).value_or(0);
}

}  // namespace

/// A course that belongs to a list, with what decides its place there.
struct SchoolCourses::Row {
  std::size_t place;
  std::int64_t roomID;
  const Course* course;
};

SchoolCourses::Course SchoolCourses::made(json::object members) {
  Course course;
  course.classroomID = number(members, "classroomID");
  course.liveType = number(members, "liveType");
  course.status = number(members, "status");
  course.start = number(members, "startTime");
  course.hasStart = number(members, "startTimeEnable") != 0;
  course.isDraft = number(members, "draft") != 0;
  course.isTest = number(members, "test") != 0;
  course.members = std::move(members);
  return course;
}

json::object SchoolCourses::described(std::int64_t roomID, const Course& course) {
  json::object described;
  described.reserve(course.members.size() + 1);
  described.emplace("roomID", roomID);
  for (const auto& [key, value] : course.members) described.emplace(key, value);
  return described;
}

std::int64_t SchoolCourses::add(const json::object& fields, std::int64_t now) {
  const std::int64_t roomID = numberIn(fields, "roomID").value_or(lastRoom_ + 1);
  lastRoom_ = std::max(lastRoom_, roomID);
  lastStart_ = std::max(lastStart_, now) + kHour;
  json::object members = usualCourse();
  members["addtime"] = now;
  members["updatetime"] = now;
  members["startTime"] = now;
  members["title"] = "Course " + std::to_string(roomID);
  if (numberIn(fields, "liveType").value_or(kRecorded) != kRecorded) {
    members["status"] = 1;
    members["publishStatus"] = 0;
    members["startTime"] = lastStart_;
    members["startTimeEnable"] = 1;
  }
  mergeFields(members, fields);
  members.erase("roomID");
  courses_.insert_or_assign(roomID, made(std::move(members)));
  return roomID;
}

bool SchoolCourses::change(std::int64_t roomID, const json::object& fields) {
  const auto found = courses_.find(roomID);
  if (found == courses_.end()) return false;
  json::object members = std::move(found->second.members);
  mergeFields(members, fields);
  members.erase("roomID");
  found->second = made(std::move(members));
  return true;
}

std::optional<json::object> SchoolCourses::find(std::int64_t roomID) const {
  const auto found = courses_.find(roomID);
  return found == courses_.end() ? std::nullopt : std::optional(described(roomID, found->second));
}

void SchoolCourses::setListOrder(const std::vector<std::int64_t>& roomIDs) {
  places_.clear();
  for (const std::int64_t roomID : roomIDs) places_.emplace(roomID, places_.size());
}

bool SchoolCourses::matches(const Course& course, const SchoolCourseFilter& filter) {
  const auto& types = filter.liveTypes;
  return (!filter.classroomID || course.classroomID == *filter.classroomID) &&
         std::find(types.begin(), types.end(), course.liveType) != types.end() &&
         (!filter.status || course.status == *filter.status) && course.isDraft == filter.draft &&
         (!filter.test || course.isTest == *filter.test) &&
         (filter.keyword.empty() ||
          textIn(course.members, "title").find(filter.keyword) != std::string::npos);
}

json::array SchoolCourses::list(const SchoolCourseFilter& filter) const {
  std::vector<Row> rows;
  for (const auto& [roomID, course] : courses_) {
    if (!matches(course, filter)) continue;
    const auto place = places_.find(roomID);
    rows.push_back(
        {place == places_.end() ? std::numeric_limits<std::size_t>::max() : place->second, roomID, &course});
  }
  const auto isBefore = [order = filter.order](const Row& left, const Row& right) {
    using Order = SchoolCourseFilter::Order;
    if (left.place != right.place) return left.place < right.place;
    if (order != Order::NewestFirst) {
      if (left.course->hasStart != right.course->hasStart) return right.course->hasStart;
      if (left.course->start != right.course->start) {
        return (left.course->start < right.course->start) == (order == Order::EarliestFirst);
      }
    }
    return (left.roomID < right.roomID) == (order == Order::EarliestFirst);
  };
  const std::size_t first = std::min(filter.first, rows.size());
  const std::size_t last = first + std::min(filter.limit, rows.size() - first);
  const auto end = rows.begin() + static_cast<std::ptrdiff_t>(last);
  std::partial_sort(rows.begin(), end, rows.end(), isBefore);
  json::array list;
  for (std::size_t i = first; i < last; ++i) list.push_back(described(rows[i].roomID, *rows[i].course));
  return list;
}

}  // namespace orv::testing
