#include "devserver/commands/Rooms.h"

#include "devserver/crowd/Crowd.h"
#include "devserver/school/Database.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

namespace orv::devserver {

namespace {

constexpr std::int64_t kMaxReplaysOfRoom = 100;

void keepReplay(CommandContext& context, const json::object& course, std::int64_t seconds) {
  const std::int64_t roomID = numberIn(course, "roomID");
  checkBound(context, "SELECT count(*) FROM replays WHERE roomID = ?", {roomID}, kMaxReplaysOfRoom);
  const json::object replay{
      {"title", textIn(course, "title")}, {"duration", seconds}, {"addtime", secondsNow()}, {"viewCnt", 0}};
  context.database().run("INSERT INTO replays(roomID, uID, doc) VALUES(?, ?, ?)",
                         {roomID, numberIn(course, "uID"), replay});
}

}  // namespace

bool isIn(CommandContext& context, const char* table, std::int64_t roomID) {
  const std::string sql = "SELECT 1 FROM " + std::string(table) + " WHERE roomID = ? AND uID = ?";
  return context.database().number(sql, {roomID, context.uID()}).has_value();
}

std::int64_t messageCount(CommandContext& context, std::int64_t roomID) {
  return context.database().number("SELECT count(*) FROM messages WHERE roomID = ?", {roomID}).value_or(0);
}

void checkLive(const json::object& course) {
  if (numberIn(course, "liveType") == live_type::kRecorded) {
    throw Refused(result::kWrongState, "a recorded course has no broadcasts");
  }
}

void checkBound(CommandContext& context, std::string_view countQuery, const Database::Values& values,
                std::int64_t most) {
  if (context.database().number(countQuery, values).value_or(0) >= most) {
    throw Refused(result::kTooMany, "there are " + std::to_string(most) + " of these, and no more are taken");
  }
}

void refuseThing(std::string_view what, std::int64_t id) {
  throw Refused(result::kNoSuchThing, "there is no " + std::string(what) + " " + std::to_string(id));
}

void tellAudience(CommandContext& context, std::int64_t roomID, int code, const json::object& fields) {
  context.tellRoom(roomID, code, fields);
  Crowd::Peers enrolled;
  for (auto rows = context.database().query("SELECT uID FROM enrolments WHERE roomID = ?", {roomID});
       rows.next();) {
    for (const auto& peer : context.crowd().of(rows.text(0))) {
      if (!peer->session.rooms.contains(roomID) && !context.isSelf(*peer)) enrolled.push_back(peer);
    }
  }
  context.push("Rooms.Push.Message", roomMessage(roomID, code, fields), enrolled);
}

json::object endBroadcast(CommandContext& context, const json::object& course) {
  const std::int64_t roomID = numberIn(course, "roomID"), now = secondsNow();
  const std::int64_t begun = static_cast<std::int64_t>(realIn(course, "liveStartTime"));
  const bool onAir = numberIn(course, "liveStatus") == live_status::kOnAir;
  const std::int64_t seconds = onAir && begun > 0 ? std::max<std::int64_t>(now - begun, 0) : 0;
  context.school.courses().change(roomID, {{"status", course_status::kOver},
                                           {"liveStatus", live_status::kOver},
                                           {"liveTime", seconds},
                                           {"liveDuration", seconds},
                                           {"updatetime", now}});
  if (onAir) keepReplay(context, course, seconds);
  if (context.session.liveRoom == roomID) context.session.liveRoom = 0;
  tellAudience(context, roomID, room_event::kClosed);
  return *context.school.courses().find(roomID);
}

}  // namespace orv::devserver
