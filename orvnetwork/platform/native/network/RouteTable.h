#pragma once

#include <orvnetwork/platform/Reachability.h>
#include <orvnetwork/platform/native/network/NetlinkMessages.h>

#include <cstdint>
#include <functional>
#include <map>
#include <span>
#include <string>
#include <vector>

namespace orv {

/// What the routing messages of the kernel tell about where packets to the world can go: the links, and the
/// default routes of the main table. Not synchronised.
class RouteTable {
 public:
  struct Link {
    std::string name;
    /// The IFF_ flags.
    std::uint32_t flags = 0;
  };
  struct DefaultRoute {
    int family = 0;
    /// Among routes of one family the lowest is preferred.
    std::uint32_t metric = 0;
    /// Index of each link that the route goes out on.
    std::vector<int> links;
  };
  /// Tells from a link's name whether it is a cellular one.
  using LinkTest = std::function<bool(const std::string& name)>;

  /// Adds what one message tells: a link or a default route. Messages of other kinds, and routes that are
  /// not unicast default routes of the main table, change nothing. False when the message is damaged; it
  /// changes nothing then.
  bool take(const NetlinkMessage& message);

  /// Whether a loopback link is in working order.
  bool isLoopbackUp() const;

  /// What the default routes are good for. Of each family the preferred route with a working link that is
  /// not loopback counts, and the better of both families is told.
  ReachabilityStatus status(const LinkTest& isCellular) const;

  const std::map<int, Link>& links() const { return links_; }
  const std::vector<DefaultRoute>& defaultRoutes() const { return defaultRoutes_; }

 private:
  bool takeLink(std::span<const std::byte> payload);
  bool takeRoute(std::span<const std::byte> payload);
  ReachabilityStatus statusOfRoute(const DefaultRoute& route, const LinkTest& isCellular) const;
  ReachabilityStatus statusOfFamily(int family, const LinkTest& isCellular) const;

  std::map<int, Link> links_;
  std::vector<DefaultRoute> defaultRoutes_;
};

}  // namespace orv
