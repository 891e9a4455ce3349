#include "orvnetwork/platform/native/websocket/GoodAddresses.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

namespace orv {

void GoodAddresses::put(std::string host, std::uint16_t port, const SocketAddress& address, SteadyTime now) {
  take(host, port, now);
  known_.push_back({std::move(host), port, address, now});
  if (known_.size() > kMostHosts) known_.pop_front();
}

std::optional<SocketAddress> GoodAddresses::take(const std::string& host, std::uint16_t port,
                                                 SteadyTime now) {
  const auto found = std::find_if(known_.begin(), known_.end(),
                                  [&](const Known& one) { return one.port == port && one.host == host; });
  if (found == known_.end()) return std::nullopt;
  const Known known = std::move(*found);
  known_.erase(found);
  return Seconds(now - known.since) < kLongestLife ? std::optional(known.address) : std::nullopt;
}

GoodAddresses& goodAddresses() {
  // Never destroyed: the network thread uses them while the process ends.
  static GoodAddresses* const addresses = new GoodAddresses;
  return *addresses;
}

}  // namespace orv
