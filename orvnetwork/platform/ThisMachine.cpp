#include "orvnetwork/platform/ThisMachine.h"

#include <orvnetwork/platform/detail/HostAddress.h>

#include <string>

namespace orv {

bool isThisMachine(std::string_view host) {
  const std::string name = comparableHost(host);
  if (name == "localhost" || name.ends_with(".localhost")) return true;
  const auto address = HostAddress::parseLoosely(name);
  return address && address->isLoopback();
}

}  // namespace orv
