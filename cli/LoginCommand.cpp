#include <orvnetwork/data/LooseRead.h>
#include <orvnetwork/session/QXUserInfoMgr.h>

#include "cli/Commands.h"
#include "cli/ExitCode.h"
#include "cli/Host.h"
#include "cli/Request.h"
#include "cli/SecretInput.h"
#include "cli/SingleRequest.h"
#include "cli/StoredUser.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace orv::cli {

namespace {

constexpr std::string_view kByPassword = "loginWithMobile:password:completeBlock:timeoutBlock:";
constexpr std::string_view kByCode = "loginWithMobile:code:completeBlock:timeoutBlock:";

/// The user whom the reply to a log-in brings; null when it brings none.
std::shared_ptr<OrvUserInfoModel> userIn(const json::object& reply) {
  const auto user = makeRecord<OrvUserInfoModel>(member(looseObject(member(reply, "v")), "data"));
  return user && user->uID.get() && user->token.get() ? user : nullptr;
}

}  // namespace

ExitCode run(const LoginCommand& command, Context& context) {
  Host& host = context.host();
  Output& output = context.output;
  const Result<std::string> secret = context.askSecret(command.byCode ? "Verification code" : "Password");
  const Operation& operation = *findOperation(command.byCode ? kByCode : kByPassword).value();
  const auto unanswered = [&](const std::string& message) {
    output.line(noReply(operation.name, operation.command, message, host.noLinkReason()).line);
    return ExitCode::NoReply;
  };
  if (host.interrupted()) return unanswered("interrupted");
  if (!secret) {
    return refuse((command.byCode ? "no verification code: " : "no password: ") + secret.error().description,
                  output);
  }
  if (!host.openLink()) return unanswered(host.noLinkMessage());

  // An interrupted log-in may be answered when nobody waits any more; then nobody is stored.
  struct State {
    std::optional<Answer> answer;
    bool abandoned = false;
    bool bringsNobody = false;
    bool isKept = true;
  };
  const auto state = std::make_shared<State>();
  request(
      operation, {Object(command.mobile), Object(*secret)},
      [state](Answer ended) {
        state->answer = std::move(ended);
        Host::notice();
      },
      [state](bool success, const json::object& reply) {
        if (state->abandoned) return;
        const auto user = success ? userIn(reply) : nullptr;
        if (user) QXUserInfoMgr::getInstance().setUserInfo(user);
        state->isKept = !user || isInFile(*user);
        state->bringsNobody = success && !user;
      });
  if (!host.runUntil([&] { return state->answer.has_value(); })) {
    state->abandoned = true;
    return unanswered("interrupted");
  }
  if (state->bringsNobody) return refuse("the reply to the log-in holds no user; nobody is stored", output);
  if (!state->isKept) {
    return refuse(
        "logged in, but the user could not be written to " + userFile() + "; standard error tells why",
        output);
  }
  // The token is stored; nobody needs to read it here.
  output.line(withoutSecrets(state->answer->line));
  return state->answer->code;
}

}  // namespace orv::cli
