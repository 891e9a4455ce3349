#include <orvnetwork/platform/native/network/RouteTable.h>

#include <tests/support/NetlinkBytes.h>

#include <gtest/gtest.h>
#include <linux/if.h>
#include <sys/socket.h>

namespace orv::route_table_test {
namespace {

using namespace test;

constexpr unsigned kWorking = IFF_UP | IFF_RUNNING | IFF_LOWER_UP;
constexpr auto kNone = ReachabilityStatus::NotReachable;
constexpr auto kCellular = ReachabilityStatus::Cellular;
constexpr auto kWiFi = ReachabilityStatus::WiFi;

bool startsWithWwan(const std::string& name) {
  return name.starts_with("wwan");
}

class RouteTableTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(take(linkMessage(1, "lo", kWorking | IFF_LOOPBACK)));
    ASSERT_TRUE(take(linkMessage(4, "eth0", kWorking)));
    ASSERT_TRUE(take(linkMessage(5, "wwan0", kWorking)));
  }

  /// Takes all messages of a datagram; false when one of them was damaged.
  bool take(const Bytes& datagram) {
    NetlinkMessages messages(datagram);
    bool whole = true;
    while (const auto next = messages.next()) whole = table_.take(*next) && whole;
    return whole && !messages.isDamaged();
  }

  ReachabilityStatus status() const { return table_.status(startsWithWwan); }

  RouteTable table_;
};

TEST_F(RouteTableTest, WithoutADefaultRouteNothingIsReachable) {
  EXPECT_EQ(status(), kNone);
  EXPECT_EQ(RouteTable().status(startsWithWwan), kNone);
}

TEST_F(RouteTableTest, ADefaultRouteOfEitherFamilyIsEnough) {
  RouteTable linksOnly = table_;
  ASSERT_TRUE(take(defaultRouteMessage(AF_INET, 4)));
  EXPECT_EQ(status(), kWiFi);
  table_ = linksOnly;
  ASSERT_TRUE(take(defaultRouteMessage(AF_INET6, 4, 1024)));
  EXPECT_EQ(status(), kWiFi);
}

TEST_F(RouteTableTest, RoutesOfOtherFamiliesDoNotCount) {
  ASSERT_TRUE(take(defaultRouteMessage(AF_MPLS, 4)));
  EXPECT_EQ(status(), kNone);
}

TEST_F(RouteTableTest, ARouteToAPartOfTheWorldIsNotADefaultRoute) {
  rtmsg route = defaultRouteHeader(AF_INET);
  route.rtm_dst_len = 1;
  ASSERT_TRUE(take(routeMessage(route, numberAttribute(RTA_OIF, 4))));
  EXPECT_EQ(status(), kNone);
}

TEST_F(RouteTableTest, OnlyTheMainTableCounts) {
  rtmsg route = defaultRouteHeader(AF_INET);
  route.rtm_table = 100;
  ASSERT_TRUE(take(routeMessage(route, numberAttribute(RTA_OIF, 4))));
  EXPECT_EQ(status(), kNone);
}

TEST_F(RouteTableTest, TheTableAttributePrevailsOverTheTableInTheHeader) {
  const Bytes out = numberAttribute(RTA_OIF, 4);
  ASSERT_TRUE(
      take(routeMessage(defaultRouteHeader(AF_INET), joined({numberAttribute(RTA_TABLE, 1000), out}))));
  EXPECT_EQ(status(), kNone);
  rtmsg route = defaultRouteHeader(AF_INET);
  route.rtm_table = RT_TABLE_COMPAT;
  ASSERT_TRUE(take(routeMessage(route, joined({numberAttribute(RTA_TABLE, RT_TABLE_MAIN), out}))));
  EXPECT_EQ(status(), kWiFi);
}

TEST_F(RouteTableTest, TheTableInTheHeaderCountsWhenThereIsNoAttribute) {
  ASSERT_TRUE(take(routeMessage(defaultRouteHeader(AF_INET), numberAttribute(RTA_OIF, 4))));
  EXPECT_EQ(status(), kWiFi);
}

TEST_F(RouteTableTest, OnlyUnicastRoutesCount) {
  for (const unsigned char type : {RTN_UNREACHABLE, RTN_BLACKHOLE, RTN_PROHIBIT, RTN_THROW, RTN_LOCAL}) {
    rtmsg route = defaultRouteHeader(AF_INET6);
    route.rtm_type = type;
    ASSERT_TRUE(take(routeMessage(
        route, joined({numberAttribute(RTA_PRIORITY, 0xffffffff), numberAttribute(RTA_OIF, 4)}))));
    EXPECT_EQ(status(), kNone) << "type " << int{type};
  }
}

TEST_F(RouteTableTest, DeadAndCachedRoutesDoNotCount) {
  for (const unsigned flags : {unsigned{RTNH_F_DEAD}, unsigned{RTM_F_CLONED}}) {
    rtmsg route = defaultRouteHeader(AF_INET);
    route.rtm_flags = flags;
    ASSERT_TRUE(take(routeMessage(route, numberAttribute(RTA_OIF, 4))));
    EXPECT_EQ(status(), kNone);
  }
}

TEST_F(RouteTableTest, TheLinkMustBeUpAndRunningWithItsLowerLayer) {
  ASSERT_TRUE(take(defaultRouteMessage(AF_INET, 4)));
  for (const unsigned missing : {unsigned{IFF_UP}, unsigned{IFF_RUNNING}, unsigned{IFF_LOWER_UP}}) {
    ASSERT_TRUE(take(linkMessage(4, "eth0", kWorking & ~missing)));
    EXPECT_EQ(status(), kNone) << "without flag " << missing;
  }
  ASSERT_TRUE(take(linkMessage(4, "eth0", kWorking | IFF_BROADCAST | IFF_MULTICAST)));
  EXPECT_EQ(status(), kWiFi);
}

TEST_F(RouteTableTest, ADefaultRouteOverLoopbackOrAnUnknownLinkLeadsNowhere) {
  ASSERT_TRUE(take(defaultRouteMessage(AF_INET, 1)));
  ASSERT_TRUE(take(defaultRouteMessage(AF_INET, 99)));
  ASSERT_TRUE(take(routeMessage(defaultRouteHeader(AF_INET), {})));
  EXPECT_EQ(table_.defaultRoutes().size(), 3U);
  EXPECT_EQ(status(), kNone);
}

TEST_F(RouteTableTest, ARouteOverACellularLinkIsCellular) {
  ASSERT_TRUE(take(defaultRouteMessage(AF_INET, 5)));
  EXPECT_EQ(status(), kCellular);
  EXPECT_EQ(table_.status(nullptr), kWiFi);
}

TEST_F(RouteTableTest, TheLowestMetricOfAFamilyDecides) {
  ASSERT_TRUE(take(defaultRouteMessage(AF_INET, 4, 600)));
  ASSERT_TRUE(take(defaultRouteMessage(AF_INET, 5, 100)));
  ASSERT_TRUE(take(defaultRouteMessage(AF_INET, 4, 700)));
  EXPECT_EQ(status(), kCellular);
  ASSERT_TRUE(take(defaultRouteMessage(AF_INET, 4, 99)));
  EXPECT_EQ(status(), kWiFi);
}

TEST_F(RouteTableTest, AMissingMetricIsTheLowest) {
  ASSERT_TRUE(take(defaultRouteMessage(AF_INET, 4, 1)));
  ASSERT_TRUE(take(routeMessage(defaultRouteHeader(AF_INET), numberAttribute(RTA_OIF, 5))));
  EXPECT_EQ(status(), kCellular);
}

TEST_F(RouteTableTest, APreferredRouteOverADeadLinkGivesWayToTheNext) {
  ASSERT_TRUE(take(linkMessage(4, "eth0", IFF_UP)));
  ASSERT_TRUE(take(defaultRouteMessage(AF_INET, 4, 0)));
  ASSERT_TRUE(take(defaultRouteMessage(AF_INET, 5, 700)));
  EXPECT_EQ(status(), kCellular);
}

TEST_F(RouteTableTest, TheBetterFamilyIsTold) {
  ASSERT_TRUE(take(defaultRouteMessage(AF_INET, 5, 0)));
  ASSERT_TRUE(take(defaultRouteMessage(AF_INET6, 4, 1024)));
  EXPECT_EQ(status(), kWiFi);
}

TEST_F(RouteTableTest, AnyLivingNextHopOfSeveralIsEnough) {
  const auto route = [](const Bytes& hops) {
    return routeMessage(defaultRouteHeader(AF_INET), attribute(RTA_MULTIPATH, hops));
  };
  ASSERT_TRUE(take(route(joined({nextHop(1), nextHop(4, RTNH_F_DEAD)}))));
  EXPECT_EQ(status(), kNone);
  ASSERT_TRUE(take(route(joined({nextHop(1), nextHop(5)}))));
  EXPECT_EQ(status(), kCellular);
  ASSERT_TRUE(take(route(joined({nextHop(5), nextHop(4)}))));
  EXPECT_EQ(status(), kWiFi);
}

TEST_F(RouteTableTest, LoopbackIsUpWhenItsLinkWorks) {
  EXPECT_TRUE(table_.isLoopbackUp());
  ASSERT_TRUE(take(linkMessage(1, "lo", IFF_LOOPBACK)));
  EXPECT_FALSE(table_.isLoopbackUp());
  EXPECT_FALSE(RouteTable().isLoopbackUp());
}

TEST_F(RouteTableTest, LinkNamesEndAtTheirZeroByteOrWithTheAttribute) {
  EXPECT_EQ(table_.links().at(4).name, "eth0");
  Bytes payload;
  ifinfomsg info{};
  info.ifi_index = 6;
  append(payload, info);
  const Bytes bare = {std::byte{'a'}, std::byte{'b'}};
  ASSERT_TRUE(take(message(RTM_NEWLINK, joined({payload, attribute(IFLA_IFNAME, bare)}))));
  EXPECT_EQ(table_.links().at(6).name, "ab");
}

TEST_F(RouteTableTest, OtherMessagesAreIgnored) {
  EXPECT_TRUE(take(message(RTM_NEWADDR, {})));
  EXPECT_TRUE(take(message(RTM_DELROUTE, {})));
  EXPECT_TRUE(table_.defaultRoutes().empty());
}

TEST_F(RouteTableTest, MessagesShorterThanTheirFixedPartAreDamaged) {
  EXPECT_FALSE(take(message(RTM_NEWLINK, Bytes(sizeof(ifinfomsg) - 1))));
  EXPECT_FALSE(take(message(RTM_NEWROUTE, Bytes(sizeof(rtmsg) - 1))));
  EXPECT_FALSE(take(message(RTM_NEWROUTE, {})));
  EXPECT_EQ(table_.links().size(), 3U);
}

TEST_F(RouteTableTest, DamagedAttributesMakeTheWholeMessageCountForNothing) {
  const Bytes out = numberAttribute(RTA_OIF, 4);
  Bytes tooLong;
  append(tooLong, rtattr{200, RTA_GATEWAY});
  Bytes tooShort;
  append(tooShort, rtattr{3, RTA_GATEWAY});
  const Bytes halfHeader(2);
  const Bytes halfNumber = attribute(RTA_PRIORITY, Bytes(3));
  for (const Bytes& damage : {tooLong, tooShort, halfHeader, halfNumber}) {
    EXPECT_FALSE(take(routeMessage(defaultRouteHeader(AF_INET), joined({out, damage}))));
  }
  EXPECT_FALSE(take(message(RTM_NEWLINK, joined({linkPayload(8, "eth8", kWorking), tooLong}))));
  EXPECT_TRUE(table_.defaultRoutes().empty());
  EXPECT_EQ(table_.links().count(8), 0U);
}

TEST_F(RouteTableTest, DamagedNextHopsMakeTheWholeMessageCountForNothing) {
  Bytes zeroLength;
  append(zeroLength, rtnexthop{0, 0, 0, 4});
  Bytes tooLong;
  append(tooLong, rtnexthop{64, 0, 0, 4});
  const Bytes halfHop(4);
  for (const Bytes& damage : {zeroLength, tooLong, halfHop}) {
    const Bytes hops = joined({nextHop(4), damage});
    EXPECT_FALSE(take(routeMessage(defaultRouteHeader(AF_INET), attribute(RTA_MULTIPATH, hops))));
  }
  EXPECT_TRUE(table_.defaultRoutes().empty());
}

}  // namespace
}  // namespace orv::route_table_test
