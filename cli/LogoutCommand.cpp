#include <orvnetwork/client/SessionStatus.h>
#include <orvnetwork/client/SignIn.h>
#include <orvnetwork/session/QXUserInfoMgr.h>

#include "cli/Commands.h"
#include "cli/ExitCode.h"
#include "cli/Output.h"
#include "cli/Request.h"
#include "cli/SingleRequest.h"

#include <optional>
#include <string>
#include <string_view>

namespace orv::cli {

namespace {

constexpr std::string_view kLogout = "logoutWithCompleteBlock:timeoutBlock:";

Answer answerWith(const Operation& operation, std::string_view outcome, const std::string& message,
                  ExitCode code, const std::string& reason = {}) {
  json::object line{{"operation", operation.name},
                    {"command", operation.command},
                    {"outcome", outcome},
                    {"message", message}};
  if (!reason.empty()) line.emplace("reason", reason);
  return {writeLine(line), code};
}

/// The next run would find the user again, and whoever reads the file can sign in while the server knows the token.
Answer notForgotten(const Operation& operation, const SignOutResult& result) {
  const std::string file = QXUserInfoMgr::getInstance().userInfoPlist().value_or("userInfo/userInfo.plist");
  return answerWith(operation, "error",
                    (result.isServerTold() ? "the server was told, but " : "") +
                        ("the user could not be removed: the token is still on the disk, in " + file) +
                        "; standard error tells why",
                    ExitCode::WrongUse);
}

Answer unknownToServer(const Operation& operation) {
  return answerWith(operation, "error",
                    "logged out here; the server did not know the session of this user any more",
                    ExitCode::Refused);
}

Answer unanswered(const Operation& operation, const Host& host) {
  return answerWith(operation, "timeout", "logged out here; the server does not answer", ExitCode::NoReply,
                    host.noLinkReason());
}

/// What is to be said of the server, which is told where there is a session; absent: it is told.
std::optional<Answer> whyNotTold(Context& context, const Operation& operation) {
  // The embedded server would know nothing of a user of another run.
  if (!context.hasLastingServer()) {
    return answerWith(operation, "complete", "logged out here; with --server the server is told too",
                      ExitCode::Success);
  }
  Host& host = context.host();
  if (!host.openLink()) {
    return answerWith(operation, "timeout",
                      "logged out here; the server was not told: " + host.noLinkMessage(), ExitCode::NoReply,
                      host.noLinkReason());
  }
  const SessionInfo info = host.settledSession();
  if (isOver(info)) return unknownToServer(operation);
  return info.state == SessionState::Good ? std::nullopt : std::optional(unanswered(operation, host));
}

Answer logOut(Context& context, const Operation& operation) {
  Host& host = context.host();
  const auto untold = whyNotTold(context, operation);
  bool wasOver = false;
  // A server that does not know the session has the log-out held, and refuses the renewal that follows.
  const auto heard = host.session().onChanged(
      [&wasOver](const SessionChange& change) { wasOver = wasOver || isOver(change.now); });
  const auto result = host.interrupted() ? std::nullopt : host.await(host.session().signOut());
  if (!result) return answerWith(operation, "timeout", "interrupted", ExitCode::NoReply);
  if (!*result) return notForgotten(operation, *result);
  if (untold) return *untold;
  if (result->reply() && result->reply()->frame()) return answerOf(operation, *result->reply());
  return wasOver ? unknownToServer(operation) : unanswered(operation, host);
}

}  // namespace

ExitCode run(const LogoutCommand&, Context& context) {
  const bool isSomebody = context.host().session().user() != nullptr;
  const Answer answer =
      isSomebody ? logOut(context, *findOperation(kLogout).value())
                 : Answer{writeLine({{"outcome", "error"}, {"message", kNobodyMessage}}), ExitCode::Refused};
  context.output.line(answer.line);
  return answer.code;
}

}  // namespace orv::cli
