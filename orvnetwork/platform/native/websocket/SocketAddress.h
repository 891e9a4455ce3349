#pragma once

#include <sys/socket.h>

#include <string>

namespace orv {

/// The two kinds of addresses on the Internet, the one to prefer first.
enum class IpFamily { Sixth, Fourth };

/// A socket address as the operating system writes it. What it does not use of the storage is zero.
struct SocketAddress {
  sockaddr_storage storage{};
  socklen_t size = 0;

  /// The same address, scope and port.
  bool operator==(const SocketAddress& other) const;
};

/// The address as a number, without the port: "192.0.2.7" or "2001:db8::7". Any thread.
std::string numericText(const SocketAddress& address);

}  // namespace orv
