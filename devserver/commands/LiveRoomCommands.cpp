#include "devserver/commands/CommandTable.h"
#include "devserver/commands/Rooms.h"

#include <string>

namespace orv::devserver {

namespace {

constexpr std::size_t kMaxRoomsOfConnection = 20;

bool isOnAir(const json::object& course) {
  return numberIn(course, "liveStatus") == live_status::kOnAir;
}

json::value createRoom(CommandContext& context) {
  context.values.text("appType");
  const Account account = context.account();
  const std::int64_t classroom = context.ownClassroom(account.classroom());
  const std::int64_t roomID = context.school.courses().add({{"title", account.nick() + "的直播间"},
                                                            {"liveType", live_type::kLive},
                                                            {"status", course_status::kComing},
                                                            {"publishStatus", 0},
                                                            {"classroomID", classroom},
                                                            {"uID", account.id()},
                                                            {"nick", account.nick()},
                                                            {"teacher", account.nick()}});
  if (roomID == 0) throw Refused(result::kTooMany, "the school holds as many courses as it may");
  return *context.school.courses().find(roomID);
}

/// Starting a room that is on the air already takes it up again, as after a lost link.
json::value start(CommandContext& context) {
  const json::object course = context.ownCourse();
  const std::int64_t roomID = numberIn(course, "roomID");
  checkLive(course);
  if (numberIn(course, "status") >= course_status::kOver) {
    throw Refused(result::kWrongState, "the course is over");
  }
  json::object changes{{"status", course_status::kOnAir}, {"liveStatus", live_status::kOnAir}};
  if (!isOnAir(course)) changes["liveStartTime"] = secondsNow();
  if (context.values.has("title")) changes["title"] = context.values.text("title");
  context.school.courses().change(roomID, changes);
  context.session.liveRoom = roomID;
  context.session.rooms.insert(roomID);
  const json::object started = *context.school.courses().find(roomID);
  if (!isOnAir(course)) {
    tellAudience(context, roomID, room_event::kStarted, member("title", started.at("title")));
  }
  return started;
}

json::value close(CommandContext& context) {
  const json::object course = context.ownCourse();
  if (!isOnAir(course)) throw Refused(result::kWrongState, "the room is not on the air");
  return endBroadcast(context, course);
}

void checkEntry(CommandContext& context, const json::object& course) {
  checkLive(course);
  if (numberIn(course, "status") >= course_status::kOver) {
    throw Refused(result::kWrongState, "the course is over");
  }
  const bool charged = numberIn(course, "courseType") == 2 && realIn(course, "coursePrice") > 0;
  const std::int64_t roomID = numberIn(course, "roomID");
  if (charged && !context.isTeacherOf(course) && !isIn(context, "enrolments", roomID)) {
    throw Refused(result::kNotAllowed, "this course is for those who have enrolled");
  }
}

json::value enter(CommandContext& context) {
  const json::object course = context.course();
  const std::int64_t roomID = numberIn(course, "roomID");
  checkEntry(context, course);
  if (context.isTeacherOf(course) && isOnAir(course)) context.session.liveRoom = roomID;
  if (context.session.rooms.insert(roomID).second) {
    if (context.session.rooms.size() > kMaxRoomsOfConnection) {
      throw Refused(result::kTooMany, "leave another room first");
    }
    context.school.courses().change(roomID, member("viewCnt", numberIn(course, "viewCnt") + 1));
    context.tellRoom(roomID, room_event::kEntered,
                     {{"uID", context.session.uID}, {"nick", context.account().nick()}});
  }
  json::object entered = *context.school.courses().find(roomID);
  entered["forbidden"] = isIn(context, "forbidden", roomID);
  return entered;
}

json::value leave(CommandContext& context) {
  const std::int64_t roomID = numberIn(context.course(), "roomID");
  if (context.session.liveRoom == roomID) context.session.liveRoom = 0;
  if (context.session.rooms.erase(roomID) > 0) {
    context.tellRoom(roomID, room_event::kLeft, {{"uID", context.session.uID}, {"lost", false}});
  }
  return member("roomID", roomID);
}

json::value setTitle(CommandContext& context) {
  const std::int64_t roomID = numberIn(context.ownCourse(), "roomID");
  const json::object title = member("title", context.values.text("title"));
  context.school.courses().change(roomID, title);
  context.tellRoom(roomID, room_event::kTitle, title);
  return {{"roomID", roomID}, {"title", title.at("title")}};
}

/// Where to watch; for those who teach, also where to send.
json::value streamInfo(CommandContext& context) {
  const json::object course = context.course();
  checkLive(course);
  json::object info;
  for (const char* key : {"roomID", "status", "liveStatus", "flvUrl", "rtmpUrl", "hlsUrl"}) {
    info[key] = course.at(key);
  }
  if (context.isTeacherOf(course)) info["publishUrl"] = course.at("publishUrl");
  return info;
}

json::value stat(CommandContext& context) {
  const json::object course = context.course();
  const std::int64_t roomID = numberIn(course, "roomID");
  Database& data = context.database();
  json::object stat{{"roomID", roomID}, {"onlineCnt", context.crowd().usersIn(roomID).size()}};
  for (const char* key : {"viewCnt", "enrolmentCnt", "liveStatus", "liveStartTime", "liveTime"}) {
    stat[key] = course.at(key);
  }
  stat["wallCnt"] = messageCount(context, roomID);
  stat["likeCnt"] =
      data.number("SELECT count(*) FROM likes WHERE wallID IN (SELECT id FROM messages WHERE roomID = ?)",
                  {roomID})
          .value_or(0);
  return stat;
}

/// The user's own broadcast.
json::value ownLive(CommandContext& context) {
  CourseFilter filter;
  filter.teacher = context.uID();
  filter.liveStatus = live_status::kOnAir;
  filter.limit = 1;
  const json::array found = context.school.courses().list(filter);
  if (found.empty()) return {{"liveStatus", 0}, {"roomID", 0}};
  return found.at(0);
}

json::value allLive(CommandContext& context) {
  CourseFilter filter;
  filter.liveStatus = live_status::kOnAir;
  filter.order = CourseFilter::Order::StartDescending;
  filter.limit = Values::kMaxRows;
  return context.school.courses().list(filter);
}

json::value forbid(CommandContext& context) {
  const json::object course = context.ownCourse();
  const std::int64_t roomID = numberIn(course, "roomID"), user = context.values.id("uID");
  if (!context.school.accounts().findByID(std::to_string(user))) {
    throw Refused(result::kNoSuchAccount, "there is no user " + std::to_string(user));
  }
  if (context.school.courses().isTeacher(roomID, user)) {
    throw Refused(result::kNotAllowed, "teachers of the course may always speak");
  }
  context.database().run("INSERT OR IGNORE INTO forbidden(roomID, uID) VALUES(?, ?)", {roomID, user});
  context.tellRoom(roomID, room_event::kForbidden, member("uID", std::to_string(user)));
  return {{"roomID", roomID}, {"uID", std::to_string(user)}};
}

}  // namespace

void addLiveRoomCommands(CommandTable& table) {
  table.add("Live.Room.Post.Create", createRoom);
  table.add("Live.Room.Post.Start", start);
  table.add("Live.Room.Post.Close", close);
  table.add("Live.Room.Post.Enter", enter);
  table.add("Live.Room.Post.Leave", leave);
  table.add("Live.Room.Post.Forbid", forbid);
  table.add("Live.Room.Put.Title", setTitle);
  table.add("Live.Room.Get.Streaminfo", streamInfo);
  table.add("Live.Room.Get.Stat", stat);
  table.add("Live.Room.Get.Live", ownLive);
  table.add("Channel.Get.Live", allLive);
}

}  // namespace orv::devserver
