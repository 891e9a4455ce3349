#include "devserver/commands/CommandTable.h"
#include "devserver/commands/Rooms.h"

#include <cmath>
#include <cstdio>
#include <string>
#include <string_view>

namespace orv::devserver {

namespace {

std::string money(double amount) {
  char text[64];
  std::snprintf(text, sizeof text, "%.2f", amount);
  return text;
}

double sum(CommandContext& context, std::string_view sql, std::int64_t id) {
  auto rows = context.database().query(sql, {id});
  return rows.next() ? rows.real(0) : 0;
}

/// Brings the figures of a course and its classroom up to its enrolments.
void count(CommandContext& context, const json::object& course) {
  const std::int64_t roomID = numberIn(course, "roomID"), classroom = numberIn(course, "classroomID");
  const auto enrolled =
      context.database().number("SELECT count(*) FROM enrolments WHERE roomID = ?", {roomID});
  const double income = sum(context, "SELECT sum(price) FROM enrolments WHERE roomID = ?", roomID);
  context.school.courses().change(roomID,
                                  {{"enrolmentCnt", enrolled.value_or(0)}, {"income", std::llround(income)}});
  const double total = sum(context,
                           "SELECT sum(e.price) FROM enrolments e JOIN courses c USING(roomID)"
                           " WHERE c.classroomID = ?",
                           classroom);
  context.school.classrooms().change(classroom, {{"income", money(total)}, {"balance", money(total)}});
}

/// Enrolling twice is enrolling once.
json::value enroll(CommandContext& context) {
  const json::object course = context.course();
  const std::int64_t roomID = numberIn(course, "roomID");
  if (numberIn(course, "status") == course_status::kWithdrawn || flagIn(course, "draft")) {
    throw Refused(result::kWrongState, "the course is not open for enrolment");
  }
  const double price = numberIn(course, "courseType") == 2 ? realIn(course, "coursePrice") : 0;
  if (context.database().run(
          "INSERT OR IGNORE INTO enrolments(roomID, uID, addtime, price) VALUES(?, ?, ?, ?)",
          {roomID, context.uID(), secondsNow(), price}) > 0) {
    count(context, course);
    context.tellRoom(roomID, room_event::kEnrolled, member("uID", context.session.uID));
  }
  return {{"roomID", roomID}, {"enrolled", true}, {"price", price}};
}

json::value enrolmentList(CommandContext& context) {
  const std::int64_t roomID = numberIn(context.ownCourse(), "roomID");
  const RowRange range = context.values.rows();
  json::array list;
  for (auto rows = context.database().query(
           "SELECT e.uID, json_extract(a.profile, '$.nick'), a.phone, e.addtime, e.price FROM enrolments e"
           " JOIN accounts a ON a.id = e.uID WHERE e.roomID = ? ORDER BY e.addtime, e.uID LIMIT ? OFFSET ?",
           {roomID, range.limit, range.first});
       rows.next();) {
    list.push_back({{"uID", rows.text(0)},
                    {"nick", rows.text(1)},
                    {"phone", rows.text(2)},
                    {"addtime", rows.number(3)},
                    {"price", rows.real(4)}});
  }
  return list;
}

json::value column(CommandContext& context) {
  const json::object course = context.course();
  return {{"roomID", course.at("roomID")},
          {"enrollTableEnable", course.at("enrollTableEnable")},
          {"enrollcols", course.at("enrollcols")}};
}

json::value income(CommandContext& context) {
  const RowRange range = context.values.rows();
  json::array items;
  for (auto rows = context.database().query(
           "SELECT c.roomID, c.title, sum(e.price), count(*) FROM courses c JOIN enrolments e USING(roomID)"
           " WHERE c.uID = ? GROUP BY c.roomID HAVING sum(e.price) > 0 ORDER BY c.roomID DESC LIMIT ? OFFSET "
           "?",
           {context.uID(), range.limit, range.first});
       rows.next();) {
    items.push_back({{"roomID", rows.number(0)},
                     {"title", rows.text(1)},
                     {"income", rows.real(2)},
                     {"enrolmentCnt", rows.number(3)}});
  }
  const double total = sum(context,
                           "SELECT sum(e.price) FROM courses c JOIN enrolments e USING(roomID)"
                           " WHERE c.uID = ?",
                           context.uID());
  return {{"total", money(total)}, {"items", std::move(items)}};
}

json::value rewards(CommandContext& context) {
  const std::int64_t roomID = numberIn(context.ownCourse(), "roomID");
  const RowRange range = context.values.rows();
  json::array list;
  for (auto rows = context.database().query(
           "SELECT r.id, r.uID, json_extract(a.profile, '$.nick'), r.amount, r.addtime FROM rewards r"
           " JOIN accounts a ON a.id = r.uID WHERE r.roomID = ? ORDER BY r.id DESC LIMIT ? OFFSET ?",
           {roomID, range.limit, range.first});
       rows.next();) {
    list.push_back({{"id", rows.number(0)},
                    {"roomID", roomID},
                    {"uID", rows.text(1)},
                    {"nick", rows.text(2)},
                    {"amount", rows.real(3)},
                    {"addtime", rows.number(4)}});
  }
  return list;
}

}  // namespace

void addEnrolmentCommands(CommandTable& table) {
  table.add("Course.User.Enroll", enroll);
  table.add("Course.Get.Enrolist", enrolmentList);
  table.add("Course.Enrolment.Column", column);
  table.add("Course.Get.Income", income);
  table.add("Classroom.Reward.Get", rewards);
}

}  // namespace orv::devserver
