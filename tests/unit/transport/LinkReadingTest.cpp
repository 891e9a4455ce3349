#include <orvnetwork/testing/ConnectPlan.h>
#include <orvnetwork/transport/LinkReading.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <tests/support/LinkFixture.h>

#include <optional>
#include <string>
#include <vector>

namespace orv::link_reading_test {
namespace {

using testing::ConnectPlan;

class LinkReadings : public LinkFixture {
 protected:
  /// Where the link is, as the reading tells it.
  static std::string words(const LinkReading& reading) {
    if (reading.isUp()) return "up";
    if (reading.socket == WebSocketState::Open) return "confirming";
    if (reading.socket == WebSocketState::Connecting) return "connecting";
    if (reading.isOffline()) return "offline";
    if (reading.retryAt) return "waiting";
    return reading.isWanted ? "stalled" : "closed";
  }
  /// Writes down how the link stands after each change, without repetitions.
  void watch() {
    link.watch([this] {
      EXPECT_TRUE(platform.mainQueue().isCurrent());
      ++calls;
      retryAsTold = link.reading().retryAt;
      const auto now = words(link.reading());
      if (seen.empty() || seen.back() != now) seen.push_back(now);
    });
  }
  double secondsOf(const std::optional<SteadyTime>& moment) const {
    return Seconds(moment.value() - first_).count();
  }

  int calls = 0;
  std::optional<SteadyTime> retryAsTold;
  Strings seen;

 private:
  const SteadyTime first_ = platform.clock().steadyNow();
};

TEST_F(LinkReadings, BeginWithNothing) {
  const LinkReading reading = link.reading();
  EXPECT_EQ(words(reading), "closed");
  EXPECT_EQ(reading.socket, std::nullopt);
  EXPECT_EQ(reading.network, std::nullopt);
  EXPECT_EQ(reading.attempts, 0u);
  EXPECT_EQ(reading.attemptedAt, std::nullopt);
  EXPECT_FALSE(reading.isOffline()) << "nobody knows yet";
}

TEST_F(LinkReadings, FollowALinkThroughItsLife) {
  watch();
  link.watchNetworkStatus();
  settle();
  EXPECT_EQ(seen, (Strings{"connecting", "confirming", "up"}));
  runFor(10);
  seen.clear();
  platform.network().setDefaultPlan(ConnectPlan::refuse(Seconds(1.6)));
  server.reset(1);
  settle();
  EXPECT_EQ(seen, Strings{"connecting"});
  EXPECT_EQ(link.reading().failures, 1u);
  EXPECT_EQ(link.reading().failure->trouble, LinkTrouble::Lost);
  runFor(1.6);
  EXPECT_EQ(seen, (Strings{"connecting", "waiting"}));
  EXPECT_EQ(secondsOf(link.reading().retryAt), 16.6);
  EXPECT_EQ(secondsOf(link.reading().attemptedAt), 10);
  EXPECT_EQ(link.reading().attempts, 2u);
  platform.reachability().report(ReachabilityStatus::NotReachable);
  settle();
  EXPECT_EQ(seen, (Strings{"connecting", "waiting", "offline"}));
  EXPECT_EQ(link.reading().retryAt, std::nullopt);
}

TEST_F(LinkReadings, TellAStallAndThatATimerIsSpent) {
  bringUp();
  watch();
  server.reset(1);
  settle();
  EXPECT_EQ(seen, Strings{"stalled"});
  // A timer whose attempt comes too soon brings nothing any more.
  runFor(10);
  platform.network().setDefaultPlan(ConnectPlan::refuse());
  link.reconnect();
  settle();
  EXPECT_EQ(secondsOf(link.reading().retryAt), 15);
  runFor(4);
  platform.network().setDefaultPlan(ConnectPlan::neverAnswer());
  link.reconnect();
  seen.clear();
  runFor(1.1);
  EXPECT_EQ(link.reading().retryAt, std::nullopt);
  EXPECT_EQ(retryAsTold, std::nullopt) << "told while the timer's action runs";
}

TEST_F(LinkReadings, TellWhetherALinkIsWanted) {
  bringUp();
  runFor(10);
  watch();
  link.close();
  EXPECT_EQ(seen, Strings{"closed"});
  link.reconnect();
  EXPECT_EQ(seen, (Strings{"closed", "connecting"}));
  link.close();
  link.reconnect();
  EXPECT_EQ(seen, (Strings{"closed", "connecting", "closed", "stalled"})) << "too soon, but wanted";
}

TEST_F(LinkReadings, CountMessagesAndTellOfEachConfirmation) {
  bringUp();
  watch();
  const auto before = link.reading().messages;
  server.send(1, "{}");
  server.send(1, "anything");
  settle();
  EXPECT_EQ(link.reading().messages, before + 2);
  EXPECT_EQ(calls, 0) << "a message by itself is no change";
  server.send(1, "PONG");
  settle();
  EXPECT_EQ(calls, 1);
}

TEST_F(LinkReadings, CountTimeoutsAndTellOfEachBeforeItsCallback) {
  bringUp();
  std::vector<std::size_t> toldBefore;
  link.watch([&] {
    if (link.reading().timeouts > toldBefore.size()) toldBefore.push_back(outcomes.size());
  });
  send("a");
  runFor(1);
  send("b");
  runFor(8.9);
  EXPECT_EQ(link.reading().timeouts, 0u);
  runFor(5);
  EXPECT_EQ(outcomes, (Strings{"a timeout", "b timeout"}));
  EXPECT_EQ(link.reading().timeouts, 2u);
  EXPECT_EQ(toldBefore, (std::vector<std::size_t>{0, 1}));
}

TEST_F(LinkReadings, TellOfAChangeOnAnotherThreadOnTheMainThread) {
  bringUp();
  runFor(10);
  watch();
  platform.globalQueue().post([this] { link.reconnect(); });
  settle();
  EXPECT_EQ(seen, (Strings{"connecting", "confirming", "up"}));
}

TEST_F(LinkReadings, EndWithTheirWatcher) {
  watch();
  link.watch({});
  bringUp();
  EXPECT_EQ(calls, 0);
}

TEST_F(LinkReadings, SurviveAWatcherThatThrows) {
  link.watch([] { throw 7; });
  bringUp();
  EXPECT_TRUE(link.isOpen());
}

using ClosedForGood = LinkReadings;

TEST_F(ClosedForGood, OpensForNobodyUntilTheNetworkIsWatchedAgain) {
  bringUp();
  runFor(10);
  link.closeForGood();
  EXPECT_FALSE(platform.reachability().isMonitoring());
  platform.reachability().report(ReachabilityStatus::WiFi);
  link.reconnect();
  link.autoReconnect();
  send("a");
  runFor(1000);
  EXPECT_EQ(attempts(), std::vector<double>{0});
  EXPECT_EQ(outcomes, Strings{"a timeout"});
  EXPECT_FALSE(link.isNetworkEnable());
  EXPECT_EQ(platform.nextDueIn(), std::nullopt);
  link.watchNetworkStatus();
  settle();
  EXPECT_TRUE(link.isOpen());
  EXPECT_EQ(link.retryTimes(), 0);
}

TEST_F(ClosedForGood, BeginsItsScheduleAnew) {
  link.closeForGood();
  for (int i = 0; i < 3; ++i) link.autoReconnect();
  platform.network().setDefaultPlan(ConnectPlan::refuse());
  link.watchNetworkStatus();
  settle();
  EXPECT_EQ(link.retryTimes(), 1);
  EXPECT_EQ(secondsOf(link.reading().retryAt), 5);
}

TEST_F(ClosedForGood, ForgetsThePauseAndTheFailure) {
  platform.network().setDefaultPlan(ConnectPlan::refuse());
  link.watchNetworkStatus();
  settle();
  EXPECT_TRUE(link.linkFailure());
  link.closeForGood();
  EXPECT_EQ(link.linkFailure(), std::nullopt);
  platform.network().setDefaultPlan(ConnectPlan::accept());
  link.watchNetworkStatus();
  settle();
  EXPECT_TRUE(link.isOpen());
}

}  // namespace
}  // namespace orv::link_reading_test
