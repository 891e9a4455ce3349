#pragma once

#include <orvnetwork/data/Error.h>

#include <sys/socket.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace orv {

/// A socket address as the operating system writes it.
struct SocketAddress {
  sockaddr_storage storage{};
  socklen_t size = 0;
};

/// The addresses of a host, in the order in which to try them; when there is none, why not.
struct HostAddresses {
  std::vector<SocketAddress> addresses;
  Error error;
};

/// The address of a host that is written as a number; empty for a name. Does not block. Any thread.
HostAddresses numericHostAddress(const std::string& host, std::uint16_t port);

/// Looks a host up on a thread of its own, since a name server that does not answer can hold the system's
/// resolver up for a long time and the next look-up must not wait for it. `done` runs on that thread, or on
/// the caller's when too many look-ups are under way. Any thread.
void lookUpHost(std::string host, std::uint16_t port, std::function<void(HostAddresses)> done);

}  // namespace orv
