#include <orvnetwork/data/LooseRead.h>
#include <orvnetwork/session/QXUserInfoMgr.h>

#include "cli/Commands.h"
#include "cli/ExitCode.h"
#include "cli/SingleRequest.h"
#include "cli/StoredUser.h"

#include <memory>
#include <string>
#include <string_view>

namespace orv::cli {

namespace {

constexpr std::string_view kClassroom = "getCourseRoomInfoWithClassroomID:completeBlock:timeoutBlock:";

/// The user as they are shown: without the token, and with the classroom by itself.
json::object describeUser(const OrvUserInfoModel& user, std::string_view session) {
  json::object shown = user.jsonObject();
  json::value room;
  if (const json::value* const nested = shown.if_contains("classroominfo")) {
    room = *nested;
    shown.stable_erase(shown.find("classroominfo"));
  }
  if (const auto token = shown.find("token"); token != shown.end()) shown.stable_erase(token);
  return {{"outcome", "complete"},
          {"user", std::move(shown)},
          {"classroom", std::move(room)},
          {"session", session}};
}

/// Puts a classroom that the server has sent into the user and stores both.
void keepClassroom(const std::shared_ptr<OrvUserInfoModel>& user, const json::object& reply) {
  const auto room = makeRecord<OrvClassroomInfo>(member(looseObject(member(reply, "v")), "data"));
  if (!room) return;
  user->classroominfo = room;
  user->classroom = room->ID.get();
  QXUserInfoMgr::getInstance().setUserInfo(user);
}

}  // namespace

ExitCode run(const WhoamiCommand&, Context& context) {
  Output& output = context.output;
  // The embedded server would know nothing of a user of another run. The host comes first: its signals must be held
  // back before there are other threads.
  Host* const host = context.hasLastingServer() ? &context.host() : nullptr;
  const auto user = QXUserInfoMgr::getInstance().userInfo();
  if (!user) {
    output.line(json::object{{"outcome", "error"}, {"message", kNobodyMessage}});
    return ExitCode::Refused;
  }
  const auto show = [&](std::string_view session, const std::string& message, ExitCode code,
                        const std::string& reason = {}) {
    json::object line = describeUser(*user, session);
    if (!message.empty()) line.emplace("message", message);
    if (!reason.empty()) line.emplace("reason", reason);
    output.line(line);
    return code;
  };
  if (!host) return show("unknown", "as stored; with --server the server is asked", ExitCode::Success);
  if (!host->openLink()) {
    const ExitCode code = host->interrupted() ? ExitCode::NoReply : ExitCode::Success;
    return show("unknown", "as stored: " + host->noLinkMessage(), code, host->noLinkReason());
  }
  const UserRequest asked =
      requestAsUser(*host, *findOperation(kClassroom).value(), {Object(user->classroom.get())});
  if (asked.outcome == UserRequest::Outcome::SessionRefused) {
    return show("refused", std::string(kSessionOverMessage), ExitCode::Refused);
  }
  if (asked.outcome == UserRequest::Outcome::NoReply) {
    return show("unknown", "as stored: the server does not answer", ExitCode::NoReply);
  }
  if (!asked.success) {
    return show("good", "the classroom is as stored: the server refuses it", ExitCode::Success);
  }
  keepClassroom(user, asked.reply);
  return show("good", {}, ExitCode::Success);
}

}  // namespace orv::cli
