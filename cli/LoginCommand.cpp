#include <orvnetwork/client/SessionStatus.h>
#include <orvnetwork/client/SignIn.h>

#include "cli/Commands.h"
#include "cli/ExitCode.h"
#include "cli/Host.h"
#include "cli/Request.h"
#include "cli/SingleRequest.h"

#include <string>
#include <string_view>

namespace orv::cli {

namespace {

constexpr std::string_view kByPassword = "loginWithMobile:password:completeBlock:timeoutBlock:";
constexpr std::string_view kByCode = "loginWithMobile:code:completeBlock:timeoutBlock:";

Answer answerTo(const Operation& operation, const SignInResult& result) {
  switch (result.outcome()) {
    case SignInOutcome::NoUser:
      return wrongUse("the reply to the log-in holds no user; nobody is stored");
    case SignInOutcome::NotWritten:
      return wrongUse("logged in, but " + result.text() + "; standard error tells why");
    case SignInOutcome::Cancelled:
      return noReply(operation.name, operation.command, "interrupted");
    default:
      break;
  }
  if (result.reply()) return answerOf(operation, *result.reply());
  return noReply(operation.name, operation.command, result.text());
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
  // The session of a user who is stored is asked for when the link is up: not at the same moment.
  host.pause(kRequestsApart);
  SessionStatus& session = host.session();
  auto signingIn = command.byCode ? session.signInWithCode(command.mobile, *secret)
                                  : session.signIn(command.mobile, *secret);
  const auto result = host.await(std::move(signingIn).deadline(kHeldAfter));
  if (!result) return unanswered("interrupted");
  const Answer answer = answerTo(operation, *result);
  // The token is stored; nobody needs to read it here.
  output.line(withoutSecrets(answer.line));
  return answer.code;
}

}  // namespace orv::cli
