#include "devserver/commands/CommandTable.h"
#include "devserver/commands/Rooms.h"
#include "devserver/school/Addresses.h"
#include "devserver/school/Database.h"

namespace orv::devserver {

namespace {

constexpr std::int64_t kMaxMaterialsOfRoom = 500;
constexpr std::size_t kMaxImages = 500;

json::object materialOf(const Database::Rows& row) {
  json::object material{{"id", row.number(0)}, {"roomID", row.number(1)}, {"uID", row.text(2)}};
  for (auto& [key, value] : row.document(3)) material[key] = value;
  material["url"] = address("file/" + textIn(material, "fileID"));
  return material;
}

json::array materials(CommandContext& context, const json::object& course) {
  const RowRange range = context.values.rows();
  json::array list;
  for (auto rows = context.database().query(
           "SELECT id, roomID, uID, doc FROM materials WHERE roomID = ? ORDER BY id LIMIT ? OFFSET ?",
           {numberIn(course, "roomID"), range.limit, range.first});
       rows.next();) {
    list.push_back(materialOf(rows));
  }
  return list;
}

json::value ofRoom(CommandContext& context) {
  return materials(context, context.course());
}

json::value ofRoomOrCourse(CommandContext& context) {
  return materials(context, context.course(context.values.has("roomID") ? "roomID" : "courseID"));
}

json::value add(CommandContext& context) {
  const std::int64_t roomID = numberIn(context.ownCourse(), "roomID");
  json::object material{{"fileID", context.values.text("fileID")},
                        {"title", context.values.text("title")},
                        {"addtime", secondsNow()},
                        {"images", json::array()}};
  if (context.values.has("images")) {
    const json::value& images = context.values.all().at("images");
    if (!images.is_array() || images.get_array().size() > kMaxImages) refuseValue("images");
    material["images"] = images;
  }
  checkBound(context, "SELECT count(*) FROM materials WHERE roomID = ?", {roomID}, kMaxMaterialsOfRoom);
  context.database().run("INSERT INTO materials(roomID, uID, doc) VALUES(?, ?, ?)",
                         {roomID, context.uID(), material});
  auto rows = context.database().query("SELECT id, roomID, uID, doc FROM materials WHERE id = ?",
                                       {context.database().lastId()});
  rows.next();
  return materialOf(rows);
}

json::value remove(CommandContext& context) {
  const std::int64_t id = context.values.id("id");
  const auto roomID = context.database().number("SELECT roomID FROM materials WHERE id = ?", {id});
  if (!roomID) refuseThing("material", id);
  if (!context.school.courses().isTeacher(*roomID, context.uID())) {
    throw Refused(result::kNotAllowed, "only for the teachers of this course");
  }
  context.database().run("DELETE FROM materials WHERE id = ?", {id});
  return member("id", id);
}

}  // namespace

void addMaterialCommands(CommandTable& table) {
  table.add("Course.Material.Items", ofRoom);
  table.add("Course.Whiteboard.Material.Items", ofRoomOrCourse);
  table.add("Course.Whiteboard.Material.Add", add);
  table.add("Course.Whiteboard.Material.Delete", remove);
}

}  // namespace orv::devserver
