#pragma once

#include <orvnetwork/data/Error.h>
#include <orvnetwork/platform/native/websocket/SocketAddress.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace orv {

/// The addresses of a host, in the order in which to try them; when there is none, why not.
struct HostAddresses {
  std::vector<SocketAddress> addresses;
  Error error;
};

/// Looks the addresses of a family up, or those of both together where none is named; see `lookUpHost`, which does it.
using HostLookup =
    std::function<void(const std::string& host, std::uint16_t port, std::optional<IpFamily> family,
                       std::function<void(HostAddresses)> done)>;

/// The address of a host that is written as a number; empty for a name. Does not block. Any thread.
HostAddresses numericHostAddress(const std::string& host, std::uint16_t port);

/// Looks addresses up on a thread of its own, which is left behind: a name server that does not answer
/// can hold the system's resolver up for a long time, and neither the look-up of the other family, nor the next one, nor
/// the end of the process must wait for it. `done` runs on that thread, or on the caller's when too many look-ups are
/// under way; what it holds is held as long. Any thread.
void lookUpHost(const std::string& host, std::uint16_t port, std::optional<IpFamily> family,
                std::function<void(HostAddresses)> done);

}  // namespace orv
