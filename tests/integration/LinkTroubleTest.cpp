#include <orvnetwork/platform/NotificationCenter.h>
// What ends a link on real sockets, what is told about it, and how the link comes back.

#include <devserver/DevServer.h>
#include <devserver/faults/Cut.h>
#include <tests/support/LiveLink.h>
#include <tests/support/RawPeer.h>

#include <boost/json/parse.hpp>

#include <cerrno>
#include <chrono>
#include <string>
#include <string_view>
#include <thread>

namespace orv::link_trouble_test {
namespace {

using namespace std::chrono_literals;
using devserver::ConnectionMode;
using devserver::Cut;
using test::RawListener;
using test::RawPeer;

class LinkTrouble : public test::LiveLinkTest {
 protected:
  /// Brings the link up and lets so much time pass that it may reconnect at once.
  void bringUpForLong() {
    bringUp(server.url());
    ASSERT_TRUE(waitForReconnectPause());
  }
  /// Cuts the link and waits until it is back.
  void cutAndComeBack(const Cut& cut) {
    ASSERT_TRUE(waitForReconnectPause());
    notifications.clear();
    ASSERT_EQ(server.cut(cut), 1u);
    ASSERT_TRUE(waitUntilReopened());
  }
  json::object lastError() const {
    return json::parse(lastUserInfo(QXNotificationDidFailWithError)).at("QXNotificationKey_Msg").as_object();
  }

  DevServer server;
};

TEST_F(LinkTrouble, TellsHowTheServerClosedAndComesBackAtOnce) {
  server.start();
  bringUp(server.url());
  cutAndComeBack({Cut::Kind::Close, 4001, "换设备登录"});
  EXPECT_EQ(names(), (Strings{"QXNotificationDidCloseWithCode", "QXNotificationDidOpen"}));
  EXPECT_EQ(notifications[0].userInfo, R"({"code":4001,"reason":"换设备登录","wasClean":true})");
  EXPECT_EQ(notifications[0].object, &link);

  cutAndComeBack({Cut::Kind::Close, 1000, ""});
  EXPECT_EQ(lastUserInfo(QXNotificationDidCloseWithCode), R"({"code":1000})")
      << "the list ends at an absent reason";

  cutAndComeBack({Cut::Kind::Close, 0, ""});
  EXPECT_EQ(lastUserInfo(QXNotificationDidCloseWithCode), R"({"code":1005})");

  cutAndComeBack({Cut::Kind::Fin, 0, ""});
  EXPECT_EQ(lastUserInfo(QXNotificationDidCloseWithCode),
            R"({"code":1001,"reason":"Stream end encountered","wasClean":false})");
  EXPECT_EQ(countLogged("WebSocket closed"), 4u);
  EXPECT_EQ(server.counters().opened, 5u);
  EXPECT_TRUE(echoes());
}

TEST_F(LinkTrouble, TakesAResetAsAFailureAndComesBackAtOnce) {
  server.start();
  bringUp(server.url());
  cutAndComeBack({Cut::Kind::Reset, 0, ""});
  EXPECT_EQ(names(), Strings{"QXNotificationDidOpen"}) << "the first failure of a streak is not told";
  EXPECT_EQ(countLogged(":( Websocket Failed With Error POSIX " + std::to_string(ECONNRESET)), 1u);
  EXPECT_TRUE(echoes());
}

TEST_F(LinkTrouble, StallsAfterALossWithinTheReconnectPauseUntilSomebodySends) {
  server.start();
  bringUp(server.url());
  ASSERT_EQ(server.cut({Cut::Kind::Fin, 0, ""}), 1u);
  ASSERT_TRUE(waitForPosted(QXNotificationDidCloseWithCode));
  ASSERT_TRUE(waitForReconnectPause());
  EXPECT_TRUE(link.isClosed()) << "the immediate retry came too soon and was skipped";
  EXPECT_EQ(link.retryTimes(), 1) << "it counts all the same";
  EXPECT_EQ(server.counters().tcpAccepted, 1u);
  send("Dev.Echo");
  EXPECT_EQ(outcomes, Strings{"Dev.Echo timeout"});
  EXPECT_TRUE(waitUntilOpen());
  EXPECT_EQ(link.retryTimes(), 0);
}

TEST_F(LinkTrouble, ComesBackFiveSecondsAfterAServerThatWasGoneForAMoment) {
  server.start();
  bringUpForLong();
  send("Dev.Echo");
  ASSERT_TRUE(waitForOutcomes(1));
  std::chrono::steady_clock::time_point failedAt;
  const auto observer = NotificationCenter::defaultCenter().observe(
      std::string(QXNotificationDidFailWithError),
      [&](const Notification&) { failedAt = std::chrono::steady_clock::now(); });
  server.stop();
  ASSERT_TRUE(waitForPosted(QXNotificationDidFailWithError)) << "the immediate retry was refused";
  EXPECT_EQ(names(), (Strings{"QXNotificationDidCloseWithCode", "QXNotificationDidFailWithError"}));
  EXPECT_EQ(lastError().at("domain").as_string(), "POSIX");
  EXPECT_EQ(lastError().at("code").as_int64(), ECONNREFUSED);
  EXPECT_TRUE(link.isAutoReconnecting());
  server.start();
  ASSERT_TRUE(waitUntilReopened());
  // The timer is armed behind the notification. It never fires early; a busy machine may make it late.
  EXPECT_GE(std::chrono::steady_clock::now() - failedAt, 5s);
  EXPECT_FALSE(link.isAutoReconnecting());
  EXPECT_TRUE(echoes());
}

TEST_F(LinkTrouble, TellsThatTheServerRefusesFromTheStartAndGoesOnTrying) {
  DevServerOptions options;
  options.port = RawListener().port();  // free again: nobody listens there
  DevServer late(options);
  start("ws://127.0.0.1:" + std::to_string(options.port));
  ASSERT_TRUE(waitForPosted(QXNotificationDidFailWithError));
  EXPECT_EQ(names(), (Strings{"QXNotificationReachabilityStatusChange",
                              "QXNotificationDidAutoReconnectFailed", "QXNotificationDidFailWithError"}));
  EXPECT_EQ(lastError().at("code").as_int64(), ECONNREFUSED);
  EXPECT_FALSE(lastError().at("description").as_string().empty());
  EXPECT_TRUE(link.isClosed());
  late.start();
  EXPECT_TRUE(waitUntilReopened());
}

TEST_F(LinkTrouble, KeepsOpeningAServerThatNeverAnswersUntilAReconnectReplacesTheSocket) {
  server.faults().setConnectionMode(ConnectionMode::Stall);
  server.start();
  start(server.url());
  ASSERT_TRUE(pumpUntil([&] { return server.counters().tcpAccepted == 1; }));
  send("Early");
  EXPECT_EQ(outcomes, Strings{"Early timeout"});
  EXPECT_FALSE(link.isClosed());
  ASSERT_TRUE(waitForReconnectPause());
  EXPECT_EQ(server.counters().tcpAccepted, 1u) << "the early send's reconnect was ignored";
  EXPECT_FALSE(link.isClosed());
  EXPECT_FALSE(link.isOpen());

  server.faults().setConnectionMode(ConnectionMode::Accept);
  send("Late");
  EXPECT_EQ(outcomes.back(), "Late timeout");
  ASSERT_TRUE(waitUntilOpen());
  EXPECT_EQ(server.counters().tcpAccepted, 2u);
  EXPECT_EQ(names(), (Strings{"QXNotificationReachabilityStatusChange", "QXNotificationDidOpen"}))
      << "nothing is heard of the socket that was replaced";
}

TEST_F(LinkTrouble, TellsThatAServerAnsweredWithAnErrorOfHttp) {
  server.faults().setConnectionMode(ConnectionMode::Reject, 404);
  server.start();
  start(server.url());
  ASSERT_TRUE(waitForPosted(QXNotificationDidFailWithError));
  EXPECT_EQ(lastError().at("domain").as_string(), "OrvWebSocket");
  EXPECT_EQ(lastError().at("code").as_int64(), 2132);
  EXPECT_NE(std::string_view(lastError().at("description").as_string()).find("404"), std::string_view::npos);
  EXPECT_TRUE(link.isClosed());
}

TEST_F(LinkTrouble, TellsThatAServerIsAWebServerOnly) {
  server.faults().setConnectionMode(ConnectionMode::Reject, 200);
  server.start();
  start(server.url());
  ASSERT_TRUE(waitForPosted(QXNotificationDidFailWithError));
  EXPECT_EQ(lastError().at("code").as_int64(), 2133);
  EXPECT_TRUE(link.isClosed());
}

TEST_F(LinkTrouble, TellsThatAServerSpeaksSomethingElse) {
  RawListener listener;
  std::thread peerThread([&] {
    RawPeer peer = listener.accept();
    peer.readRequest();
    peer.send("220 mail.test ESMTP ready\r\n\r\n\x01\x02\x03");
    peer.readEnd();
  });
  start(listener.url());
  EXPECT_TRUE(waitForPosted(QXNotificationDidFailWithError));
  peerThread.join();
  EXPECT_EQ(lastError().at("domain").as_string(), "OrvWebSocket");
  EXPECT_EQ(lastError().at("code").as_int64(), 2133);
  EXPECT_TRUE(link.isClosed());
}

TEST_F(LinkTrouble, LosesAReplyThatIsCutInTheMiddleAndComesBack) {
  server.start();
  bringUpForLong();
  server.faults().cutAfterBytes(20);
  const auto item = send("Dev.Cut");
  ASSERT_TRUE(waitForPosted(QXNotificationDidOpen));
  EXPECT_EQ(names(), (Strings{"QXNotificationDidCloseWithCode", "QXNotificationDidOpen"}));
  EXPECT_TRUE(echoes());
  EXPECT_EQ(outcomes, Strings{"Dev.Echo ok"});
  EXPECT_EQ(link.outstandingRequestCount(), 1u) << "it waits for its time-out";
  ASSERT_TRUE(waitForOutcomes(2));
  EXPECT_EQ(outcomes.back(), "Dev.Cut timeout");
  EXPECT_EQ(link.outstandingRequestCount(), 0u);
}

}  // namespace
}  // namespace orv::link_trouble_test
