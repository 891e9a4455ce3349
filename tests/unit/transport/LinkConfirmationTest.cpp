#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <tests/support/LinkFixture.h>

#include <optional>
#include <string>
#include <vector>

namespace orv::link_confirmation_test {
namespace {

class LinkConfirmation : public LinkFixture {};

TEST_F(LinkConfirmation, StartsIdle) {
  EXPECT_TRUE(link.isClosed());
  EXPECT_FALSE(link.isOpen());
  EXPECT_FALSE(link.connected());
  EXPECT_FALSE(link.isNetworkEnable());
  EXPECT_FALSE(link.isWifiNetwork());
  EXPECT_EQ(link.networkStatus(), ReachabilityStatus::NotReachable);
  EXPECT_FALSE(link.isAutoReconnecting());
  EXPECT_EQ(link.reconnectDate(), std::nullopt);
  EXPECT_EQ(link.webSocket(), nullptr);
  EXPECT_EQ(&QXWebSocketMgr::standard(), &link);
}

TEST_F(LinkConfirmation, OpensWithTheFirstReportOfAReachableNetwork) {
  link.watchNetworkStatus();
  EXPECT_TRUE(link.isClosed()) << "the first report is asynchronous";
  settle();
  EXPECT_TRUE(link.isOpen());
  EXPECT_FALSE(link.isClosed());
  ASSERT_EQ(platform.network().sockets().size(), 1u);
  EXPECT_EQ(platform.network().sockets()[0].url, "wss://classroom.test/link");
  EXPECT_EQ(platform.network().sockets()[0].connectTimeout, Seconds(60));
  EXPECT_EQ(link.reconnectDate(), platform.clock().wallNow());
}

TEST_F(LinkConfirmation, SendsPingAtOnceAndOnlyOnce) {
  link.watchNetworkStatus();
  settle();
  ASSERT_EQ(server.frames().size(), 1u);
  EXPECT_EQ(server.frames()[0].text, "PING");
  runFor(29);
  EXPECT_EQ(server.frames().size(), 1u) << "the first timer is spent";
}

TEST_F(LinkConfirmation, IsNotOpenUntilTheServerAnswers) {
  server.setAnswersPing(false);
  link.watchNetworkStatus();
  runFor(20);
  EXPECT_EQ(server.countFrames("PING"), 1u) << "one PING, and no keep-alive before the answer";
  EXPECT_FALSE(link.isOpen());
  EXPECT_FALSE(link.isClosed());
  EXPECT_EQ(count(QXNotificationDidOpen), 0u);
  server.send(1, "PONG");
  settle();
  EXPECT_TRUE(link.isOpen());
  EXPECT_TRUE(link.connected());
}

TEST_F(LinkConfirmation, PostsDidOpenOnceWithTheManagerAndNothingElse) {
  link.watchNetworkStatus();
  settle();
  ASSERT_EQ(count(QXNotificationDidOpen), 1u);
  EXPECT_EQ(notifications.back().name, QXNotificationDidOpen);
  EXPECT_EQ(notifications.back().object, &link);
  EXPECT_EQ(notifications.back().userInfo, std::nullopt);
}

TEST_F(LinkConfirmation, IsOpenWhenItsObserversHear) {
  bool open = false;
  const auto token = NotificationCenter::defaultCenter().observe(
      std::string(QXNotificationDidOpen), [&](const Notification&) { open = link.isOpen(); });
  link.watchNetworkStatus();
  settle();
  EXPECT_TRUE(open);
}

TEST_F(LinkConfirmation, OnlyLogsALaterPong) {
  bringUp();
  server.send(1, "PONG");
  server.send(1, "PONG");
  settle();
  EXPECT_EQ(names(), Strings{});
  EXPECT_EQ(countLogged("Recieve PONG form server, connect server success"), 3u);
}

TEST_F(LinkConfirmation, SendsPingEveryThirtySecondsToTheTick) {
  bringUp();
  runFor(29.999);
  EXPECT_EQ(server.countFrames("PING"), 0u);
  runFor(0.002);
  EXPECT_EQ(server.countFrames("PING"), 1u);
  runFor(300);
  EXPECT_EQ(server.countFrames("PING"), 11u);
  EXPECT_NEAR(Seconds(server.frames().back().time - server.frames().front().time).count(), 300, 1e-9);
}

TEST_F(LinkConfirmation, RepeatedPongsDoNotMoveTheKeepAlive) {
  bringUp();
  runFor(20);
  server.send(1, "PONG");
  runFor(10.001);
  EXPECT_EQ(server.countFrames("PING"), 1u);
}

TEST_F(LinkConfirmation, EndsTheKeepAliveWithTheLink) {
  bringUp();
  link.close();
  runFor(100);
  EXPECT_EQ(server.countFrames("PING"), 0u);
  EXPECT_EQ(link.timer(), nullptr);
}

TEST_F(LinkConfirmation, LogsItsLife) {
  bringUp();
  link.close();
  EXPECT_EQ(logLines(),
            (Strings{"Network status change: 2", "auto reconnect, retry times: 0", "Websocket Connected",
                     "Recieve PONG form server, connect server success", "WebSocket closing"}));
  EXPECT_EQ(console.back(), "WebSocket opening");
}

TEST_F(LinkConfirmation, ForgetsItsAttemptsWhenASocketOpens) {
  link.watchNetworkStatus();
  settle();
  EXPECT_FALSE(link.isAutoReconnecting());
  EXPECT_EQ(link.retryTimes(), 0);
}

TEST_F(LinkConfirmation, ConfirmsEachSocketAnew) {
  bringUp();
  runFor(2);
  server.setAnswersPing(false);
  link.reconnect();
  EXPECT_FALSE(link.connected());
  settle();
  EXPECT_FALSE(link.isOpen());
  EXPECT_EQ(server.countFrames("PING"), 1u);
  server.send(2, "PONG");
  settle();
  EXPECT_TRUE(link.isOpen());
  EXPECT_EQ(names(), Strings{std::string(QXNotificationDidOpen)});
}

TEST_F(LinkConfirmation, ReconnectsAtMostOnceWithinOneAndAHalfSeconds) {
  bringUp();
  link.reconnect();
  link.reconnect();
  EXPECT_EQ(attempts().size(), 1u);
  EXPECT_TRUE(link.isOpen()) << "a skipped reconnect changes nothing";
  runFor(1.499);
  link.reconnect();
  EXPECT_EQ(attempts().size(), 1u);
  runFor(0.001);
  link.reconnect();
  EXPECT_EQ(attempts(), (std::vector<double>{0, 1.5}));
}

TEST_F(LinkConfirmation, MeasuresThePauseWhateverTheWallClockDoes) {
  bringUp();
  platform.jumpWallClock(Seconds(-86400));
  runFor(2);
  link.reconnect();
  EXPECT_EQ(attempts().size(), 2u) << "a clock set back must not block the link for a day";
  platform.jumpWallClock(Seconds(86400));
  link.reconnect();
  EXPECT_EQ(attempts().size(), 2u);
}

TEST_F(LinkConfirmation, ReplacesTheOldSocketWithoutAWord) {
  bringUp();
  runFor(2);
  link.reconnect();
  settle();
  EXPECT_EQ(count(QXNotificationDidCloseWithCode), 0u);
  EXPECT_EQ(server.connections(), std::vector<testing::ConnectionId>{2});
  EXPECT_EQ(server.closes().size(), 1u);
  EXPECT_TRUE(link.isOpen());
}

TEST_F(LinkConfirmation, DropsLateEventsOfAnOldSocket) {
  bringUp();
  runFor(2);
  server.send(1, R"({"C":"Rooms.Push.Message","s":0,"v":{}})");
  server.reset(1);
  platform.network().planConnect(testing::ConnectPlan::accept(Seconds(1)));
  link.reconnect();
  runFor(5);
  EXPECT_EQ(names(), Strings{std::string(QXNotificationDidOpen)});
  EXPECT_TRUE(link.isOpen());
}

TEST_F(LinkConfirmation, ClosesOnPurposeWithoutANotificationOrARetry) {
  bringUp();
  link.close();
  EXPECT_TRUE(link.isClosed());
  EXPECT_FALSE(link.connected());
  runFor(120);
  EXPECT_EQ(names(), Strings{});
  EXPECT_EQ(attempts().size(), 1u);
  EXPECT_EQ(server.closes().size(), 1u);
}

TEST_F(LinkConfirmation, MayBeClosedWhenIdleOrTwice) {
  link.close();
  link.close();
  settle();
  EXPECT_TRUE(link.isClosed());
}

TEST_F(LinkConfirmation, MayBeReopenedAfterAClose) {
  bringUp();
  link.close();
  runFor(2);
  link.reconnect();
  settle();
  EXPECT_TRUE(link.isOpen());
}

TEST_F(LinkConfirmation, SendsAProtocolPingWithoutPayloadAndPostsThePong) {
  bringUp();
  link.sendPing("ignored");
  settle();
  ASSERT_EQ(server.pings().size(), 1u);
  EXPECT_EQ(server.pings()[0].payload, "");
  ASSERT_EQ(names(), Strings{std::string(QXNotificationDidReceivePong)});
  EXPECT_EQ(notifications[0].object, &link);
  EXPECT_EQ(notifications[0].userInfo, std::nullopt);
}

TEST_F(LinkConfirmation, SaysOnTheConsoleThatAPingCannotBeSent) {
  link.sendPing();
  EXPECT_EQ(console, Strings{"sendPing failed, websocket is not opening!"});
}

TEST_F(LinkConfirmation, SendsATextAsItIs) {
  bringUp();
  link.send("  any text 文字 ");
  link.send(std::nullopt);
  link.send("");
  settle();
  ASSERT_EQ(server.frames().size(), 2u);
  EXPECT_EQ(server.frames()[0].text, "  any text 文字 ");
  EXPECT_EQ(server.frames()[1].text, "");
}

TEST_F(LinkConfirmation, LogsThatATextCannotBeSent) {
  link.send("x");
  server.setAnswersPing(false);
  link.watchNetworkStatus();
  settle();
  link.send("x");
  EXPECT_EQ(countLogged("send failed, websocket is not opening!"), 2u);
  EXPECT_EQ(server.countFrames("x"), 0u);
}

TEST_F(LinkConfirmation, HasAllNamesWithTheirOwnTextAsValue) {
#define ORV_EXPECT_NAME(name) EXPECT_EQ(name, #name)
  ORV_EXPECT_NAME(QXNotificationDidOpen);
  ORV_EXPECT_NAME(QXNotificationDidFailWithError);
  ORV_EXPECT_NAME(QXNotificationDidAutoReconnectFailed);
  ORV_EXPECT_NAME(QXNotificationDidCloseWithCode);
  ORV_EXPECT_NAME(QXNotificationDidReceivePong);
  ORV_EXPECT_NAME(QXNotificationDidLogin);
  ORV_EXPECT_NAME(QXNotificationPushUnread);
  ORV_EXPECT_NAME(QXNotificationPushRoomEnter);
  ORV_EXPECT_NAME(QXNotificationPushRoomClose);
  ORV_EXPECT_NAME(QXNotificationPushRoomAttention);
  ORV_EXPECT_NAME(QXNotificationPushRoomShare);
  ORV_EXPECT_NAME(QXNotificationPushRoomGift);
  ORV_EXPECT_NAME(QXNotificationPushRoomReward);
  ORV_EXPECT_NAME(QXNotificationPushRoomComment);
  ORV_EXPECT_NAME(QXNotificationPushBackend);
  ORV_EXPECT_NAME(QXNotificationPushOrvMessage);
  ORV_EXPECT_NAME(QXNotificationReachabilityStatusChange);
  ORV_EXPECT_NAME(QXNotificationCourseListChanged);
  ORV_EXPECT_NAME(QXNotificationDidChangeUserInfo);
  ORV_EXPECT_NAME(QXNotificationDidChangeClassroom);
  ORV_EXPECT_NAME(QXNotificationUserInfoInvalidate);
  ORV_EXPECT_NAME(QXNotificationOtherUserLoggedIn);
  ORV_EXPECT_NAME(QXNotificationLogoutByOtherUser);
  ORV_EXPECT_NAME(QXNotificationSystemUploadLog);
  ORV_EXPECT_NAME(QXNotificationKey_Msg);
  ORV_EXPECT_NAME(QXNotificationKey_Command);
  ORV_EXPECT_NAME(QXNotificationKey_Values);
  ORV_EXPECT_NAME(WNNetworkNotificationKey_Status);
#undef ORV_EXPECT_NAME
}

}  // namespace
}  // namespace orv::link_confirmation_test
