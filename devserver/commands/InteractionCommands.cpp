#include "devserver/commands/CommandTable.h"
#include "devserver/commands/Rooms.h"
#include "devserver/school/Database.h"

#include <string>
#include <string_view>

namespace orv::devserver {

namespace {

constexpr std::int64_t kMaxMessagesOfRoom = 10'000;

/// Columns that `messageOf` reads; parameter 1 is the user who asks.
#define ORV_MESSAGE_COLUMNS                                                                  \
  "SELECT m.id, m.roomID, m.uID, m.commentID, m.doc, json_extract(a.profile, '$.nick'),"     \
  " json_extract(a.profile, '$.userpic'), (SELECT count(*) FROM likes WHERE wallID = m.id)," \
  " EXISTS(SELECT 1 FROM likes WHERE wallID = m.id AND uID = ?1)"                            \
  " FROM messages m JOIN accounts a ON a.id = m.uID "

json::object messageOf(const Database::Rows& row) {
  json::object message{{"id", row.number(0)},    {"wallID", row.number(0)},    {"roomID", row.number(1)},
                       {"uID", row.text(2)},     {"commentID", row.number(3)}, {"nick", row.text(5)},
                       {"userpic", row.text(6)}, {"likeCnt", row.number(7)},   {"liked", row.number(8) != 0}};
  for (auto& [key, value] : row.document(4)) message[key] = value;
  return message;
}

json::array messages(CommandContext& context, std::string_view sql, const RowRange& range) {
  const std::int64_t roomID = numberIn(context.course(), "roomID");
  json::array list;
  for (auto rows = context.database().query(sql, {context.uID(), roomID, range.limit, range.first});
       rows.next();) {
    list.push_back(messageOf(rows));
  }
  return list;
}

json::object message(CommandContext& context, std::int64_t id) {
  auto rows = context.database().query(ORV_MESSAGE_COLUMNS "WHERE m.id = ?2", {context.uID(), id});
  if (!rows.next()) refuseThing("message", id);
  return messageOf(rows);
}

/// The posts of the wall, newest first.
json::value wall(CommandContext& context) {
  return messages(context,
                  ORV_MESSAGE_COLUMNS
                  "WHERE m.roomID = ?2 AND m.commentID IS NULL ORDER BY m.id DESC LIMIT ?3 OFFSET ?4",
                  context.values.rows());
}

/// Everything that was said in the room, answers included, oldest first.
json::value comments(CommandContext& context) {
  return messages(context, ORV_MESSAGE_COLUMNS "WHERE m.roomID = ?2 ORDER BY m.id LIMIT ?3 OFFSET ?4",
                  context.values.rows());
}

json::value count(CommandContext& context) {
  const json::object course = context.course();
  const std::int64_t roomID = numberIn(course, "roomID");
  return {{"roomID", roomID},
          {"onlineCnt", context.crowd().usersIn(roomID).size()},
          {"wallCnt", messageCount(context, roomID)},
          {"viewCnt", course.at("viewCnt")},
          {"enrolmentCnt", course.at("enrolmentCnt")}};
}

json::object contentOf(const Values& values) {
  json::object content;
  for (const char* key : {"content", "fileID", "photoID"}) {
    if (values.has(key)) content[key] = values.text(key);
  }
  if (content.empty()) refuseValue("content, fileID or photoID");
  for (const char* key : {"fileType", "issue", "duration"}) {
    if (values.has(key)) content[key] = values.number(key);
  }
  content["addtime"] = secondsNow();
  return content;
}

json::value post(CommandContext& context) {
  const std::int64_t roomID = numberIn(context.course(), "roomID");
  const json::object content = contentOf(context.values);
  Database& data = context.database();
  if (isIn(context, "forbidden", roomID)) {
    throw Refused(result::kSilenced, "this user may not speak in this room");
  }
  const auto answered = context.values.idIfAny("commentID");
  if (answered && !data.number("SELECT 1 FROM messages WHERE id = ? AND roomID = ?", {*answered, roomID})) {
    refuseThing("message", *answered);
  }
  checkBound(context, "SELECT count(*) FROM messages WHERE roomID = ?", {roomID}, kMaxMessagesOfRoom);
  data.run("INSERT INTO messages(roomID, uID, commentID, doc) VALUES(?, ?, NULLIF(?, 0), ?)",
           {roomID, context.uID(), answered.value_or(0), content});
  const json::object posted = message(context, data.lastId());
  context.tellRoom(roomID, room_event::kMessage, posted);
  return posted;
}

/// Liking twice is liking once.
json::value like(CommandContext& context) {
  const std::int64_t id = context.values.id("wallID");
  message(context, id);
  context.database().run("INSERT OR IGNORE INTO likes(wallID, uID) VALUES(?, ?)", {id, context.uID()});
  const json::object liked = message(context, id);
  context.tellRoom(numberIn(liked, "roomID"), room_event::kLiked,
                   {{"wallID", id}, {"likeCnt", liked.at("likeCnt")}});
  return {{"wallID", id}, {"likeCnt", liked.at("likeCnt")}, {"liked", true}};
}

json::value removeComment(CommandContext& context) {
  const json::object course = context.course();
  const std::int64_t roomID = numberIn(course, "roomID"), id = context.values.id("commentID");
  const json::object found = message(context, id);
  if (numberIn(found, "roomID") != roomID) refuseThing("message", id);
  if (textIn(found, "uID") != context.session.uID && !context.isTeacherOf(course)) {
    throw Refused(result::kNotAllowed, "only for its author and the teachers of the course");
  }
  context.database().run(
      "DELETE FROM likes WHERE wallID IN (SELECT id FROM messages WHERE id = ?1 OR commentID = ?1)", {id});
  context.database().run("DELETE FROM messages WHERE id = ?1 OR commentID = ?1", {id});
  context.tellRoom(roomID, room_event::kMessageDeleted, member("commentID", id));
  return {{"roomID", roomID}, {"commentID", id}};
}

/// "type" 1 follows the course, 0 ends it.
json::value follow(CommandContext& context) {
  const std::int64_t roomID = numberIn(context.course(), "roomID"), type = context.values.number("type");
  if (type != 0 && type != 1) refuseValue("type");
  Database& data = context.database();
  if (type == 1) {
    data.run("INSERT OR IGNORE INTO follows(roomID, uID, addtime) VALUES(?, ?, ?)",
             {roomID, context.uID(), secondsNow()});
  } else {
    data.run("DELETE FROM follows WHERE roomID = ? AND uID = ?", {roomID, context.uID()});
  }
  const auto followed = data.number("SELECT count(*) FROM follows WHERE uID = ?", {context.uID()});
  context.school.accounts().setInProfile(context.session.uID, "followCnt",
                                         json::string(std::to_string(followed.value_or(0))));
  return {{"roomID", roomID}, {"followed", type == 1}};
}

}  // namespace

void addInteractionCommands(CommandTable& table) {
  table.add("Course.Post.wall", post);
  table.add("Course.Get.Wall", wall);
  table.add("Course.Get.Comment", comments);
  table.add("Course.Get.Row", count);
  table.add("Course.Wall.like", like);
  table.add("Course.Comment.Delete", removeComment);
  table.add("Course.User.Follow", follow);
}

}  // namespace orv::devserver
