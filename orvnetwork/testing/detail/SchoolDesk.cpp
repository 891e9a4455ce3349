#include "orvnetwork/testing/detail/SchoolDesk.h"

#include <orvnetwork/testing/SchoolRules.h>
#include <orvnetwork/testing/detail/SchoolValues.h>

#include <chrono>
#include <utility>

namespace orv::testing {

namespace {

json::object refusal(std::int32_t code, std::string_view text) {
  return {{"ret", code}, {"err", json::string(text)}};
}

}  // namespace

std::int64_t SchoolDesk::secondsNow() const {
  return std::chrono::duration_cast<std::chrono::seconds>(clock_.wallNow().time_since_epoch()).count();
}

json::object SchoolDesk::carryOut(ConnectionId connection, const std::string& command,
                                  const json::object& values) {
  try {
    return {{"ret", 0}, {"data", dataFor(connection, command, values)}};
  } catch (const SchoolRefusal& refused) {
    return refusal(refused.code(), refused.what());
  }
}

json::value SchoolDesk::dataFor(ConnectionId connection, const std::string& command,
                                const json::object& values) {
  if (command.starts_with("Dev.")) return json::object{{"command", command}, {"values", values}};
  if (command == "User.Post.Login") return logIn(connection, values);
  if (command == "User.Post.Session") return renew(connection, values);
  if (command == "User.Post.Pauth") return json::object{{"expire", 300}, {"interval", 60}};
  User* const user = users_.find(userOn(connection));
  if (user == nullptr) {
    throw SchoolRefusal(SchoolRules::kNoSession, "no session: log in first");
  }
  return dataForUser(*user, connection, command, values);
}

json::value SchoolDesk::dataForUser(User& user, ConnectionId connection, const std::string& command,
                                    const json::object& values) {
  if (command == "User.Post.Logout") return logOut(connection);
  if (command == "User.Post.Logoutother") return logOutOthers(user, connection);
  if (command == "Course.Room.Info") return roomInfo(user, values);
  if (command == "Course.Get.Info") return courseInfo(values);
  if (command == "Course.Get.Items") return recordedCourses(values);
  if (command == "Course.Get.Coming") return liveCourses(values);
  if (command == "Course.Post.Create") return createCourse(user, values);
  if (command == "Course.Post.Update") return changeCourse(user, values, false);
  if (command == "Course.Post.Finish") return changeCourse(user, values, true);
  if (command == "Course.Post.Delete") return deleteCourse(user, values);
  throw SchoolRefusal(SchoolRules::kUnknownCommand, "unknown command: " + command);
}

std::string SchoolDesk::userOn(ConnectionId connection) const {
  const auto session = sessions_.find(connection);
  return session == sessions_.end() ? std::string() : session->second.uID;
}

void SchoolDesk::endSessionsOf(std::string_view uID) {
  std::erase_if(sessions_, [&](const auto& session) { return session.second.uID == uID; });
}

json::value SchoolDesk::logIn(ConnectionId connection, const json::object& values) {
  const User* const user = users_.findByMobile(textIn(values, "phone"));
  if (user == nullptr) {
    throw SchoolRefusal(SchoolRules::kNoSuchAccount, "no account has this number");
  }
  if (const std::string digest = textIn(values, "pwd"); !digest.empty()) {
    if (digest != user->passwordDigest) {
      throw SchoolRefusal(SchoolRules::kWrongPassword, "wrong password");
    }
  } else if (textIn(values, "scode") != SchoolRules::kCode) {
    throw SchoolRefusal(SchoolRules::kWrongCode, "wrong verification code");
  }
  return open(connection, *user, users_.issueToken(*user));
}

json::value SchoolDesk::renew(ConnectionId connection, const json::object& values) {
  std::string token = textIn(values, "token");
  const User* const user = users_.findByToken(token);
  if (user == nullptr || user->uID != textIn(values, "uID")) {
    throw SchoolRefusal(SchoolRules::kSessionOver, "the session is over: log in again");
  }
  return open(connection, *user, std::move(token));
}

json::value SchoolDesk::open(ConnectionId connection, const User& user, std::string token) {
  sessions_[connection] = {user.uID, token};
  json::object data = users_.describe(user);
  data["token"] = token;
  return data;
}

json::value SchoolDesk::logOut(ConnectionId connection) {
  const auto session = sessions_.extract(connection);
  users_.dropToken(session.mapped().token);
  return json::object();
}

json::value SchoolDesk::logOutOthers(User& user, ConnectionId connection) {
  const std::string kept = sessions_.at(connection).token;
  users_.dropTokens(user.uID, kept);
  user.isElsewhere = user.isLiveElsewhere = false;
  return json::object();
}

json::value SchoolDesk::roomInfo(const User& user, const json::object& values) const {
  std::string id = textIn(values, "classroomID");
  if (id.empty() || id == "0") id = textIn(user.members, "classroom");
  const auto room = users_.classroom(id, &user);
  if (!room) throw SchoolRefusal(SchoolRules::kNoSuchClassroom, "there is no classroom " + id);
  return *room;
}

void SchoolDesk::pushDevice(std::string_view command, std::string_view uID) {
  for (const ConnectionId connection : server_.connections()) {
    if (userOn(connection) != uID) continue;
    server_.push(connection, command, {{"uID", json::string(uID)}, {"addtime", secondsNow()}});
  }
}

void SchoolDesk::pushRooms(const std::vector<std::int64_t>& roomIDs, std::int64_t code,
                           std::string_view uID) {
  json::array items;
  for (const std::int64_t roomID : roomIDs) {
    items.push_back(json::object{{"data", json::object{{"roomID", roomID}, {"code", code}}}});
  }
  for (const ConnectionId connection : server_.connections()) {
    const std::string user = userOn(connection);
    if (user.empty() || (!uID.empty() && user != uID)) continue;
    server_.push(connection, "Rooms.Push.Message", {{"data", items}});
  }
}

bool SchoolDesk::publish(std::int64_t roomID) {
  const auto course = courses_.find(roomID);
  if (!course) return false;
  courses_.change(roomID, {{"publishStatus", 1},
                           {"status", 5},
                           {"draft", false},
                           {"videoStatus", 1},
                           {"updatetime", secondsNow()}});
  pushRooms({roomID}, 0, textIn(*course, "uID"));
  return true;
}

}  // namespace orv::testing
