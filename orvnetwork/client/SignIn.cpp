#include "orvnetwork/client/SignIn.h"

#include <utility>

namespace orv {

std::string_view nameOf(SignInOutcome outcome) noexcept {
  switch (outcome) {
    case SignInOutcome::SignedIn:
      return "SignedIn";
    case SignInOutcome::Refused:
      return "Refused";
    case SignInOutcome::NoAnswer:
      return "NoAnswer";
    case SignInOutcome::NoUser:
      return "NoUser";
    case SignInOutcome::NotWritten:
      return "NotWritten";
    case SignInOutcome::Cancelled:
      return "Cancelled";
  }
  return {};
}

SignInResult::SignInResult(SignInOutcome outcome, std::string text, std::optional<ReplyCode> code)
    : outcome_(outcome), text_(std::move(text)), code_(code) {}

SignInResult SignInResult::withoutAnswer(PendingEnd end) {
  const bool isLate = end == PendingEnd::TimedOut;
  return SignInResult(isLate ? SignInOutcome::NoAnswer : SignInOutcome::Cancelled, std::string(textOf(end)));
}

SignInResult SignInResult::from(Reply reply) const {
  SignInResult result = *this;
  result.reply_ = std::move(reply);
  return result;
}

std::string_view nameOf(SignOutOutcome outcome) noexcept {
  switch (outcome) {
    case SignOutOutcome::SignedOut:
      return "SignedOut";
    case SignOutOutcome::NotRemoved:
      return "NotRemoved";
    case SignOutOutcome::Cancelled:
      return "Cancelled";
  }
  return {};
}

SignOutResult::SignOutResult(SignOutOutcome outcome, bool isServerTold, std::string text)
    : outcome_(outcome), isServerTold_(isServerTold), text_(std::move(text)) {}

SignOutResult SignOutResult::withoutAnswer(PendingEnd end) {
  return SignOutResult(SignOutOutcome::Cancelled, false, std::string(textOf(end)));
}

SignOutResult SignOutResult::from(std::optional<Reply> reply) const {
  SignOutResult result = *this;
  result.reply_ = std::move(reply);
  return result;
}

}  // namespace orv
