#include "devserver/commands/CommandTable.h"
#include "devserver/commands/Rooms.h"
#include "devserver/school/Addresses.h"

#include <array>

namespace orv::devserver {

namespace {

/// The members of a request that are stored as they come.
constexpr std::array kTexts = {"title", "teacher", "teacher2", "teacherIntro", "intro", "imgIntro"};
constexpr std::array kNumbers = {"courseType",   "startTimeEnable", "seriesType",    "seriesID",
                                 "saleEnable",   "salePercent",     "videoID",       "whiteboardDataID",
                                 "videoConvert", "whiteboardMp3ID", "publishStatus", "enrollTableEnable"};
constexpr std::array kFlags = {"test", "kelto_open", "draft"};
constexpr std::array kReals = {"coursePrice", "duration"};

/// The course's members that the request sets. An all-ones course type leaves type and price alone.
json::object fieldsOf(const Values& values) {
  json::object fields;
  for (const char* key : kTexts) {
    if (values.all().contains(key)) fields[key] = values.text(key, "");
  }
  for (const char* key : kNumbers) {
    if (values.has(key)) fields[key] = values.number(key);
  }
  for (const char* key : kFlags) {
    if (values.has(key)) fields[key] = values.flag(key, false);
  }
  for (const char* key : kReals) {
    if (!values.has(key)) continue;
    const double number = values.real(key, 0);
    if (number < 0) refuseValue(key);
    fields[key] = number;
  }
  if (auto start = values.time("startTime")) fields["startTime"] = *start;
  if (const json::value* columns = values.all().if_contains("enrollcols")) {
    if (!columns->is_array()) refuseValue("enrollcols");
    fields["enrollcols"] = *columns;
  }
  return fields;
}

/// The cover is a picture's address, an uploaded file, or only told to be there.
void takeCover(const Values& values, json::object& fields) {
  const json::value* cover = values.all().if_contains("cover");
  if (cover != nullptr && cover->is_string() && !cover->get_string().empty()) {
    fields["cover"] = 1;
    fields["coverUrl"] = *cover;
  }
  if (cover != nullptr && cover->is_bool()) fields["cover"] = cover->get_bool() ? 1 : 0;
  if (!values.has("coverMediaId")) return;
  fields["cover"] = 1;
  fields["coverUrl"] = address("file/" + values.text("coverMediaId") + ".jpg");
}

/// A recorded course that has both of its files is published, and its owner's connections are sent a push.
void publishIfComplete(CommandContext& context, std::int64_t roomID) {
  const json::object course = *context.school.courses().find(roomID);
  const bool complete = numberIn(course, "whiteboardDataID") > 0 && numberIn(course, "whiteboardMp3ID") > 0;
  const bool waits = numberIn(course, "publishStatus") == publish_status::kUploading;
  if (numberIn(course, "liveType") != live_type::kRecorded || flagIn(course, "draft") || !complete ||
      !waits) {
    return;
  }
  context.school.courses().change(roomID, {{"publishStatus", publish_status::kPublished},
                                           {"status", course_status::kRecorded},
                                           {"videoStatus", 1},
                                           {"updatetime", secondsNow()}});
  context.pushToUser(numberIn(course, "uID"), "Rooms.Push.Message",
                     roomMessage(roomID, room_event::kPublished));
}

json::value create(CommandContext& context) {
  const Values& values = context.values;
  const Account account = context.account();
  json::object fields = fieldsOf(values);
  fields["title"] = values.text("title");
  const std::int64_t liveType = values.number("liveType", live_type::kRecorded);
  if (liveType < live_type::kLive || liveType > live_type::kLiveWithVideo) refuseValue("liveType");
  const bool recorded = liveType == live_type::kRecorded;
  fields["classroomID"] = context.ownClassroom(values.idIfAny("classroomID").value_or(account.classroom()));
  fields["liveType"] = liveType;
  fields["status"] = recorded ? course_status::kRecorded : course_status::kComing;
  fields["uID"] = account.id();
  fields["nick"] = account.nick();
  fields["userpic"] = textIn(account.profile, "userpic");
  if (textIn(fields, "teacher").empty()) fields["teacher"] = account.nick();
  if (recorded && numberIn(fields, "publishStatus", -1) != publish_status::kPublished) {
    fields["publishStatus"] = publish_status::kUploading;
  } else if (!recorded) {
    fields["publishStatus"] = 0;
  }
  takeCover(values, fields);
  const std::int64_t roomID = context.school.courses().add(fields);
  if (roomID == 0) throw Refused(result::kTooMany, "the school holds as many courses as it may");
  publishIfComplete(context, roomID);
  return *context.school.courses().find(roomID);
}

json::value update(CommandContext& context) {
  const json::object course = context.ownCourse();
  const std::int64_t roomID = numberIn(course, "roomID");
  json::object fields = fieldsOf(context.values);
  if (context.values.all().contains("title") && textIn(fields, "title").empty()) fields.erase("title");
  takeCover(context.values, fields);
  fields["updatetime"] = secondsNow();
  context.school.courses().change(roomID, fields);
  publishIfComplete(context, roomID);
  return *context.school.courses().find(roomID);
}

/// A draft is done and waits for its files, or is published; a live course is over.
json::value finish(CommandContext& context) {
  const json::object course = context.ownCourse();
  const std::int64_t roomID = numberIn(course, "roomID");
  if (numberIn(course, "liveType") == live_type::kRecorded) {
    context.school.courses().change(
        roomID, {{"draft", false},
                 {"publishStatus", numberIn(course, "publishStatus") == publish_status::kPublished
                                       ? publish_status::kPublished
                                       : publish_status::kUploading}});
    publishIfComplete(context, roomID);
  } else if (numberIn(course, "status") == course_status::kOver) {
    throw Refused(result::kWrongState, "the course is over already");
  } else {
    return endBroadcast(context, course);
  }
  return *context.school.courses().find(roomID);
}

json::value remove(CommandContext& context) {
  const json::object course = context.ownCourse();
  const std::int64_t roomID = numberIn(course, "roomID");
  if (numberIn(course, "liveStatus") == live_status::kOnAir) {
    throw Refused(result::kWrongState, "the course is on the air");
  }
  context.school.courses().remove(roomID);
  return member("roomID", roomID);
}

}  // namespace

void addCourseCommands(CommandTable& table) {
  table.add("Course.Post.Create", create);
  table.add("Course.Post.Update", update);
  table.add("Course.Post.Finish", finish);
  table.add("Course.Post.Delete", remove);
}

}  // namespace orv::devserver
