#include "devserver/commands/CommandTable.h"
#include "devserver/commands/Rooms.h"
#include "devserver/school/Addresses.h"
#include "devserver/school/Database.h"

#include <string>
#include <string_view>

namespace orv::devserver {

namespace {

constexpr const char* kOfRoom =
    "SELECT id, roomID, uID, doc FROM replays WHERE roomID = ? ORDER BY id DESC LIMIT ? OFFSET ?";
constexpr const char* kOfUser =
    "SELECT id, roomID, uID, doc FROM replays WHERE uID = ? ORDER BY id DESC LIMIT ? OFFSET ?";

json::object replayOf(const Database::Rows& row) {
  const std::string id = row.text(0);
  json::object replay{{"id", row.number(0)}, {"roomID", row.number(1)}, {"uID", row.text(2)}};
  for (auto& [key, value] : row.document(3)) replay[key] = value;
  if (!replay.contains("coverUrl")) replay["coverUrl"] = address("replay/" + id + ".jpg");
  replay["videoUrl"] = address("replay/" + id + ".mp4");
  return replay;
}

json::array replays(CommandContext& context, std::string_view sql, std::int64_t id) {
  const RowRange range = context.values.rows();
  json::array list;
  for (auto rows = context.database().query(sql, {id, range.limit, range.first}); rows.next();) {
    list.push_back(replayOf(rows));
  }
  return list;
}

json::object replay(CommandContext& context) {
  const std::int64_t id = context.values.id("id");
  auto rows = context.database().query("SELECT id, roomID, uID, doc FROM replays WHERE id = ?", {id});
  if (!rows.next()) refuseThing("replay", id);
  return replayOf(rows);
}

json::object ownReplay(CommandContext& context) {
  json::object found = replay(context);
  const bool isTeacher = context.school.courses().isTeacher(numberIn(found, "roomID"), context.uID());
  if (textIn(found, "uID") != context.session.uID && !isTeacher) {
    throw Refused(result::kNotAllowed, "only for the teachers of this course");
  }
  return found;
}

/// Sets one member that is stored with a replay.
void store(CommandContext& context, std::int64_t id, const char* path, const Database::Value& value) {
  context.database().run("UPDATE replays SET doc = json_set(doc, ?, ?) WHERE id = ?", {path, value, id});
}

json::value ofRoom(CommandContext& context) {
  return replays(context, kOfRoom, numberIn(context.course(), "roomID"));
}

json::value ofMusician(CommandContext& context) {
  return replays(context, kOfUser, context.values.id("uID"));
}

json::value courses(CommandContext& context) {
  const RowRange range = context.values.rows();
  CourseFilter filter;
  filter.teacher = context.uID();
  filter.withReplays = true;
  filter.first = range.first;
  filter.limit = range.limit;
  return context.school.courses().list(filter);
}

json::value remove(CommandContext& context) {
  const std::int64_t id = numberIn(ownReplay(context), "id");
  context.database().run("DELETE FROM replays WHERE id = ?", {id});
  return member("id", id);
}

json::value view(CommandContext& context) {
  const json::object found = replay(context);
  store(context, numberIn(found, "id"), "$.viewCnt", numberIn(found, "viewCnt") + 1);
  return replay(context);
}

json::value setTitle(CommandContext& context) {
  const std::int64_t id = numberIn(ownReplay(context), "id");
  store(context, id, "$.title", context.values.text("title"));
  return replay(context);
}

json::value setCover(CommandContext& context) {
  const std::int64_t id = numberIn(ownReplay(context), "id");
  store(context, id, "$.coverUrl", address("file/" + context.values.text("fileID") + ".jpg"));
  return replay(context);
}

}  // namespace

void addReplayCommands(CommandTable& table) {
  table.add("Live.Room.Get.Replay", ofRoom);
  table.add("Course.Replay.Videolist", ofRoom);
  table.add("Course.Replay.Courselist", courses);
  table.add("Course.Replay.Delete", remove);
  table.add("Course.Replay.Title", setTitle);
  table.add("Course.Replay.Cover", setCover);
  table.add("Musician.Replay.Get.Itemlist", ofMusician);
  table.add("Musician.Replay.Post.Delete", remove);
  table.add("Musician.Replay.Post.View", view);
}

}  // namespace orv::devserver
