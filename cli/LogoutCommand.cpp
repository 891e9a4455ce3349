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

/// What is to be said of the server, which is asked where there is a session; absent: it was asked.
std::optional<Answer> whyNotAsked(Host& host, const Operation& operation, const SessionInfo& info) {
  if (info.state == SessionState::Good) return std::nullopt;
  if (info.state == SessionState::Restoring) {
    return answerWith(operation, "timeout", "logged out here; the server does not answer", ExitCode::NoReply,
                      host.noLinkReason());
  }
  return answerWith(operation, "error",
                    "logged out here; the server did not know the session of this user any more",
                    ExitCode::Refused);
}

Answer logOut(Context& context, const Operation& operation) {
  Host& host = context.host();
  std::optional<Answer> untold;
  if (!context.hasLastingServer()) {
    // The embedded server would know nothing of a user of another run.
    untold = answerWith(operation, "complete", "logged out here; with --server the server is told too",
                        ExitCode::Success);
  } else if (host.openLink()) {
    untold = whyNotAsked(host, operation, host.settledSession());
  } else {
    untold =
        answerWith(operation, "timeout", "logged out here; the server was not told: " + host.noLinkMessage(),
                   ExitCode::NoReply, host.noLinkReason());
  }
  const auto result = host.interrupted() ? std::nullopt : host.await(host.session().signOut());
  if (!result) return answerWith(operation, "timeout", "interrupted", ExitCode::NoReply);
  if (!*result) return notForgotten(operation, *result);
  if (untold) return *untold;
  if (result->reply() && result->reply()->frame()) return answerOf(operation, *result->reply());
  return answerWith(operation, "timeout", "logged out here; the server does not answer", ExitCode::NoReply);
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
