#pragma once

#include <orvnetwork/platform/native/system/FileDescriptor.h>

#include <tests/support/RawPeer.h>

#include <sys/socket.h>

#include <cstdint>

namespace orv::test {

/// A port of the loopback address that takes no connection and refuses none: its queue is full, so what asks for one is
/// lost. What was lost is repeated a second later.
class SilentListener {
 public:
  explicit SilentListener(int family = AF_INET);

  std::uint16_t port() const { return port_; }
  /// Lets the one in that comes again.
  RawPeer letIn();

 private:
  FileDescriptor socket_;
  FileDescriptor filler_;
  std::uint16_t port_ = 0;
};

}  // namespace orv::test
