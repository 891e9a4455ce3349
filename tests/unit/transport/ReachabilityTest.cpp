#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <tests/support/LinkFixture.h>

#include <optional>
#include <string>
#include <vector>

namespace orv::reachability_test {
namespace {

class LinkReachability : public LinkFixture {
 protected:
  void report(ReachabilityStatus status) {
    platform.reachability().report(status);
    settle();
  }
  static constexpr auto kGone = ReachabilityStatus::NotReachable;
};

TEST_F(LinkReachability, PostsEveryReportWithItsStatus) {
  link.watchNetworkStatus();
  settle();
  report(ReachabilityStatus::WiFi);
  report(ReachabilityStatus::Cellular);
  std::vector<std::int64_t> told;
  for (const auto& posted : notifications) {
    if (posted.name != QXNotificationReachabilityStatusChange) continue;
    EXPECT_EQ(posted.object, &link);
    ASSERT_EQ(posted.userInfo->size(), 1u);
    told.push_back(posted.userInfo->at(WNNetworkNotificationKey_Status).as_int64());
  }
  EXPECT_EQ(told, (std::vector<std::int64_t>{2, 2, 1})) << "a repeated report is passed on";
  EXPECT_EQ(attempts().size(), 1u) << "an open link is left alone";
}

TEST_F(LinkReachability, KnowsTheNetworkByItsLastReport) {
  link.watchNetworkStatus();
  settle();
  EXPECT_TRUE(link.isNetworkEnable());
  EXPECT_TRUE(link.isWifiNetwork());
  report(ReachabilityStatus::Cellular);
  EXPECT_TRUE(link.isNetworkEnable());
  EXPECT_FALSE(link.isWifiNetwork());
  report(ReachabilityStatus::Unknown);
  EXPECT_FALSE(link.isNetworkEnable());
  EXPECT_EQ(link.networkStatus(), ReachabilityStatus::Unknown);
}

TEST_F(LinkReachability, ClosesTheLinkWhenTheNetworkIsLostAndSaysSoInOrder) {
  bringUp();
  std::vector<bool> openAtPost;
  const auto token = NotificationCenter::defaultCenter().observe(
      std::nullopt, [&](const Notification&) { openAtPost.push_back(link.isOpen()); });
  report(kGone);
  ASSERT_EQ(names(), (Strings{std::string(QXNotificationReachabilityStatusChange),
                              std::string(QXNotificationDidAutoReconnectFailed)}));
  EXPECT_EQ(openAtPost, (std::vector<bool>{true, false})) << "told first, closed, then told again";
  EXPECT_EQ(notifications[1].object, &link);
  EXPECT_TRUE(link.isClosed());
  const auto lines = logLines();
  EXPECT_EQ(Strings(lines.end() - 3, lines.end()),
            (Strings{"Network status change: 0", "Network is broken, close socket", "WebSocket closing"}));
}

TEST_F(LinkReachability, TakesAnUnknownNetworkAsALostOne) {
  bringUp();
  report(ReachabilityStatus::Unknown);
  EXPECT_TRUE(link.isClosed());
}

TEST_F(LinkReachability, DoesNothingWhileTheNetworkIsGone) {
  bringUp();
  report(kGone);
  runFor(600);
  EXPECT_EQ(attempts().size(), 1u);
}

TEST_F(LinkReachability, OpensTheLinkAgainWhenTheNetworkIsBack) {
  bringUp();
  runFor(10);
  report(kGone);
  report(ReachabilityStatus::WiFi);
  EXPECT_TRUE(link.isOpen());
  EXPECT_EQ(attempts().size(), 2u);
}

TEST_F(LinkReachability, EndsARunningScheduleWhenTheNetworkIsLost) {
  platform.network().setDefaultPlan(testing::ConnectPlan::refuse());
  link.watchNetworkStatus();
  runFor(10);
  EXPECT_TRUE(link.isAutoReconnecting());
  report(kGone);
  EXPECT_FALSE(link.isAutoReconnecting());
  runFor(300);
  EXPECT_EQ(attempts().size(), 2u);
}

TEST_F(LinkReachability, LeavesALinkThatIsOpeningAlone) {
  platform.network().planConnect(testing::ConnectPlan::accept(Seconds(10)));
  link.watchNetworkStatus();
  runFor(5);
  report(ReachabilityStatus::WiFi);
  EXPECT_EQ(attempts().size(), 1u);
  EXPECT_EQ(link.retryTimes(), 1);
}

TEST_F(LinkReachability, SchedulesNoRetryBeforeTheFirstReport) {
  platform.reachability().withholdFirstReport(true);
  link.watchNetworkStatus();
  platform.network().planConnect(testing::ConnectPlan::refuse());
  link.reconnect();
  runFor(60);
  EXPECT_EQ(attempts().size(), 1u);
  report(ReachabilityStatus::WiFi);
  EXPECT_TRUE(link.isOpen());
}

TEST_F(LinkReachability, WakesAStalledSchedule) {
  bringUp();
  server.reset(1);
  runFor(60);
  EXPECT_TRUE(link.isClosed());
  report(ReachabilityStatus::WiFi);
  EXPECT_TRUE(link.isOpen());
}

TEST_F(LinkReachability, NamesTheServerThatMatters) {
  link.watchNetworkStatus();
  EXPECT_EQ(platform.reachability().server(), "wss://classroom.test/link");
  link.setApiServerUrl("ws://127.0.0.1:9000");
  EXPECT_EQ(platform.reachability().server(), "ws://127.0.0.1:9000");
}

TEST_F(LinkReachability, ReportsAnewWhenWatchedTwice) {
  link.watchNetworkStatus();
  settle();
  link.watchNetworkStatus();
  settle();
  EXPECT_EQ(count(QXNotificationReachabilityStatusChange), 2u);
  report(ReachabilityStatus::WiFi);
  EXPECT_EQ(count(QXNotificationReachabilityStatusChange), 3u);
}

}  // namespace
}  // namespace orv::reachability_test
