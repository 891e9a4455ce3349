#include "orvnetwork/testing/PlannedAddress.h"

#include <orvnetwork/platform/WebSocketError.h>

#include <cerrno>
#include <optional>
#include <string>
#include <utility>

namespace orv::testing {

PlannedAddress PlannedAddress::answers(std::string address, Seconds delay) {
  return {std::move(address), delay};
}

PlannedAddress PlannedAddress::refuses(std::string address, Seconds delay) {
  return {std::move(address), delay,
          Error{websocket_error::kSystemDomain, ECONNREFUSED, "Connection refused"}};
}

PlannedAddress PlannedAddress::unreachable(std::string address) {
  return {std::move(address), Seconds::zero(),
          Error{websocket_error::kSystemDomain, ENETUNREACH, "Network is unreachable"}};
}

PlannedAddress PlannedAddress::silent(std::string address) {
  return {std::move(address), std::nullopt};
}

}  // namespace orv::testing
