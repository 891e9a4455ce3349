#include <orvnetwork/client/LinkStatus.h>
#include <orvnetwork/testing/ConnectPlan.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include "SupervisorFixture.h"

#include <optional>

namespace orv::link_status_try_now_test {
namespace {

using testing::ConnectPlan;
using Canary = SupervisorFixture;

TEST_F(Canary, DoesNothingWhileTheLinkIsUp) {
  bringUp();
  runFor(20);
  link().tryNow();
  settle();
  EXPECT_EQ(attempts(), Times{0});
  EXPECT_TRUE(changes.empty());
}

TEST_F(Canary, IsOneAttemptThatLeavesTheScheduleWhereItWas) {
  planAll(ConnectPlan::refuse());
  start();
  runFor(30);
  link().tryNow();
  settle();
  EXPECT_EQ(link().snapshot().starter, LinkStarter::Person);
  EXPECT_EQ(attempts(), (Times{0, 5, 20, 30}));
  EXPECT_EQ(QXWebSocketMgr::standard().retryTimes(), 3);
  runFor(120);
  EXPECT_EQ(attempts(), (Times{0, 5, 20, 30, 60, 90, 120, 150})) << "30 s after it, as after any other";
}

TEST_F(Canary, ResetsNoBackOff) {
  planAll(ConnectPlan::endOfStream());
  waitLong(5);
  start();
  runFor(12);
  expectTimes(attempts(), {0, 11.5});
  link().tryNow();  // 0.5 s after the last one
  EXPECT_EQ(attempts().size(), 2u);
  runFor(1.1);
  expectTimes(attempts(), {0, 11.5, 13.001});
  settle();
  EXPECT_NEAR(secondsOf(link().snapshot().until.value()), 13.001 + 21.5, 1e-6) << "the second width";
}

TEST_F(Canary, WaitsForTheLinksOwnPause) {
  bringUp(unsupervised());
  runFor(1);
  server.reset(1);
  settle();
  EXPECT_EQ(link().snapshot().until, std::nullopt);
  link().tryNow();
  link().tryNow();
  EXPECT_NEAR(secondsOf(link().snapshot().until.value()), 1.501, 1e-6);
  runFor(0.6);
  EXPECT_TRUE(link().isUp());
  expectTimes(attempts(), {0, 1.501});
}

TEST_F(Canary, PlansNothingBesideAnAttemptThatIsYoung) {
  planAll(ConnectPlan::accept(Seconds(3)));
  start();
  runFor(0.5);
  ASSERT_EQ(state(), LinkState::Connecting);
  link().tryNow();
  EXPECT_EQ(link().snapshot().until, std::nullopt);
  runFor(3);
  EXPECT_TRUE(link().isUp());
  EXPECT_EQ(attempts(), Times{0});
}

TEST_F(Canary, IsGoneWithItsClient) {
  bringUp(unsupervised());
  server.reset(1);
  settle();
  link().tryNow();
  link().tryNow();
  client.reset();
  settle();
  EXPECT_EQ(platform.nextDueIn(), std::nullopt);
  runFor(10);
  EXPECT_EQ(attempts(), Times{0});
}

TEST_F(Canary, IsWithdrawnByAnotherAttempt) {
  bringUp(unsupervised());
  server.reset(1);
  settle();
  link().tryNow();
  platform.network().setDefaultPlan(ConnectPlan::accept(Seconds(5)));
  // 1 ms before the canary somebody else is quicker.
  runFor(1.5005);
  QXWebSocketMgr::standard().reconnect();
  EXPECT_EQ(link().snapshot().until, std::nullopt);
  runFor(5.1);
  EXPECT_TRUE(link().isUp());
  EXPECT_EQ(link().snapshot().starter, LinkStarter::Link);
  expectTimes(attempts(), {0, 1.5005});
}

TEST_F(Canary, GivesUpAnAttemptThatHangs) {
  planAll(ConnectPlan::neverAnswer());
  start();
  runFor(1);
  link().tryNow();
  EXPECT_EQ(attempts(), Times{0}) << "one has just begun";
  runFor(19);
  planAll(ConnectPlan::accept());
  link().tryNow();
  settle();
  EXPECT_TRUE(link().isUp());
  EXPECT_EQ(attempts(), (Times{0, 20}));
}

TEST_F(Canary, TriesWithoutANetworkToo) {
  platform.reachability().setStatus(ReachabilityStatus::NotReachable);
  planAll(ConnectPlan::refuse(Seconds(1)));
  start();
  runFor(100);
  EXPECT_EQ(state(), LinkState::Offline);
  link().tryNow();
  EXPECT_EQ(state(), LinkState::Connecting);
  runFor(100);
  EXPECT_EQ(state(), LinkState::Offline);
  EXPECT_EQ(attempts(), Times{100});
}

TEST_F(Canary, AReportOfTheNetworkResetsNothing) {
  planAll(ConnectPlan::endOfStream());
  waitLong(5);
  start();
  runFor(20);
  expectTimes(attempts(), {0, 11.5});
  platform.reachability().report(ReachabilityStatus::WiFi);
  settle();
  expectTimes(attempts(), {0, 11.5, 20});
  EXPECT_NEAR(secondsOf(link().snapshot().until.value()), 20 + 21.5, 1e-6);
}

}  // namespace
}  // namespace orv::link_status_try_now_test
