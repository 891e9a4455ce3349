#include "devserver/commands/CommandTable.h"
#include "devserver/school/Addresses.h"

#include <string>

namespace orv::devserver {

namespace {

json::object classroom(CommandContext& context, std::int64_t id) {
  auto found = context.school.classrooms().find(id, context.uID(), context.account().classroom());
  if (!found) throw Refused(result::kNoSuchClassroom, "there is no classroom " + std::to_string(id));
  return *std::move(found);
}

json::value info(CommandContext& context) {
  return classroom(context, context.values.idIfAny("classroomID").value_or(context.account().classroom()));
}

json::value items(CommandContext& context) {
  return context.school.classrooms().of(context.uID(), context.account().classroom());
}

void moveTo(CommandContext& context, std::int64_t id) {
  context.school.accounts().setInProfile(context.session.uID, "classroom", json::string(std::to_string(id)));
}

json::value change(CommandContext& context) {
  const std::int64_t id = context.values.id("classroomID");
  classroom(context, id);
  if (context.school.classrooms().role(id, context.uID()) == 0) {
    throw Refused(result::kNotAllowed, "only for members of the classroom");
  }
  moveTo(context, id);
  return classroom(context, id);
}

/// Makes a classroom in which its maker, now a teacher, works from then on.
json::value make(CommandContext& context, const json::object& fields) {
  const std::int64_t id = context.school.classrooms().add(context.uID(), fields);
  if (id == 0) throw Refused(result::kTooMany, "a user has at most 20 classrooms");
  for (const char* key : {"role", "teacher"}) {
    context.school.accounts().setInProfile(context.session.uID, key, 1);
  }
  moveTo(context, id);
  return classroom(context, id);
}

json::value createPage(CommandContext& context) {
  const Values& values = context.values;
  const json::object fields{{"title", values.text("title")},
                            {"description", values.text("description")},
                            {"phone", values.text("phone")}};
  context.checkCode("code");
  return make(context, fields);
}

json::value create(CommandContext& context) {
  return make(context, member("title", context.values.text("title")));
}

void takePicture(const Values& values, const char* media, json::object& fields, const char* id,
                 const char* url) {
  if (!values.has(media)) return;
  fields[id] = values.text(media);
  fields[url] = address("file/" + values.text(media) + ".jpg");
}

/// Changes the page of the classroom in which the user works.
json::value update(CommandContext& context) {
  const std::int64_t id = context.account().classroom();
  classroom(context, id);
  if (context.school.classrooms().owner(id) != context.uID()) {
    throw Refused(result::kNotAllowed, "only for the owner of the classroom");
  }
  json::object fields;
  for (const char* key : {"title", "description"}) {
    if (context.values.has(key)) fields[key] = context.values.text(key);
  }
  takePicture(context.values, "headMediaId", fields, "headPicID", "headPicUrl");
  takePicture(context.values, "bgMediaId", fields, "bgPicID", "bgPicUrl");
  context.school.classrooms().change(id, fields);
  return classroom(context, id);
}

}  // namespace

void addClassroomCommands(CommandTable& table) {
  table.add("Course.Room.Create", createPage);
  table.add("Course.Room.Info", info);
  table.add("Course.Room.Update", update);
  table.add("Classroom.Get.Items", items);
  table.add("Classroom.Post.Change", change);
  table.add("Classroom.Post.Create", create);
}

}  // namespace orv::devserver
