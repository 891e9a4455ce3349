#include <orvnetwork/session/QXUserInfoMgr.h>

#include "cli/Commands.h"
#include "cli/ExitCode.h"
#include "cli/Output.h"
#include "cli/SingleRequest.h"
#include "cli/StoredUser.h"

#include <string>
#include <string_view>

namespace orv::cli {

namespace {

constexpr std::string_view kLogout = "logoutWithCompleteBlock:timeoutBlock:";

/// What is printed, and how the program ends.
struct Ending {
  json::object line;
  ExitCode code = ExitCode::Success;
  bool staysLoggedIn = false;
};

json::object answerWithout(const Operation& operation, std::string_view outcome, const std::string& message) {
  return {{"operation", operation.name},
          {"command", operation.command},
          {"outcome", outcome},
          {"message", message}};
}

Ending tellServer(Host& host, const Operation& operation) {
  const auto ending = [&](std::string_view outcome, const std::string& message, ExitCode code) {
    return Ending{answerWithout(operation, outcome, message), code, host.interrupted()};
  };
  if (!host.openLink()) {
    if (host.interrupted()) return ending("timeout", "interrupted", ExitCode::NoReply);
    Ending unlinked = ending("timeout", "logged out here; the server was not told: " + host.noLinkMessage(),
                             ExitCode::NoReply);
    if (const std::string reason = host.noLinkReason(); !reason.empty()) {
      unlinked.line.emplace("reason", reason);
    }
    return unlinked;
  }
  const UserRequest asked = requestAsUser(host, operation, {});
  switch (asked.outcome) {
    case UserRequest::Outcome::SessionRefused:
      return ending("error", "logged out here; the server did not know the session of this user any more",
                    ExitCode::Refused);
    case UserRequest::Outcome::NoReply:
      if (host.interrupted()) return ending("timeout", "interrupted", ExitCode::NoReply);
      return ending("timeout", "logged out here; the server does not answer", ExitCode::NoReply);
    case UserRequest::Outcome::Answered:
      break;
  }
  json::object line{{"operation", operation.name},
                    {"command", operation.command},
                    {"outcome", "complete"},
                    {"success", asked.success},
                    {"reply", asked.reply}};
  return {std::move(line), asked.answer.code, false};
}

/// The next run would find the user again, and whoever reads the file can sign in while the server knows the token.
ExitCode notForgotten(const Operation& operation, const Ending& ending, Output& output) {
  const bool isTold = ending.code == ExitCode::Success && ending.line.contains("reply");
  output.line(
      answerWithout(operation, "error",
                    (isTold ? "the server was told, but the user could not be removed: the token is still on "
                              "the disk, in "
                            : "the user could not be removed: the token is still on the disk, in ") +
                        userFile() + "; standard error tells why"));
  return ExitCode::WrongUse;
}

}  // namespace

ExitCode run(const LogoutCommand&, Context& context) {
  Output& output = context.output;
  // The embedded server would know nothing of a user of another run. The host comes first: its signals must be held
  // back before there are other threads.
  Host* const host = context.hasLastingServer() ? &context.host() : nullptr;
  auto& users = QXUserInfoMgr::getInstance();
  if (!users.isLogined()) {
    output.line(json::object{{"outcome", "error"}, {"message", kNobodyMessage}});
    return ExitCode::Refused;
  }
  const Operation& operation = *findOperation(kLogout).value();
  const Ending ending = host ? tellServer(*host, operation)
                             : Ending{answerWithout(operation, "complete",
                                                    "logged out here; with --server the server is told too")};
  if (!ending.staysLoggedIn) {
    users.setUserInfo(nullptr);
    if (!isFileEmpty()) return notForgotten(operation, ending, output);
  }
  output.line(ending.line);
  return ending.code;
}

}  // namespace orv::cli
