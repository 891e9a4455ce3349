#pragma once

#include <orvnetwork/platform/native/network/RouteTable.h>
#include <orvnetwork/platform/native/system/FileDescriptor.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace orv {

/// A socket to the kernel's routing service. One thread at a time.
class NetlinkSocket {
 public:
  /// What became of an attempt to receive.
  enum class Received {
    Datagram,
    /// Nothing waits, or nothing came in time.
    Nothing,
    /// The kernel had more to say than there was room for, and some of it is gone.
    Lost,
    /// The socket is of no use; `errno` tells why.
    Failed
  };

  /// Opens a socket that gets what the kernel announces to `groups` (RTMGRP_ bits; 0 for none). Without
  /// success the object is false and `errno` tells why.
  explicit NetlinkSocket(std::uint32_t groups);

  explicit operator bool() const { return static_cast<bool>(socket_); }
  int descriptor() const { return socket_.get(); }

  /// Asks for all objects of one kind (RTM_GETLINK, RTM_GETROUTE) of an address family. False with `errno`
  /// when the request could not be sent.
  bool requestDump(std::uint16_t type, std::uint8_t family, std::uint32_t sequence);

  /// Receives the next datagram of the kernel; those of anybody else are passed over. `wait`: whether to wait
  /// for it, for a second at most. `datagram` is valid until the next call.
  Received receive(std::span<const std::byte>& datagram, bool wait);

 private:
  FileDescriptor socket_;
  std::vector<std::byte> buffer_;
};

/// Asks the kernel for its links and default routes and makes `table` of the answer; repeats when things
/// change meanwhile, but not without end. Returns 0, or the number of the error that kept it from a whole
/// answer: EAGAIN when every answer was disturbed by changes. Takes a few milliseconds.
int readRouteTable(RouteTable& table);

}  // namespace orv
