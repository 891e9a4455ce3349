#pragma once

#include <orvnetwork/platform/native/network/RouteTable.h>

#include <cstdint>
#include <span>

namespace orv {

/// Follows the answer to one dump request, datagram by datagram, and fills a route table from it.
class RouteDump {
 public:
  enum class Progress {
    /// More datagrams are to come.
    More,
    /// The answer is whole.
    Done,
    /// Things changed while the kernel answered, or some of the answer was lost or damaged: ask again.
    Again,
    /// The kernel will not answer; `error()` tells why.
    Refused
  };

  /// `table` must outlive this object. Messages with another `sequence` than the request's are not for it.
  RouteDump(RouteTable& table, std::uint32_t sequence) : table_(table), sequence_(sequence) {}

  /// Takes the next datagram. After any other result than `More` the dump is over.
  Progress take(std::span<const std::byte> datagram);

  /// The error number of the refusal, 0 when there was none.
  int error() const { return error_; }

 private:
  Progress takeMessage(const NetlinkMessage& message);
  Progress refusedBy(const NetlinkMessage& message);
  Progress finishedBy(const NetlinkMessage& message);

  RouteTable& table_;
  std::uint32_t sequence_;
  bool mustRepeat_ = false;
  int error_ = 0;
};

}  // namespace orv
