#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/testing/ConnectPlan.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <tests/support/LinkFixture.h>

#include <cerrno>
#include <optional>
#include <string>
#include <vector>

namespace orv::link_retry_test {
namespace {

using testing::ConnectPlan;
using Times = std::vector<double>;

class LinkRetry : public LinkFixture {
 protected:
  void refuseAll() { platform.network().setDefaultPlan(ConnectPlan::refuse()); }
};

TEST_F(LinkRetry, RunsTheScheduleFromAStartThatNeverSucceeds) {
  refuseAll();
  link.watchNetworkStatus();
  runFor(140.5);
  EXPECT_EQ(attempts(), (Times{0, 5, 20, 50, 80, 110, 140}));
  EXPECT_EQ(link.retryTimes(), 7);
  EXPECT_TRUE(link.isAutoReconnecting());
}

TEST_F(LinkRetry, RetriesAtOnceAfterALinkThatWasUpAndThenRunsTheSchedule) {
  bringUp();
  runFor(100);
  refuseAll();
  server.reset(1);
  runFor(115);
  EXPECT_EQ(attempts(), (Times{0, 100, 105, 120, 150, 180, 210}));
}

TEST_F(LinkRetry, PostsEachNotificationOfAStreakAtItsMoment) {
  bringUp();
  runFor(100);
  refuseAll();
  server.reset(1);
  runFor(81);
  ASSERT_EQ(names(), (Strings{std::string(QXNotificationDidFailWithError),
                              std::string(QXNotificationDidAutoReconnectFailed),
                              std::string(QXNotificationDidAutoReconnectFailed)}));
  EXPECT_EQ(notifications[0].time, 100) << "the second failure of the streak";
  EXPECT_EQ(notifications[1].time, 150) << "the first firing of the 30 s timer";
  EXPECT_EQ(notifications[2].time, 180);
  for (const auto& posted : notifications) EXPECT_EQ(posted.object, &link);
  EXPECT_EQ(notifications[1].userInfo, std::nullopt);
}

TEST_F(LinkRetry, TellsTheErrorOfTheSecondFailure) {
  refuseAll();
  link.watchNetworkStatus();
  settle();
  ASSERT_EQ(count(QXNotificationDidFailWithError), 1u);
  const auto& info = notifications.back().userInfo.value();
  ASSERT_EQ(info.size(), 1u);
  const auto& error = info.at(QXNotificationKey_Msg).as_object();
  EXPECT_EQ(error.at("domain").as_string(), "POSIX");
  EXPECT_EQ(error.at("code").as_int64(), ECONNREFUSED);
  EXPECT_FALSE(error.at("description").as_string().empty());
}

TEST_F(LinkRetry, ReportsAFailureBeforeAnyConnectionFirst) {
  refuseAll();
  link.watchNetworkStatus();
  settle();
  EXPECT_EQ(names(), (Strings{std::string(QXNotificationReachabilityStatusChange),
                              std::string(QXNotificationDidAutoReconnectFailed),
                              std::string(QXNotificationDidFailWithError)}));
  notifications.clear();
  runFor(49);
  EXPECT_EQ(names(), Strings{}) << "only the very first failure counts as one before any connection";
}

TEST_F(LinkRetry, TakesACloseOnPurposeAsTheEndOfTheFirstConnect) {
  link.close();
  refuseAll();
  link.reconnect();
  settle();
  EXPECT_EQ(count(QXNotificationDidAutoReconnectFailed), 0u);
}

TEST_F(LinkRetry, AnnouncesEachThirtySecondRetryJustBeforeIt) {
  refuseAll();
  link.watchNetworkStatus();
  runFor(49.9);
  std::vector<std::size_t> attemptsWhenPosted;
  const auto token = NotificationCenter::defaultCenter().observe(
      std::string(QXNotificationDidAutoReconnectFailed),
      [&](const Notification&) { attemptsWhenPosted.push_back(attempts().size()); });
  runFor(60);
  EXPECT_EQ(attemptsWhenPosted, (std::vector<std::size_t>{3, 4}));
}

TEST_F(LinkRetry, StartsOverAfterASuccess) {
  refuseAll();
  link.watchNetworkStatus();
  runFor(21);
  platform.network().setDefaultPlan(ConnectPlan::accept());
  runFor(40);
  EXPECT_TRUE(link.isOpen());
  EXPECT_EQ(link.retryTimes(), 0);
  refuseAll();
  server.reset(server.latest());
  settle();
  EXPECT_EQ(attempts(), (Times{0, 5, 20, 50, 61}));
  runFor(5);
  EXPECT_EQ(attempts(), (Times{0, 5, 20, 50, 61, 66}));
}

TEST_F(LinkRetry, StallsAfterAFailureWithinOneAndAHalfSecondsOfTheAttempt) {
  bringUp();
  runFor(1.4);
  server.reset(1);
  runFor(600);
  EXPECT_EQ(attempts(), Times{0}) << "the immediate retry was skipped, and nothing else comes";
  EXPECT_EQ(link.retryTimes(), 1) << "the attempt counts all the same";
  EXPECT_EQ(names(), Strings{});
  send("a");
  settle();
  EXPECT_TRUE(link.isOpen()) << "a send wakes the link";
  EXPECT_EQ(outcomes, Strings{"a timeout"});
}

TEST_F(LinkRetry, DoesNotStallAfterOneAndAHalfSeconds) {
  bringUp();
  runFor(1.5);
  server.reset(1);
  settle();
  EXPECT_EQ(attempts(), (Times{0, 1.5}));
  EXPECT_TRUE(link.isOpen());
}

TEST_F(LinkRetry, SchedulesNothingWhileTheNetworkIsNotKnownToBeThere) {
  refuseAll();
  link.reconnect();
  runFor(300);
  EXPECT_EQ(attempts().size(), 1u);
  EXPECT_EQ(names(), Strings{std::string(QXNotificationDidAutoReconnectFailed)});
  EXPECT_EQ(countLogged("Network is broken, ignore auto reconnect operations"), 1u);
  EXPECT_EQ(countLoggedStart(":( Websocket Failed With Error POSIX 111"), 1u);
}

TEST_F(LinkRetry, LogsEachAutomaticAttemptWithItsNumber) {
  refuseAll();
  link.watchNetworkStatus();
  runFor(21);
  EXPECT_EQ(countLogged("auto reconnect, retry times: 0"), 1u);
  EXPECT_EQ(countLogged("auto reconnect, retry times: 1"), 1u);
  EXPECT_EQ(countLogged("auto reconnect, retry times: 2"), 1u);
  EXPECT_EQ(countLoggedStart("auto reconnect"), 3u);
}

TEST_F(LinkRetry, CountsAConnectTimeoutAsAFailure) {
  platform.network().planConnect(ConnectPlan::neverAnswer());
  link.watchNetworkStatus();
  runFor(59.9);
  EXPECT_FALSE(link.isClosed());
  EXPECT_EQ(count(QXNotificationDidFailWithError), 0u);
  runFor(0.2);
  EXPECT_EQ(count(QXNotificationDidFailWithError), 1u);
  runFor(5);
  EXPECT_TRUE(link.isOpen());
}

TEST_F(LinkRetry, UncoversALinkThatDiedSilently) {
  bringUp();
  platform.network().breakLink(1);
  runFor(61);
  EXPECT_EQ(attempts(), (Times{0, 60})) << "PING after 30 s, unacknowledged for 30 s";
  EXPECT_TRUE(link.isOpen());
}

TEST_F(LinkRetry, ComesBackAfterTheServerClosed) {
  bringUp();
  runFor(10);
  server.close(1, 4001, "bye");
  settle();
  ASSERT_GE(notifications.size(), 1u);
  EXPECT_EQ(notifications[0].name, QXNotificationDidCloseWithCode);
  EXPECT_EQ(notifications[0].object, &link);
  EXPECT_EQ(json::serialize(notifications[0].userInfo.value()),
            R"({"code":4001,"reason":"bye","wasClean":true})");
  EXPECT_EQ(attempts(), (Times{0, 10}));
  EXPECT_TRUE(link.isOpen());
  EXPECT_EQ(countLogged("WebSocket closed"), 1u);
}

TEST_F(LinkRetry, TellsOnlyTheCodeOfACloseWithoutAReason) {
  bringUp();
  runFor(10);
  server.close(1, 1000);
  settle();
  EXPECT_EQ(json::serialize(notifications.at(0).userInfo.value()), R"({"code":1000})");
  server.close(2, std::nullopt);
  notifications.clear();
  settle();
  EXPECT_EQ(json::serialize(notifications.at(0).userInfo.value()), R"({"code":1005})");
}

TEST_F(LinkRetry, TellsTheEndOfTheStreamAsAnUncleanClose) {
  bringUp();
  runFor(10);
  server.cut(1);
  settle();
  EXPECT_EQ(json::serialize(notifications.at(0).userInfo.value()),
            R"({"code":1001,"reason":"Stream end encountered","wasClean":false})");
  EXPECT_TRUE(link.isOpen());
}

TEST_F(LinkRetry, ReconnectsAfterACloseEvenWithoutANetworkReport) {
  link.reconnect();
  settle();
  ASSERT_TRUE(link.isOpen());
  runFor(10);
  server.close(1, 1000);
  settle();
  EXPECT_EQ(attempts(), (Times{0, 10}));
}

TEST_F(LinkRetry, IsClosedWhenItsObserversHearOfTheClose) {
  bringUp();
  runFor(10);
  bool closed = false;
  const auto token = NotificationCenter::defaultCenter().observe(
      std::string(QXNotificationDidCloseWithCode),
      [&](const Notification&) { closed = link.isClosed() && !link.connected(); });
  server.close(1, 1000);
  settle();
  EXPECT_TRUE(closed);
}

TEST_F(LinkRetry, KeepsASocketThatAnObserverOpenedInstead) {
  runFor(2);
  platform.network().planConnect(ConnectPlan::refuse(Seconds(2)));
  const auto token = NotificationCenter::defaultCenter().observe(
      std::string(QXNotificationDidAutoReconnectFailed), [&](const Notification&) { link.reconnect(); });
  link.watchNetworkStatus();
  runFor(3);
  EXPECT_TRUE(link.isOpen());
  runFor(100);
  EXPECT_TRUE(link.isOpen());
  EXPECT_EQ(attempts().size(), 2u);
}

TEST_F(LinkRetry, EndsAllTimersWhenAutomaticAttemptsAreStopped) {
  refuseAll();
  link.watchNetworkStatus();
  runFor(1);
  link.stopAutoReconnect();
  EXPECT_FALSE(link.isAutoReconnecting());
  runFor(300);
  EXPECT_EQ(attempts(), Times{0});
}

TEST_F(LinkRetry, KeepsSpentTimersInTheirFields) {
  bringUp();
  const auto keepAlive = link.timer();
  ASSERT_TRUE(keepAlive);
  link.stopAutoReconnect();
  EXPECT_EQ(link.timer(), keepAlive);
  EXPECT_FALSE(keepAlive->isValid());
}

TEST_F(LinkRetry, FailsWithoutAnAddressAndSaysSo) {
  link.setApiServerUrl(std::nullopt);
  link.watchNetworkStatus();
  settle();
  EXPECT_EQ(count(QXNotificationDidFailWithError), 1u);
  link.setApiServerUrl("http//not a url");
  runFor(5);
  EXPECT_EQ(countLoggedStart(":( Websocket Failed With Error"), 2u);
  link.setApiServerUrl("ws://classroom.test");
  runFor(15);
  EXPECT_TRUE(link.isOpen());
}

}  // namespace
}  // namespace orv::link_retry_test
