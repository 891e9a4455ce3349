#include "orvnetwork/client/SessionInfo.h"

#include <orvnetwork/client/detail/PlainText.h>
#include <orvnetwork/data/JsonEquality.h>

#include <utility>

namespace orv {

namespace {

bool sameUser(const SessionInfo& one, const SessionInfo& other) {
  if (one.user == other.user) return true;
  return one.user && other.user && sameJson(one.user->jsonObject(), other.user->jsonObject());
}

}  // namespace

std::string_view nameOf(SessionState state) noexcept {
  switch (state) {
    case SessionState::SignedOut:
      return "SignedOut";
    case SessionState::Restoring:
      return "Restoring";
    case SessionState::Good:
      return "Good";
    case SessionState::Refused:
      return "Refused";
    case SessionState::TakenOver:
      return "TakenOver";
  }
  return {};
}

std::string SessionInfo::sentence() const {
  std::string line(nameOf(state));
  if (user) line += ", user " + user->uID.get().value_or("without a number");
  if (otherDevice.isLoggedIn) line += ", logged in on another device";
  if (otherDevice.isLive) line += ", live on another device";
  return asOneLine(std::move(line), reason);
}

bool SessionInfo::operator==(const SessionInfo& other) const {
  return state == other.state && reason == other.reason && otherDevice == other.otherDevice &&
         sameUser(*this, other);
}

}  // namespace orv
