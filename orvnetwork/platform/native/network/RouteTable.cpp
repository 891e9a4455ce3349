#include "orvnetwork/platform/native/network/RouteTable.h"

#include <linux/if.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <span>

namespace orv {

namespace {

/// The text up to the first zero byte, which may be missing.
std::string textOf(std::span<const std::byte> bytes) {
  const auto end = std::find(bytes.begin(), bytes.end(), std::byte{0});
  std::string text;
  std::transform(bytes.begin(), end, std::back_inserter(text),
                 [](std::byte byte) { return static_cast<char>(byte); });
  return text;
}

bool isInWorkingOrder(const RouteTable::Link& link) {
  constexpr std::uint32_t needed = IFF_UP | IFF_RUNNING | IFF_LOWER_UP;
  return (link.flags & needed) == needed;
}

/// Reads the list of next hops of a route with several of them. False when the list is damaged.
bool readNextHops(std::span<const std::byte> list, std::vector<int>& links) {
  while (!list.empty()) {
    const auto hop = readStructure<rtnexthop>(list);
    if (!hop || hop->rtnh_len < sizeof(rtnexthop) || hop->rtnh_len > list.size()) return false;
    if ((hop->rtnh_flags & RTNH_F_DEAD) == 0) links.push_back(hop->rtnh_ifindex);
    list = afterFixedPart(list, hop->rtnh_len);
  }
  return true;
}

/// The attributes of a route that matter here.
struct RouteAttributes {
  std::optional<std::uint32_t> table;
  std::uint32_t metric = 0;
  std::optional<std::uint32_t> outLink;
  std::vector<int> nextHops;

  /// False when the attributes are damaged.
  bool read(std::span<const std::byte> bytes) {
    NetlinkAttributes attributes(bytes);
    while (const auto attribute = attributes.next()) {
      if (!take(*attribute)) return false;
    }
    return !attributes.isDamaged();
  }

 private:
  bool take(const NetlinkAttribute& attribute) {
    if (attribute.type == RTA_MULTIPATH) return readNextHops(attribute.value, nextHops);
    if (attribute.type != RTA_TABLE && attribute.type != RTA_PRIORITY && attribute.type != RTA_OIF) {
      return true;
    }
    const auto number = attribute.number();
    if (!number) return false;
    if (attribute.type == RTA_TABLE) table = number;
    if (attribute.type == RTA_PRIORITY) metric = *number;
    if (attribute.type == RTA_OIF) outLink = number;
    return true;
  }
};

bool canBeDefault(const rtmsg& route) {
  constexpr unsigned uselessFlags = RTM_F_CLONED | RTNH_F_DEAD;
  return route.rtm_dst_len == 0 && route.rtm_type == RTN_UNICAST && (route.rtm_flags & uselessFlags) == 0 &&
         (route.rtm_family == AF_INET || route.rtm_family == AF_INET6);
}

}  // namespace

bool RouteTable::take(const NetlinkMessage& message) {
  switch (message.type) {
    case RTM_NEWLINK:
      return takeLink(message.payload);
    case RTM_NEWROUTE:
      return takeRoute(message.payload);
    default:
      return true;
  }
}

bool RouteTable::takeLink(std::span<const std::byte> payload) {
  const auto info = readStructure<ifinfomsg>(payload);
  if (!info) return false;
  Link link{{}, info->ifi_flags};
  NetlinkAttributes attributes(afterFixedPart(payload, sizeof(ifinfomsg)));
  while (const auto attribute = attributes.next()) {
    if (attribute->type == IFLA_IFNAME) link.name = textOf(attribute->value);
  }
  if (attributes.isDamaged()) return false;
  links_[info->ifi_index] = std::move(link);
  return true;
}

bool RouteTable::takeRoute(std::span<const std::byte> payload) {
  const auto info = readStructure<rtmsg>(payload);
  if (!info) return false;
  RouteAttributes attributes;
  if (!attributes.read(afterFixedPart(payload, sizeof(rtmsg)))) return false;
  // The header has 8 bits for the table only; the attribute is the whole number.
  if (!canBeDefault(*info) || attributes.table.value_or(info->rtm_table) != RT_TABLE_MAIN) return true;
  DefaultRoute route{info->rtm_family, attributes.metric, std::move(attributes.nextHops)};
  if (attributes.outLink) route.links = {static_cast<int>(*attributes.outLink)};
  defaultRoutes_.push_back(std::move(route));
  return true;
}

bool RouteTable::isLoopbackUp() const {
  return std::any_of(links_.begin(), links_.end(), [](const auto& entry) {
    return (entry.second.flags & IFF_LOOPBACK) != 0 && isInWorkingOrder(entry.second);
  });
}

ReachabilityStatus RouteTable::statusOfRoute(const DefaultRoute& route, const LinkTest& isCellular) const {
  auto best = ReachabilityStatus::NotReachable;
  for (const int index : route.links) {
    const auto link = links_.find(index);
    if (link == links_.end() || !isInWorkingOrder(link->second)) continue;
    if ((link->second.flags & IFF_LOOPBACK) != 0) continue;
    const bool cellular = isCellular && isCellular(link->second.name);
    best = std::max(best, cellular ? ReachabilityStatus::Cellular : ReachabilityStatus::WiFi);
  }
  return best;
}

ReachabilityStatus RouteTable::statusOfFamily(int family, const LinkTest& isCellular) const {
  auto best = ReachabilityStatus::NotReachable;
  std::uint32_t bestMetric = 0;
  for (const DefaultRoute& route : defaultRoutes_) {
    if (route.family != family) continue;
    const ReachabilityStatus status = statusOfRoute(route, isCellular);
    if (status == ReachabilityStatus::NotReachable) continue;
    if (best == ReachabilityStatus::NotReachable || route.metric < bestMetric) {
      best = status;
      bestMetric = route.metric;
    } else if (route.metric == bestMetric) {
      best = std::max(best, status);
    }
  }
  return best;
}

ReachabilityStatus RouteTable::status(const LinkTest& isCellular) const {
  return std::max(statusOfFamily(AF_INET, isCellular), statusOfFamily(AF_INET6, isCellular));
}

}  // namespace orv
