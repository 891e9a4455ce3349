#pragma once

#include <orvnetwork/data/Types.h>
#include <orvnetwork/platform/native/websocket/SocketAddress.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>

namespace orv {

/// By which address a host was reached the last time, for some hosts and some time, in memory only. Who takes one out
/// puts it back when it has led to a server that does its work: one that has become bad is forgotten by that. All
/// operations belong to one thread.
class GoodAddresses {
 public:
  static constexpr std::size_t kMostHosts = 16;
  static constexpr Seconds kLongestLife = std::chrono::hours(1);

  /// Keeps it, in the place of the one that was known of this host; the host that was put least lately makes room.
  /// @param host as it was asked for
  void put(std::string host, std::uint16_t port, const SocketAddress& address, SteadyTime now);

  /// Takes what is known of a host out; absent for nothing, or nothing of the last hour.
  std::optional<SocketAddress> take(const std::string& host, std::uint16_t port, SteadyTime now);

  std::size_t count() const { return known_.size(); }

 private:
  struct Known {
    std::string host;
    std::uint16_t port;
    SocketAddress address;
    SteadyTime since;
  };

  std::deque<Known> known_;  // the one that was put last stands last
};

/// Those of the process; they belong to the network thread.
GoodAddresses& goodAddresses();

}  // namespace orv
