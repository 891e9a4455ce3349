#include "devserver/commands/CommandTable.h"
#include "devserver/commands/Rooms.h"
#include "devserver/crowd/Crowd.h"
#include "devserver/school/Addresses.h"

#include <string>

namespace orv::devserver {

namespace {

/// The teachers of a classroom and, where a room is named, the part that they take in it.
json::value teachers(CommandContext& context) {
  const std::int64_t classroom =
      context.values.idIfAny("classroomID").value_or(context.account().classroom());
  if (context.school.classrooms().owner(classroom) == 0) {
    throw Refused(result::kNoSuchClassroom, "there is no classroom " + std::to_string(classroom));
  }
  const std::int64_t room = context.values.has("roomID") ? numberIn(context.course(), "roomID") : 0;
  json::array list;
  for (auto rows = context.database().query(
           "SELECT m.uID, m.role, a.phone, json_extract(a.profile, '$.nick'), json_extract(a.profile, "
           "'$.userpic'),"
           " coalesce(t.role, c.uID = m.uID, 0) FROM members m JOIN accounts a ON a.id = m.uID"
           " LEFT JOIN courses c ON c.roomID = ?2 LEFT JOIN courseTeachers t ON t.roomID = ?2 AND t.uID = "
           "m.uID"
           " WHERE m.classroomID = ?1 AND m.role < ?3 ORDER BY m.role, m.uID",
           {classroom, room, member_role::kStudent});
       rows.next();) {
    list.push_back({{"uID", rows.text(0)},
                    {"role", rows.number(1)},
                    {"phone", rows.text(2)},
                    {"nick", rows.text(3)},
                    {"userpic", rows.text(4)},
                    {"courseRole", rows.number(5)},
                    {"online", !context.crowd().of(rows.text(0)).empty()}});
  }
  return list;
}

/// What the caller built goes on to everybody in the room.
json::value control(CommandContext& context) {
  const std::int64_t roomID = numberIn(context.ownCourse(), "roomID");
  json::object order = context.request.values;
  order.erase("roomID");
  order.erase("code");
  context.tellRoom(roomID, room_event::kTeacher, order);
  return member("roomID", roomID);
}

json::value invite(CommandContext& context) {
  const std::string room = std::to_string(numberIn(context.ownCourse(), "roomID"));
  const std::string code = randomToken().substr(0, 8);
  return {{"roomID", idOf(room)},
          {"code", code},
          {"url", address("invite/" + room + "?code=" + code)},
          {"expire", secondsNow() + 24 * 3'600}};
}

void tellTeacher(CommandContext& context, std::int64_t roomID, std::int64_t teacher,
                 const json::object& fields) {
  context.tellRoom(roomID, room_event::kTeacher, fields);
  Crowd::Peers outside = context.crowd().of(std::to_string(teacher));
  std::erase_if(outside, [&](const auto& peer) {
    return peer->session.rooms.contains(roomID) || context.isSelf(*peer);
  });
  context.push("Rooms.Push.Message", roomMessage(roomID, room_event::kTeacher, fields), outside);
}

/// Takes a teacher of the classroom into the course, or changes the part that they take in it.
json::value changeRole(CommandContext& context) {
  const json::object course = context.ownCourse();
  const std::int64_t roomID = numberIn(course, "roomID"), teacher = context.values.id("teacherID"),
                     role = context.values.number("role");
  if (role < 0) refuseValue("role");
  if (!context.school.classrooms().isTeacher(numberIn(course, "classroomID"), teacher)) {
    throw Refused(result::kNotAllowed, "not a teacher of the course's classroom");
  }
  context.database().run("INSERT OR REPLACE INTO courseTeachers(roomID, uID, role) VALUES(?, ?, ?)",
                         {roomID, teacher, role});
  tellTeacher(context, roomID, teacher, {{"teacherID", teacher}, {"role", role}});
  return {{"roomID", roomID}, {"teacherID", teacher}, {"role", role}};
}

json::value remove(CommandContext& context) {
  const json::object course = context.ownCourse();
  const std::int64_t roomID = numberIn(course, "roomID"), teacher = context.values.id("teacherID");
  if (teacher == numberIn(course, "uID")) throw Refused(result::kNotAllowed, "the course is theirs");
  if (context.database().run("DELETE FROM courseTeachers WHERE roomID = ? AND uID = ?", {roomID, teacher}) ==
      0) {
    refuseThing("teacher of this course", teacher);
  }
  tellTeacher(context, roomID, teacher, {{"teacherID", teacher}, {"removed", true}});
  return {{"roomID", roomID}, {"teacherID", teacher}};
}

}  // namespace

void addTeacherCommands(CommandTable& table) {
  table.add("Multiplayer.Classroom.Teachers", teachers);
  table.add("Multiplayer.Course.Teachercontrol", control);
  table.add("Course.Teacher.Invite", invite);
  table.add("Course.Teacher.Changerole", changeRole);
  table.add("Course.Teacher.Delete", remove);
}

}  // namespace orv::devserver
