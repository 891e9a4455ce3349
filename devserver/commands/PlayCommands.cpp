#include "devserver/commands/CommandTable.h"
#include "devserver/commands/Rooms.h"

namespace orv::devserver {

namespace {

json::value live(CommandContext& context) {
  const json::object course = context.ownCourse();
  const std::int64_t roomID = numberIn(course, "roomID"), command = context.values.number("command");
  checkLive(course);
  if (command < 0) refuseValue("command");
  context.school.courses().change(roomID, member("liveCommand", command));
  context.tellRoom(roomID, room_event::kLiveCommand, member("command", command));
  return {{"roomID", roomID}, {"command", command}};
}

json::value progress(CommandContext& context) {
  const std::int64_t roomID = numberIn(context.ownCourse(), "roomID");
  const json::object progress{{"value", context.values.number("value")},
                              {"type", context.values.number("type")}};
  context.school.courses().change(roomID, member("playProgress", progress));
  context.tellRoom(roomID, room_event::kProgress, progress);
  return progress;
}

json::value slide(CommandContext& context) {
  const std::int64_t roomID = numberIn(context.ownCourse(), "roomID"), page = context.values.number("page");
  if (page < 0) refuseValue("page");
  context.school.courses().change(roomID, {{"pptPage", page}, {"pptStatus", 1}});
  context.tellRoom(roomID, room_event::kSlide, member("page", page));
  return {{"roomID", roomID}, {"page", page}};
}

}  // namespace

void addPlayCommands(CommandTable& table) {
  table.add("Course.Play.Live", live);
  table.add("Course.Play.Progress", progress);
  table.add("Course.Play.Ppt", slide);
}

}  // namespace orv::devserver
