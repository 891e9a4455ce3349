#include "orvnetwork/client/ReplyCode.h"

namespace orv {

std::string_view nameOf(ReplyCode code) noexcept {
  switch (code) {
    case ReplyCode::Success:
      return "Success";
    case ReplyCode::SessionMissing:
      return "SessionMissing";
    case ReplyCode::SessionNeeded:
      return "SessionNeeded";
    case ReplyCode::SessionLost:
      return "SessionLost";
    case ReplyCode::SessionEnded:
      return "SessionEnded";
    case ReplyCode::SessionInvalid:
      return "SessionInvalid";
  }
  return {};
}

bool needsSession(ReplyCode code) noexcept {
  return code == ReplyCode::SessionMissing || code == ReplyCode::SessionNeeded ||
         code == ReplyCode::SessionLost;
}

bool endsSession(ReplyCode code) noexcept {
  return code == ReplyCode::SessionEnded || code == ReplyCode::SessionInvalid;
}

}  // namespace orv
