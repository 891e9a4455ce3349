#include "orvnetwork/testing/SimulatedSchool.h"

#include <orvnetwork/platform/DelayService.h>
#include <orvnetwork/testing/SimulatedPlatform.h>
#include <orvnetwork/testing/detail/SchoolDesk.h>
#include <orvnetwork/testing/detail/SchoolValues.h>

#include <chrono>
#include <map>
#include <memory>
#include <set>
#include <utility>

namespace orv::testing {

/// What goes wrong, in front of the desk that carries out.
class SimulatedSchool::Impl {
 public:
  explicit Impl(SimulatedPlatform& platform)
      : platform_(platform), desk(platform.server(), platform.clock()) {
    server().onRequest(
        [this](ConnectionId connection, const json::object& frame) { take(connection, frame); });
    server().onEnd([this](ConnectionId connection) { desk.endSession(connection); });
  }
  ~Impl() {
    for (const auto handle : delayed_) platform_.scheduler().cancel(handle);
    server().onRequest({});
    server().onEnd({});
    server().setAnswersPing(true);
  }
  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;

  SimulatedServer& server() { return platform_.server(); }

  void setAnswering(bool answering) {
    isAnswering_ = answering;
    server().setAnswersPing(answering);
  }

  struct Refusal {
    json::object values;
    std::size_t times;
  };
  std::map<std::string, Refusal> refusals;
  std::map<std::string, std::size_t> ignored;
  std::map<std::string, Seconds> delays;
  std::map<std::string, std::function<json::object(const json::object&, const std::string&)>> answers;

 private:
  void take(ConnectionId connection, const json::object& frame) {
    const std::string command = textIn(frame, "c");
    if (!isAnswering_ ||
        isUsedUp(ignored, command, [](std::size_t& times) -> std::size_t& { return times; })) {
      return;
    }
    reply(connection, frame, command, valuesFor(connection, frame, command));
  }

  json::object valuesFor(ConnectionId connection, const json::object& frame, const std::string& command) {
    json::object refused;
    if (isUsedUp(refusals, command, [&](Refusal& refusal) -> std::size_t& {
          refused = refusal.values;
          return refusal.times;
        })) {
      return refused;
    }
    const json::value* const sent = frame.if_contains("v");
    const json::object values = sent != nullptr && sent->is_object() ? sent->get_object() : json::object();
    const auto own = answers.find(command);
    if (own == answers.end() || !own->second) return desk.carryOut(connection, command, values);
    // On the stack: it may replace itself.
    const auto handler = own->second;
    return handler(values, desk.userOn(connection));
  }

  /// Whether there is an entry for the command, or for all; one that was given a number of times is used up.
  template <typename Map, typename Times>
  static bool isUsedUp(Map& map, const std::string& command, Times times) {
    for (const std::string& key : {command, std::string()}) {
      const auto found = map.find(key);
      if (found == map.end()) continue;
      std::size_t& left = times(found->second);
      if (left != kForever && --left == 0) map.erase(found);
      return true;
    }
    return false;
  }

  void reply(ConnectionId connection, const json::object& frame, const std::string& command,
             json::object values) {
    auto found = delays.find(command);
    if (found == delays.end()) found = delays.find({});
    if (found == delays.end()) return server().reply(connection, frame, std::move(values));
    const auto when = platform_.clock().steadyNow() + std::chrono::round<SteadyTime::duration>(found->second);
    const auto handle = std::make_shared<DelayService::Handle>();
    *handle = platform_.scheduler().runAt(
        when, *lane_, [this, handle, connection, frame, values = std::move(values)]() mutable {
          delayed_.erase(*handle);
          if (isAnswering_) server().reply(connection, frame, std::move(values));
        });
    delayed_.insert(*handle);
  }

  SimulatedPlatform& platform_;
  const std::shared_ptr<Lane> lane_ = platform_.scheduler().makeLane(LaneKind::Link, "school");
  std::set<DelayService::Handle> delayed_;
  bool isAnswering_ = true;

 public:
  SchoolDesk desk;
};

SimulatedSchool::SimulatedSchool(SimulatedPlatform& platform) : impl_(std::make_unique<Impl>(platform)) {}

SimulatedSchool::~SimulatedSchool() = default;

std::string SimulatedSchool::addUser(std::string mobile, std::string password, json::object fields) {
  return impl_->desk.users().add(std::move(mobile), password, fields);
}

bool SimulatedSchool::changeUser(std::string_view uID, const json::object& fields) {
  auto* const user = impl_->desk.users().find(uID);
  if (user != nullptr) mergeFields(user->members, fields);
  return user != nullptr;
}

std::optional<json::object> SimulatedSchool::user(std::string_view uID) const {
  const SchoolUsers& users = impl_->desk.users();
  const auto* const user = users.find(uID);
  return user == nullptr ? std::nullopt : std::optional(users.describe(*user));
}

void SimulatedSchool::changeClassroom(std::string_view id, const json::object& fields) {
  impl_->desk.users().changeClassroom(id, fields);
}

std::string SimulatedSchool::issueToken(std::string_view uID) {
  const auto* const user = impl_->desk.users().find(uID);
  return user == nullptr ? std::string() : impl_->desk.users().issueToken(*user);
}

bool SimulatedSchool::isTokenGood(std::string_view token) const {
  return impl_->desk.users().isTokenGood(token);
}

void SimulatedSchool::dropTokens(std::string_view uID) {
  impl_->desk.users().dropTokens(uID);
}

void SimulatedSchool::endSessions() {
  impl_->desk.endSessions();
}

bool SimulatedSchool::hasSession(std::string_view uID) const {
  for (const ConnectionId connection : impl_->server().connections()) {
    if (!uID.empty() && impl_->desk.userOn(connection) == uID) return true;
  }
  return false;
}

void SimulatedSchool::logInElsewhere(std::string_view uID, bool isLive) {
  auto* const user = impl_->desk.users().find(uID);
  if (user == nullptr) return;
  user->isElsewhere = true;
  user->isLiveElsewhere = isLive;
  impl_->desk.pushDevice("User.OtherDevice.Login", uID);
}

void SimulatedSchool::leaveElsewhere(std::string_view uID) {
  auto* const user = impl_->desk.users().find(uID);
  if (user != nullptr) user->isElsewhere = user->isLiveElsewhere = false;
}

void SimulatedSchool::logOutFromElsewhere(std::string_view uID) {
  auto* const user = impl_->desk.users().find(uID);
  if (user == nullptr) return;
  user->isElsewhere = true;
  impl_->desk.users().dropTokens(uID);
  impl_->desk.pushDevice("User.OtherDevice.Logout", uID);
  impl_->desk.endSessionsOf(uID);
}

std::int64_t SimulatedSchool::addCourse(const json::object& fields) {
  json::object complete = fields;
  const std::string owner = impl_->desk.users().first();
  if (!fields.contains("uID") && !owner.empty()) complete["uID"] = *schoolNumber(json::string(owner));
  return impl_->desk.courses().add(complete, impl_->desk.secondsNow());
}

std::vector<std::int64_t> SimulatedSchool::addCourses(std::size_t count, const json::object& fields) {
  std::vector<std::int64_t> roomIDs;
  for (std::size_t i = 0; i < count; ++i) roomIDs.push_back(addCourse(fields));
  return roomIDs;
}

bool SimulatedSchool::changeCourse(std::int64_t roomID, const json::object& fields) {
  return impl_->desk.courses().change(roomID, fields);
}

bool SimulatedSchool::removeCourse(std::int64_t roomID) {
  return impl_->desk.courses().remove(roomID);
}

std::optional<json::object> SimulatedSchool::course(std::int64_t roomID) const {
  return impl_->desk.courses().find(roomID);
}

std::size_t SimulatedSchool::courseCount() const {
  return impl_->desk.courses().count();
}

void SimulatedSchool::setListOrder(std::vector<std::int64_t> roomIDs) {
  impl_->desk.courses().setListOrder(roomIDs);
}

bool SimulatedSchool::publish(std::int64_t roomID) {
  return impl_->desk.publish(roomID);
}

void SimulatedSchool::refuse(std::string command, std::int32_t code, std::string text, std::size_t times) {
  impl_->refusals.erase(command);
  if (times != 0) {
    impl_->refusals.emplace(std::move(command), Impl::Refusal{{{"ret", code}, {"err", text}}, times});
  }
}

void SimulatedSchool::ignore(std::string command, std::size_t times) {
  impl_->ignored.erase(command);
  if (times != 0) impl_->ignored.emplace(std::move(command), times);
}

void SimulatedSchool::delay(std::string command, Seconds by) {
  impl_->delays.erase(command);
  if (by > Seconds(0)) impl_->delays.emplace(std::move(command), by);
}

void SimulatedSchool::answer(
    std::string command,
    std::function<json::object(const json::object& values, const std::string& uID)> handler) {
  impl_->answers[std::move(command)] = std::move(handler);
}

void SimulatedSchool::setAnswering(bool answering) {
  impl_->setAnswering(answering);
}

void SimulatedSchool::clearFaults() {
  impl_->refusals.clear();
  impl_->ignored.clear();
  impl_->delays.clear();
  impl_->setAnswering(true);
}

void SimulatedSchool::pushRooms(const std::vector<std::int64_t>& roomIDs, std::int64_t code) {
  impl_->desk.pushRooms(roomIDs, code);
}

SimulatedServer& SimulatedSchool::server() {
  return impl_->server();
}

}  // namespace orv::testing
