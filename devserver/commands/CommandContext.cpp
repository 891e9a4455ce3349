#include "devserver/commands/CommandContext.h"

#include <utility>

namespace orv::devserver {

json::object roomMessage(std::int64_t roomID, int code, const json::object& fields) {
  json::object event{{"roomID", roomID}, {"code", code}};
  for (const auto& [key, value] : fields) event[key] = value;
  json::array items;
  items.push_back(member("data", std::move(event)));
  return member("data", std::move(items));
}

json::object roomMessage(const std::vector<std::int64_t>& roomIDs, int code) {
  json::array items;
  for (const std::int64_t roomID : roomIDs) {
    items.push_back(member("data", json::object{{"roomID", roomID}, {"code", code}}));
  }
  return member("data", std::move(items));
}

Account CommandContext::account() {
  auto account = school.accounts().findByID(session.uID);
  if (!account) throw Refused(result::kNoSession, "no session: sign in first");
  return *std::move(account);
}

json::object CommandContext::course(std::string_view key) {
  const std::int64_t roomID = values.id(key);
  auto course = school.courses().find(roomID);
  if (!course) throw Refused(result::kNoSuchCourse, "there is no room " + std::to_string(roomID));
  return *std::move(course);
}

json::object CommandContext::ownCourse(std::string_view key) {
  json::object found = course(key);
  if (!isTeacherOf(found)) throw Refused(result::kNotAllowed, "only for the teachers of this course");
  return found;
}

void CommandContext::checkCode(std::string_view key) const {
  if (values.text(key, "") != School::kVerificationCode) {
    throw Refused(result::kWrongCode, "wrong verification code");
  }
}

void CommandContext::checkPhoneIsFree(std::string_view phone) {
  if (school.accounts().findByPhone(phone)) {
    throw Refused(result::kPhoneTaken, "the number already has an account");
  }
}

Account CommandContext::enrol(Account account) {
  auto enrolled = school.accounts().enrol(std::move(account));
  if (!enrolled) throw Refused(result::kSchoolFull, "the school is full");
  return *std::move(enrolled);
}

std::int64_t CommandContext::ownClassroom(std::int64_t classroomID) {
  if (!school.classrooms().isTeacher(classroomID, uID())) {
    throw Refused(result::kNotAllowed, "only for the teachers of a classroom");
  }
  return classroomID;
}

bool CommandContext::isTeacherOf(const json::object& course) {
  const std::int64_t roomID = numberIn(course, "roomID"), classroom = numberIn(course, "classroomID");
  return school.courses().isTeacher(roomID, uID()) ||
         (classroom > 0 && school.classrooms().owner(classroom) == uID());
}

void CommandContext::push(std::string command, json::object pushed, const Crowd::Peers& to) {
  if (to.empty()) return;
  Push& push = pushes.emplace_back();
  push.command = std::move(command);
  push.values = std::move(pushed);
  for (const auto& peer : to) push.connections.push_back(peer->id);
}

void CommandContext::pushToUser(std::int64_t uID, std::string command, json::object pushed) {
  push(std::move(command), std::move(pushed), crowd_.of(std::to_string(uID)));
}

void CommandContext::tellRoom(std::int64_t roomID, int code, const json::object& fields) {
  Crowd::Peers others = crowd_.in(roomID);
  std::erase_if(others, [this](const auto& peer) { return peer->id == peer_.id; });
  push("Rooms.Push.Message", roomMessage(roomID, code, fields), others);
}

json::object userData(CommandContext& context, const Account& account) {
  json::object data;
  data.emplace("uID", account.uID);
  data.emplace("token", context.session.token);
  data.emplace("phone", account.phone);
  for (const auto& [key, value] : account.profile) data.emplace(key, value);
  if (const std::int64_t classroom = account.classroom(); classroom != 0) {
    if (auto found = context.school.classrooms().find(classroom, account.id(), classroom)) {
      data["classroominfo"] = *std::move(found);
    }
  }
  bool elsewhere = false, live = false;
  for (const auto& peer : context.otherDevices()) {
    elsewhere = true;
    auto course = context.school.courses().find(peer->session.liveRoom);
    live = live || (course && numberIn(*course, "liveStatus") == live_status::kOnAir);
  }
  data["otherDeviceLogin"] = {{"isLogin", elsewhere}, {"liveStatus", live}};
  return data;
}

}  // namespace orv::devserver
