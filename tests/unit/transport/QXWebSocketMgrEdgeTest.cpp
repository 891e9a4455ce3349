#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/support/QXFileLog.h>
#include <orvnetwork/testing/ConnectPlan.h>
#include <orvnetwork/transport/QXRequestItem.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <tests/support/LinkFixture.h>

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace orv::qx_web_socket_mgr_edge_test {
namespace {

using testing::ConnectPlan;
using Times = std::vector<double>;

// What the link leaves behind at each turn of its life, and in which order it does things.
class LinkEdge : public LinkFixture {
 protected:
  void refuseAll() { platform.network().setDefaultPlan(ConnectPlan::refuse()); }

  /// Where in the log the first line with this start stands; the number of lines when there is none.
  static std::size_t placeOf(const Strings& lines, std::string_view start) {
    const auto found = std::find_if(lines.begin(), lines.end(),
                                    [start](const std::string& line) { return line.starts_with(start); });
    return static_cast<std::size_t>(found - lines.begin());
  }
};

TEST_F(LinkEdge, AFailureDropsTheSocketAndKeepsTheSpentKeepAliveAndTheConfirmation) {
  link.reconnect();
  settle();
  ASSERT_TRUE(link.isOpen());
  const auto keepAlive = link.timer();
  ASSERT_TRUE(keepAlive);
  server.reset(1);
  settle();
  EXPECT_EQ(link.webSocket(), nullptr);
  EXPECT_EQ(link.timer(), keepAlive);
  EXPECT_FALSE(keepAlive->isValid());
  EXPECT_TRUE(link.connected()) << "only a new attempt or a close takes it back";
  EXPECT_FALSE(link.isOpen());
  EXPECT_TRUE(link.isClosed());
}

TEST_F(LinkEdge, ACloseByThePeerClearsSocketKeepAliveAndConfirmation) {
  bringUp();
  const auto keepAlive = link.timer();
  server.close(1, 1000);
  settle();
  ASSERT_EQ(attempts().size(), 1u) << "the retry falls into the pause, so what the close left is to be seen";
  EXPECT_EQ(link.webSocket(), nullptr);
  EXPECT_EQ(link.timer(), nullptr);
  EXPECT_FALSE(keepAlive->isValid());
  EXPECT_FALSE(link.connected());
  EXPECT_EQ(link.retryTimes(), 1);
}

TEST_F(LinkEdge, AReconnectClearsBothTimers) {
  bringUp();
  runFor(2);
  const auto keepAlive = link.timer();
  ASSERT_TRUE(keepAlive);
  link.reconnect();
  EXPECT_EQ(link.timer(), nullptr);
  EXPECT_FALSE(keepAlive->isValid());
  EXPECT_FALSE(link.connected());

  server.setAnswersPing(false);
  settle();
  runFor(2);
  ASSERT_TRUE(link.connectTimer());
  link.reconnect();
  EXPECT_EQ(link.connectTimer(), nullptr);
}

TEST_F(LinkEdge, TheTimerOfTheFirstPingIsSpentAtOnceAndClearedByPong) {
  server.setAnswersPing(false);
  link.watchNetworkStatus();
  settle();
  ASSERT_TRUE(link.connectTimer());
  EXPECT_EQ(link.connectTimer()->interval(), Seconds(1));
  EXPECT_FALSE(link.connectTimer()->isValid());
  EXPECT_EQ(link.timer(), nullptr);
  server.send(1, "PONG");
  settle();
  EXPECT_EQ(link.connectTimer(), nullptr);
  ASSERT_TRUE(link.timer());
  EXPECT_EQ(link.timer()->interval(), Seconds(30));
  EXPECT_TRUE(link.timer()->isValid());
}

TEST_F(LinkEdge, TheKeepAliveBeginsAfterTheObserversHaveHeardOfTheOpening) {
  bool keepAlive = true;
  const auto token = NotificationCenter::defaultCenter().observe(
      std::string(QXNotificationDidOpen), [&](const Notification&) { keepAlive = link.timer() != nullptr; });
  link.watchNetworkStatus();
  settle();
  EXPECT_FALSE(keepAlive);
  EXPECT_TRUE(link.timer());
}

TEST_F(LinkEdge, ACloseOnPurposeLeavesAnArmedRetryAlone) {
  refuseAll();
  link.watchNetworkStatus();
  runFor(1);
  link.close();
  runFor(5);
  EXPECT_EQ(attempts(), (Times{0, 5}));
}

TEST_F(LinkEdge, ArmsTheFiveSecondRetryAfterItsNotification) {
  refuseAll();
  const auto token = NotificationCenter::defaultCenter().observe(
      std::string(QXNotificationDidFailWithError), [&](const Notification&) { link.stopAutoReconnect(); });
  link.watchNetworkStatus();
  runFor(5);
  EXPECT_EQ(attempts(), (Times{0, 5})) << "there was nothing to stop yet";
}

TEST_F(LinkEdge, ACloseBeforeTheLinkEverOpenedEndsTheFirstConnect) {
  platform.network().planConnect(ConnectPlan::endOfStream(Seconds(2)));
  platform.network().planConnect(ConnectPlan::refuse());
  link.reconnect();
  runFor(3);
  EXPECT_EQ(attempts(), (Times{0, 2}));
  EXPECT_EQ(names(), Strings{std::string(QXNotificationDidCloseWithCode)})
      << "the failure that follows is not one before any connection";
}

TEST_F(LinkEdge, AFirstReportOfNoNetworkClosesTheLinkThatThereIsNot) {
  platform.reachability().setStatus(ReachabilityStatus::NotReachable);
  link.watchNetworkStatus();
  settle();
  EXPECT_EQ(names(), (Strings{std::string(QXNotificationReachabilityStatusChange),
                              std::string(QXNotificationDidAutoReconnectFailed)}));
  EXPECT_EQ(logLines(),
            (Strings{"Network status change: 0", "Network is broken, close socket", "WebSocket closing"}));
  EXPECT_EQ(attempts(), Times{});
}

TEST_F(LinkEdge, LogsTheCodeOfAPushThatIsDropped) {
  bringUp();
  server.push(1, "User.OtherDevice.Login", {{"ret", 3}});
  settle();
  EXPECT_EQ(countLoggedStart("请求异常 User.OtherDevice.Login {"), 1u);
  EXPECT_EQ(names(), Strings{});
}

TEST_F(LinkEdge, LogsATimeoutBeforeItsCallback) {
  bringUp();
  link.sendRequestItem(QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock(
      "a", json::object(), nullptr, [](const auto&) { QXFileLog::standard().log("the callback"); }));
  runFor(10);
  const auto lines = logLines();
  ASSERT_LT(placeOf(lines, "the callback"), lines.size());
  EXPECT_LT(placeOf(lines, "#WebSocketWithBlock# TIMEOUT "), placeOf(lines, "the callback"));
}

TEST_F(LinkEdge, LogsAndReconnectsBeforeTheCallbackOfARequestOnAClosedLink) {
  std::size_t attemptsInside = 0;
  link.sendRequestItem(QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock(
      "a", json::object(), nullptr, [&](const auto&) {
        attemptsInside = attempts().size();
        QXFileLog::standard().log("the callback");
      }));
  EXPECT_EQ(attemptsInside, 1u);
  const auto lines = logLines();
  ASSERT_LT(placeOf(lines, "the callback"), lines.size());
  EXPECT_LT(placeOf(lines, "WebSocket is closed, ignore sendRequestItem:a"), placeOf(lines, "the callback"));
}

TEST_F(LinkEdge, LogsWhatIsAbsentAsNull) {
  link.sendRequestItem(QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock(
      std::nullopt, std::nullopt, nullptr, nullptr));
  settle();
  EXPECT_EQ(countLogged("WebSocket is closed, ignore sendRequestItem:(null)"), 1u);
  ASSERT_TRUE(link.isOpen());
  link.sendRequestItem(QXRequestItem::initWithTimeStamp_command_jsonString_completeBlock_timeoutBlock(
      5, "a", std::nullopt, nullptr, nullptr));
  runFor(10);
  EXPECT_EQ(countLogged("#WebSocketWithBlock# TIMEOUT 5"), 1u);
  EXPECT_EQ(countLogged("(null)"), 1u);
}

TEST(LinkOffTheMainThread, ARequestOnAClosedLinkTimesOutOnTheCallersThread) {
  MainQueue::instance().claim();
  std::thread::id ranOn;
  std::thread::id caller;
  std::thread thread([&] {
    caller = std::this_thread::get_id();
    QXWebSocketMgr::standard().sendRequestItem(
        QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock(
            "a", json::object(), nullptr, [&](const auto&) { ranOn = std::this_thread::get_id(); }));
    EXPECT_EQ(ranOn, caller) << "before the call returns";
  });
  thread.join();
  EXPECT_EQ(ranOn, caller);
  EXPECT_NE(ranOn, std::this_thread::get_id());
}

}  // namespace
}  // namespace orv::qx_web_socket_mgr_edge_test
