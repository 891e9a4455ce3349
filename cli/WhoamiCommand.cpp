#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/api/QXAPIHelperClassroom.h>
#include <orvnetwork/client/Ask.h>
#include <orvnetwork/client/SessionStatus.h>
#include <orvnetwork/session/QXUserInfoMgr.h>

#include "cli/Commands.h"
#include "cli/ExitCode.h"
#include "cli/Host.h"
#include "cli/Request.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace orv::cli {

namespace {

constexpr auto& askClassroom = ask<&QXAPIHelper::getCourseRoomInfoWithClassroomID_completeBlock_timeoutBlock>;

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
void keepClassroom(const std::shared_ptr<OrvUserInfoModel>& user, const Reply& reply) {
  const auto room = makeRecord<OrvClassroomInfo>(reply.data());
  if (!room) return;
  user->classroominfo = room;
  user->classroom = room->ID.get();
  QXUserInfoMgr::getInstance().setUserInfo(user);
}

}  // namespace

ExitCode run(const WhoamiCommand&, Context& context) {
  Output& output = context.output;
  Host& host = context.host();
  if (!host.session().user()) {
    output.line(json::object{{"outcome", "error"}, {"message", kNobodyMessage}});
    return ExitCode::Refused;
  }
  const auto user = QXUserInfoMgr::getInstance().userInfo();
  const auto show = [&](std::string_view session, const std::string& message, ExitCode code,
                        const std::string& reason = {}) {
    json::object line = describeUser(*user, session);
    if (!message.empty()) line.emplace("message", message);
    if (!reason.empty()) line.emplace("reason", reason);
    output.line(line);
    return code;
  };
  // The embedded server would know nothing of a user of another run.
  if (!context.hasLastingServer()) {
    return show("unknown", "as stored; with --server the server is asked", ExitCode::Success);
  }
  if (!host.openLink()) {
    const ExitCode code = host.interrupted() ? ExitCode::NoReply : ExitCode::Success;
    return show("unknown", "as stored: " + host.noLinkMessage(), code, host.noLinkReason());
  }
  const auto sessionIsOver = [&host] { return isOver(host.session().info()); };
  std::optional<Reply> reply;
  if (host.settledSession().state == SessionState::Good) {
    host.pause(kRequestsApart);
    reply = host.await(askClassroom(user->classroom.get()).deadline(kHeldAfter), sessionIsOver);
  }
  if (sessionIsOver()) return show("refused", std::string(kSessionOverMessage), ExitCode::Refused);
  if (!reply || !reply->frame()) {
    return show("unknown", "as stored: the server does not answer", ExitCode::NoReply);
  }
  if (!reply->succeeded()) {
    return show("good", "the classroom is as stored: the server refuses it", ExitCode::Success);
  }
  keepClassroom(user, *reply);
  return show("good", {}, ExitCode::Success);
}

}  // namespace orv::cli
