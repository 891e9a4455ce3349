// What puts a link that is up into doubt, and what the supervisor does about it: a report of the network, and requests
// that time out in a row.

#include <orvnetwork/client/LinkStatus.h>
#include <orvnetwork/transport/QXRequestItem.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include "SupervisorFixture.h"

#include <cstddef>
#include <cstdint>

namespace orv::link_doubt_test {
namespace {

class LinkInDoubt : public SupervisorFixture {
 protected:
  void reportNetwork() {
    platform.reachability().report(ReachabilityStatus::WiFi);
    settle();
  }
  std::size_t pings() const { return server.countFrames("PING"); }
  static std::uint64_t sent() { return QXWebSocketMgr::standard().statistics().link.sent.frames; }
  /// Makes a request that nobody answers.
  void ask() {
    QXWebSocketMgr::standard().sendRequestItem(
        QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock(
            "Course.Get.Info", json::object(), nullptr, [this](const auto&) { sentAtTimeout = sent(); }));
    settle();
  }
  /// The link, which nothing has happened to, is up for so many seconds from now and not any more then.
  void expectToBeGivenUpAfter(double seconds) {
    runFor(seconds - 0.1);
    EXPECT_TRUE(changes.empty()) << history();
    EXPECT_TRUE(link().isUp());
    runFor(0.2);
    EXPECT_EQ(told(), Strings{"confirming noAnswer"});
  }
  void push() {
    server.push(server.latest(), "Rooms.Push.Message", {});
    settle();
  }

  std::uint64_t sentAtTimeout = 0;
};

TEST_F(LinkInDoubt, IsReplacedSoonAfterAReportOfTheNetworkThatItDoesNotOutlive) {
  bringUp();
  runFor(50);
  waitLong(1);
  server.setSilent(1);
  reportNetwork();
  expectToBeGivenUpAfter(10);
  runFor(11.5);
  expectTimes(attempts(), {0, 60 + 11.5});
  EXPECT_TRUE(link().isUp());
  EXPECT_EQ(link().snapshot().starter, LinkStarter::Supervisor);
}

TEST_F(LinkInDoubt, GetsItsWholeTimeToAnswer) {
  bringUp();
  platform.network().setLatency(Seconds(0), Seconds(9.8));
  runFor(29);
  reportNetwork();
  runFor(9.7);
  EXPECT_TRUE(link().isUp());
  runFor(1);
  EXPECT_TRUE(changes.empty()) << history();
}

TEST_F(LinkInDoubt, IsAskedOnceForEachReportThatItHasAnsweredTheLastOneOf) {
  bringUp();
  runFor(40);
  const std::size_t before = pings();
  for (int i = 0; i < 3; ++i) {
    reportNetwork();
    EXPECT_EQ(pings(), before + 1 + static_cast<std::size_t>(i));
  }
  server.setSilent(1);
  for (int i = 0; i < 3; ++i) reportNetwork();
  EXPECT_EQ(pings(), before + 4) << "there is no second question before the first is answered";
  EXPECT_TRUE(link().isUp());
}

TEST_F(LinkInDoubt, HasTheUsualPatienceAgainOnceItHasAnswered) {
  bringUp();
  runFor(40);
  reportNetwork();
  server.setSilent(1);
  expectToBeGivenUpAfter(45);
}

TEST_F(LinkInDoubt, GetsNoMoreTimeByAnotherReport) {
  bringUp();
  runFor(100);
  server.setSilent(1);
  reportNetwork();
  runFor(6);
  reportNetwork();
  expectToBeGivenUpAfter(4);
}

TEST_F(LinkInDoubt, ThatIsSilentForLongIsNotWaitedForAnew) {
  bringUp();
  runFor(100);
  server.setSilent(1);  // "PING" was answered at 90 s
  runFor(30);
  reportNetwork();
  expectToBeGivenUpAfter(5);
}

TEST_F(LinkInDoubt, IsWaitedForNoLongerWhereTheUsualPatienceIsHalfOver) {
  bringUp();
  runFor(100);
  server.setSilent(1);
  runFor(21);  // the last part of the usual patience would begin at 125 s
  reportNetwork();
  expectToBeGivenUpAfter(10);
}

TEST_F(LinkInDoubt, IsNotAskedWhereTheNetworkIsGone) {
  bringUp();
  runFor(50);
  const std::size_t before = pings();
  platform.reachability().report(ReachabilityStatus::NotReachable);
  settle();
  EXPECT_EQ(pings(), before);
  EXPECT_EQ(state(), LinkState::Offline);
}

TEST_F(LinkInDoubt, IsNotAskedWhereItsSilenceIsNotedAlready) {
  bringUp();
  waitLong(1);
  server.setSilent(1);
  runFor(46);
  ASSERT_EQ(state(), LinkState::Confirming);
  const std::size_t before = pings();
  reportNetwork();
  EXPECT_EQ(pings(), before);
  runFor(10.6);
  expectTimes(attempts(), {0, 45 + 11.5});
}

TEST_F(LinkInDoubt, DoesNotSufferFromABusyMainThread) {
  bringUp();
  platform.network().setLatency(Seconds(0.05), Seconds(0.05));
  for (const double busy : {1.0, 4.5, 9.99, 10.01, 14.9, 16.0, 29.0}) {
    for (const double free : {0.0, 0.2}) {
      platform.reachability().report(ReachabilityStatus::WiFi);
      runFor(free);
      platform.stall(Seconds(busy));
      runFor(20);
      ASSERT_TRUE(changes.empty()) << busy << " s after " << free << "\n" << history();
    }
  }
  // Nor does one that is dead get all of the usual patience for it.
  server.setSilent(1);
  reportNetwork();
  platform.stall(Seconds(60));
  runFor(10.1);
  EXPECT_EQ(told(), Strings{"confirming noAnswer"}) << history();
}

TEST_F(LinkInDoubt, IsLeftAloneByASupervisorThatIsSwitchedOff) {
  bringUp(unsupervised());
  runFor(40);
  server.setSilent(1);
  const std::size_t before = pings();
  reportNetwork();
  ask();
  ask();
  runFor(19);
  EXPECT_EQ(pings(), before);
  EXPECT_TRUE(link().isUp());
}

TEST_F(LinkInDoubt, IsAskedWhenTwoRequestsHaveTimedOut) {
  bringUp();
  runFor(31);
  server.setSilent(1);
  ask();
  runFor(2);
  ask();
  const std::size_t before = pings();
  runFor(9);
  EXPECT_EQ(pings(), before) << "one alone says nothing";
  runFor(1.1);
  EXPECT_EQ(pings(), before + 1);
  EXPECT_EQ(sentAtTimeout, before + 3) << "both requests, and the question, before the host is told";
  ask();
  ask();
  runFor(9.8);
  EXPECT_TRUE(link().isUp());
  EXPECT_EQ(pings(), before + 1) << "the keep-alive is not due before 60 s";
  waitLong(1);
  runFor(0.2);
  EXPECT_EQ(told(), Strings{"confirming noAnswer"});
  runFor(11.5);
  expectTimes(attempts(), {0, 31 + 22 + 11.5});
}

TEST_F(LinkInDoubt, BeginsARowOfTimeoutsAnewWithEachMessage) {
  bringUp();
  runFor(31);
  const std::size_t before = pings();
  for (int i = 0; i < 5; ++i) {
    ask();
    runFor(2);
  }
  // The time-outs come at 41, 43, 45, 47 and 49 s, and a message behind each of them.
  runFor(1);
  for (int i = 0; i < 5; ++i) {
    push();
    runFor(2);
  }
  EXPECT_EQ(QXWebSocketMgr::standard().statistics().link.timeouts, 5u);
  EXPECT_EQ(pings(), before);
}

TEST_F(LinkInDoubt, CountsTheTimeoutsBehindTheLastMessage) {
  bringUp();
  runFor(31);
  const std::size_t before = pings();
  ask();
  ask();
  runFor(9);
  push();
  runFor(1.1);
  EXPECT_EQ(pings(), before + 1);
}

TEST_F(LinkInDoubt, BeginsARowOfTimeoutsAnewWhenItHasAnswered) {
  bringUp();
  runFor(31);
  const std::size_t before = pings();
  ask();
  ask();
  runFor(10.1);
  EXPECT_EQ(pings(), before + 1);
  ask();
  runFor(10.1);
  EXPECT_EQ(pings(), before + 1);
  EXPECT_TRUE(changes.empty()) << history();
}

TEST_F(LinkInDoubt, DoesNotCountTheTimeoutsOfAnotherClientsTime) {
  bringUp(unsupervised());
  ask();
  ask();
  runFor(11);
  client.reset();
  QXWebSocketMgr::standard().watchNetworkStatus();
  settle();
  ASSERT_TRUE(QXWebSocketMgr::standard().isOpen());
  const std::size_t before = pings();
  platform.reachability().withholdFirstReport(true);
  start();
  settle();
  EXPECT_EQ(pings(), before);
}

}  // namespace
}  // namespace orv::link_doubt_test
