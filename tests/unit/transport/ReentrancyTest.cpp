#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/transport/QXRequestItem.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <tests/support/LinkFixture.h>

#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

namespace orv::reentrancy_test {
namespace {

// What callbacks and observers of a host may do from inside.
class Reentrancy : public LinkFixture {
 protected:
  std::shared_ptr<QXRequestItem> itemThat(std::function<void()> completes,
                                          std::function<void()> timesOut = {}) {
    return QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock(
        "outer", json::object(), [completes](const auto&, bool, const auto&) { completes(); },
        [timesOut](const auto&) {
          if (timesOut) timesOut();
        });
  }
  void complete(const std::shared_ptr<QXRequestItem>& item) {
    link.sendRequestItem(item);
    settle();
    answer(item, {{"ret", 0}});
    settle();
  }
};

TEST_F(Reentrancy, ACallbackMaySendAgain) {
  bringUp();
  answerAll({{"ret", 0}});
  complete(itemThat([&] { send("inner"); }));
  EXPECT_EQ(outcomes, Strings{"inner ok"});
}

TEST_F(Reentrancy, WhatACallbackSendsGoesOutAfterItHasReturned) {
  bringUp();
  std::size_t framesInside = 0;
  std::size_t outstandingInside = 0;
  complete(itemThat([&] {
    send("inner");
    platform.mainQueue().drain();
    framesInside = server.requests("inner").size();
    outstandingInside = link.outstandingRequestCount();
  }));
  EXPECT_EQ(framesInside, 0u);
  EXPECT_EQ(outstandingInside, 1u) << "only the request whose callback runs";
  EXPECT_EQ(server.requests("inner").size(), 1u);
}

TEST_F(Reentrancy, ARequestSentJustBeforeACloseInACallbackTimesOut) {
  bringUp();
  complete(itemThat([&] {
    send("inner");
    link.close();
  }));
  EXPECT_EQ(server.requests("inner").size(), 0u);
  EXPECT_EQ(countLogged("send failed, websocket is not opening!"), 1u);
  EXPECT_EQ(outcomes, Strings{});
  runFor(10);
  EXPECT_EQ(outcomes, Strings{"inner timeout"});
}

TEST_F(Reentrancy, ACallbackMaySendItsOwnItemAgain) {
  bringUp();
  std::shared_ptr<QXRequestItem> item;
  int completed = 0;
  item = itemThat([&] {
    if (++completed == 1) link.sendRequestItem(item);
  });
  complete(item);
  EXPECT_EQ(link.outstandingRequestCount(), 1u);
  answer(item, {{"ret", 0}});
  settle();
  EXPECT_EQ(completed, 2);
  EXPECT_EQ(link.outstandingRequestCount(), 0u);
  item->completeBlock = nullptr;
}

TEST_F(Reentrancy, ATimeoutCallbackMaySendAgain) {
  bringUp();
  answerAll({{"ret", 0}});
  server.faultNextReply(testing::ReplyFault::drop());
  link.sendRequestItem(itemThat([] {}, [&] { send("again"); }));
  runFor(11);
  EXPECT_EQ(outcomes, Strings{"again ok"});
}

TEST_F(Reentrancy, AnImmediateTimeoutCallbackMaySendAgainWithoutEnd) {
  int calls = 0;
  std::function<void()> again = [&] {
    if (++calls < 100) link.sendRequestItem(itemThat([] {}, again));
  };
  again();
  EXPECT_EQ(calls, 100);
  settle();
  EXPECT_TRUE(link.isOpen());
}

TEST_F(Reentrancy, ACallbackThatThrowsDoesNoHarm) {
  bringUp();
  complete(itemThat([] { throw std::runtime_error("planted"); }));
  EXPECT_EQ(link.outstandingRequestCount(), 0u);
  link.sendRequestItem(itemThat([] {}, [] { throw 5; }));
  runFor(11);
  EXPECT_EQ(link.outstandingRequestCount(), 0u);
  link.close();
  runFor(2);
  link.sendRequestItem(itemThat([] {}, [] { throw std::runtime_error("planted"); }));
  settle();
  EXPECT_TRUE(link.isOpen());
  int told = 0;
  for (const auto& line : console) told += line.find("callback") != std::string::npos ? 1 : 0;
  EXPECT_EQ(told, 3);
}

TEST_F(Reentrancy, ASlowCallbackHoldsUpTheTableButNotPushesAndKeepAlive) {
  bringUp();
  const auto second = makeItem("second");
  std::size_t pushes = 0;
  std::size_t pings = 0;
  Strings outcomesInside;
  const auto slow = itemThat([&] {
    answer(second, {{"ret", 0}});
    server.push(1, "Rooms.Push.Message", json::object());
    runFor(35);  // the callback runs the host's loop
    pushes = count(QXNotificationPushOrvMessage);
    pings = server.countFrames("PING");
    outcomesInside = outcomes;
  });
  link.sendRequestItem(slow);
  link.sendRequestItem(second);
  settle();
  answer(slow, {{"ret", 0}});
  settle();
  EXPECT_EQ(pushes, 1u);
  EXPECT_EQ(pings, 1u);
  EXPECT_EQ(outcomesInside, Strings{}) << "the table stood still";
  EXPECT_EQ(outcomes.size(), 1u);
}

TEST_F(Reentrancy, ATimeoutStartsWhenASlowCallbackLetsGoOfTheTable) {
  bringUp();
  complete(itemThat([&] {
    send("inner");
    runFor(8);
  }));
  runFor(9.9);
  EXPECT_EQ(outcomes, Strings{});
  runFor(0.2);
  EXPECT_EQ(outcomes, Strings{"inner timeout"});
}

TEST_F(Reentrancy, AnObserverMaySendWhenTheLinkOpens) {
  answerAll({{"ret", 0}});
  const auto token = NotificationCenter::defaultCenter().observe(std::string(QXNotificationDidOpen),
                                                                 [&](const Notification&) { send("hello"); });
  link.watchNetworkStatus();
  settle();
  EXPECT_EQ(outcomes, Strings{"hello ok"});
}

TEST_F(Reentrancy, AnObserverMayCloseTheLinkWhenItOpens) {
  const auto token = NotificationCenter::defaultCenter().observe(std::string(QXNotificationDidOpen),
                                                                 [&](const Notification&) { link.close(); });
  link.watchNetworkStatus();
  runFor(100);
  EXPECT_TRUE(link.isClosed());
  EXPECT_EQ(server.countFrames("PING"), 1u);
  EXPECT_EQ(attempts().size(), 1u);
}

TEST_F(Reentrancy, AnObserverMayReconnectCloseAndThrowAtEveryNotification) {
  const auto token = NotificationCenter::defaultCenter().observe(std::nullopt, [&](const Notification&) {
    link.close();
    link.reconnect();
    send("x");
    throw std::runtime_error("planted");
  });
  link.watchNetworkStatus();
  runFor(300);
  EXPECT_EQ(link.outstandingRequestCount(), 0u);
  EXPECT_LE(platform.network().liveSockets(), 2u) << "sockets must not pile up";
}

}  // namespace
}  // namespace orv::reentrancy_test
