#pragma once

#include <orvnetwork/platform/native/system/FileDescriptor.h>

#include <sys/socket.h>

#include <cstdint>

namespace orv::test {

/// A stream socket at a free port of this machine, which does not listen yet.
struct BoundSocket {
  /// Without `host` it is at the loopback address; a host is one of the fourth version. Throws `std::system_error`.
  explicit BoundSocket(int family, const char* host = nullptr);

  FileDescriptor socket;
  sockaddr_storage address{};
  socklen_t size = 0;
  std::uint16_t port = 0;
};

}  // namespace orv::test
