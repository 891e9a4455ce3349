#include "orvnetwork/client/SignIn.h"

#include <orvnetwork/client/detail/PlainText.h>

#include <cstdint>
#include <utility>

namespace orv {

namespace {

std::string_view beginningFor(SignInOutcome outcome) {
  switch (outcome) {
    case SignInOutcome::SignedIn:
      return "the user was signed in";
    case SignInOutcome::Refused:
      return "the sign-in was refused";
    case SignInOutcome::NoAnswer:
      return "the sign-in was not answered";
    case SignInOutcome::NoUser:
      return "the sign-in brought no user";
    case SignInOutcome::NotWritten:
      return "the user was signed in until the program ends";
    case SignInOutcome::Cancelled:
      return "the sign-in was given up";
  }
  return {};
}

}  // namespace

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

std::string SignInResult::sentence() const {
  std::string line(beginningFor(outcome_));
  if (code_) {
    line += " with code " + std::to_string(static_cast<std::int32_t>(*code_));
    if (const auto name = orv::nameOf(*code_); !name.empty()) line.append(" (").append(name).append(")");
  }
  return asOneLine(std::move(line), text_);
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

std::string SignOutResult::sentence() const {
  switch (outcome_) {
    case SignOutOutcome::SignedOut:
      return asOneLine(
          isServerTold_ ? "the user was signed out" : "the user was signed out, and the server was not told",
          text_);
    case SignOutOutcome::NotRemoved:
      return asOneLine("the user was signed out until the program ends", text_);
    case SignOutOutcome::Cancelled:
      return asOneLine("nobody waits for the sign-out any more", text_);
  }
  return {};
}

SignOutResult SignOutResult::from(std::optional<Reply> reply) const {
  SignOutResult result = *this;
  result.reply_ = std::move(reply);
  return result;
}

}  // namespace orv
