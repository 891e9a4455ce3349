#include "devserver/commands/CommandTable.h"
#include "devserver/commands/Rooms.h"

#include <optional>

namespace orv::devserver {

namespace {

/// What "test" says in a request for live courses.
constexpr std::int64_t kWithoutTests = 0;
constexpr std::int64_t kWithTests = 3;

void takeRange(CourseFilter& filter, const RowRange& range) {
  filter.first = range.first;
  filter.limit = range.limit;
}

/// "uID" of another teacher of the classroom narrows a list to their courses. Clients put the asking user's own
/// there too, or a number that is nobody's: both mean everything.
std::optional<std::int64_t> teacherIn(CommandContext& context) {
  const auto user = context.values.idIfAny("uID");
  if (!user || *user == context.uID()) return std::nullopt;
  const auto classroom = context.values.idIfAny("classroomID");
  const bool teaches = context.database()
                           .number(
                               "SELECT 1 FROM members WHERE uID = ? AND role < ? AND classroomID = coalesce("
                               "NULLIF(?, 0), classroomID)",
                               {*user, member_role::kStudent, classroom.value_or(0)})
                           .has_value();
  return teaches ? user : std::nullopt;
}

json::value items(CommandContext& context) {
  const Values& values = context.values;
  CourseFilter filter;
  filter.classroomID = values.id("classroomID");
  filter.liveTypes = {values.id("liveType")};
  filter.draft = values.flag("draft", false);
  filter.teacher = teacherIn(context);
  filter.keyword = values.text("keyword", "");
  filter.fromTime = values.time("fromTime");
  filter.toTime = values.time("toTime");
  takeRange(filter, values.page());
  return context.school.courses().list(filter);
}

json::value coming(CommandContext& context) {
  const Values& values = context.values;
  CourseFilter filter;
  filter.liveTypes = {live_type::kLive, live_type::kLiveWithVideo};
  filter.classroomID = values.idIfAny("classroomID");
  filter.teacher = teacherIn(context);
  filter.status = values.idIfAny("status");
  filter.draft = false;
  const std::int64_t test = values.number("test", kWithoutTests);
  if (test != kWithTests) filter.test = test != kWithoutTests;
  const bool ascending = values.text("order", "desc") == "asc";
  filter.order = ascending ? CourseFilter::Order::StartAscending : CourseFilter::Order::StartDescending;
  takeRange(filter, values.page());
  return context.school.courses().list(filter);
}

json::value myCourses(CommandContext& context) {
  CourseFilter filter;
  filter.enrolled = context.uID();
  takeRange(filter, context.values.rows());
  return context.school.courses().list(filter);
}

json::value myFollows(CommandContext& context) {
  CourseFilter filter;
  filter.follower = context.uID();
  filter.roomID = context.values.idIfAny("roomID");
  takeRange(filter, context.values.rows());
  return context.school.courses().list(filter);
}

json::value info(CommandContext& context) {
  json::object course = context.course();
  const std::int64_t roomID = numberIn(course, "roomID");
  course["enrolled"] = isIn(context, "enrolments", roomID);
  course["followed"] = isIn(context, "follows", roomID);
  course["onlineCnt"] = context.crowd().usersIn(roomID).size();
  return course;
}

}  // namespace

void addCourseListCommands(CommandTable& table) {
  table.add("Course.Get.Items", items);
  table.add("Course.Get.Coming", coming);
  table.add("Course.Get.Info", info);
  table.add("Course.User.Mycourse", myCourses);
  table.add("Course.User.Myfollow", myFollows);
}

}  // namespace orv::devserver
