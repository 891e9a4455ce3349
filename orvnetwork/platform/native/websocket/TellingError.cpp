#include "orvnetwork/platform/native/websocket/TellingError.h"

#include <orvnetwork/platform/WebSocketError.h>

#include <netdb.h>

#include <cerrno>
#include <optional>
#include <utility>

namespace orv {

namespace {

/// How much an error of the system says: somebody or something has answered; nobody has; there is no way there; this
/// machine does not even speak that way.
int weightOfSystemError(std::int64_t code) {
  switch (code) {
    case EAFNOSUPPORT:
    case EADDRNOTAVAIL:
    case EINVAL:
      return 0;
    case ENETUNREACH:
    case EHOSTUNREACH:
    case ENETDOWN:
    case EHOSTDOWN:
      return 1;
    case ETIMEDOUT:
      return 2;
    default:
      return 3;
  }
}

/// A name that does not exist has no address of any family, whatever was said of the other one; one without an address
/// of this family may have one of the other.
int weightOfLookupError(std::int64_t code) {
  switch (code) {
    case EAI_NODATA:
    case EAI_ADDRFAMILY:
      return 0;
    case EAI_NONAME:
      return 2;
    default:
      return 1;
  }
}

int weightOf(const Error& error) {
  return error.domain == websocket_error::kNameLookupDomain ? weightOfLookupError(error.code)
                                                            : weightOfSystemError(error.code);
}

}  // namespace

void keepMoreTelling(std::optional<Error>& kept, Error error) {
  if (!kept || weightOf(error) > weightOf(*kept)) kept = std::move(error);
}

bool saysLittle(const Error& error) {
  return error.domain == websocket_error::kSystemDomain && weightOfSystemError(error.code) <= 1;
}

bool isTemporary(const Error& error) {
  return error.domain != websocket_error::kNameLookupDomain || weightOfLookupError(error.code) == 1;
}

Error noAddress() {
  return {websocket_error::kNameLookupDomain, EAI_NONAME, ::gai_strerror(EAI_NONAME)};
}

}  // namespace orv
