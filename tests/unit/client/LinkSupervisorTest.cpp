#include <orvnetwork/client/LinkStatus.h>
#include <orvnetwork/client/detail/LinkSupervisor.h>
#include <orvnetwork/testing/ConnectPlan.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include "SupervisorFixture.h"

#include <cmath>
#include <optional>

namespace orv::link_supervisor_test {
namespace {

using testing::ConnectPlan;
using Supervisor = SupervisorFixture;

TEST_F(Supervisor, StartsAnAttemptWhereALinkIsLostWithinOneAndAHalfSeconds) {
  bringUp();
  waitLong(1);
  runFor(1.4);
  server.reset(1);
  settle();
  EXPECT_EQ(told(), Strings{"waiting lost"});
  EXPECT_NEAR(secondsOf(link().snapshot().until.value()), 1.4 + 11.5, 1e-6);
  EXPECT_TRUE(link().willRetry());
  runFor(11.4);
  EXPECT_EQ(attempts(), Times{0});
  runFor(0.2);
  EXPECT_TRUE(link().isUp());
  expectTimes(attempts(), {0, 12.9});
  EXPECT_EQ(link().snapshot().starter, LinkStarter::Supervisor);
}

TEST_F(Supervisor, WaitsAsLongAsTheLinksOwnPauseAtLeast) {
  bringUp();
  waitShort(1);
  server.reset(1);
  runFor(1.4999);
  EXPECT_EQ(attempts(), Times{0});
  runFor(0.1);
  EXPECT_EQ(attempts().size(), 2u);
  EXPECT_TRUE(link().isUp());
}

TEST_F(Supervisor, WidensItsWaitsUpToAMinute) {
  planAll(ConnectPlan::endOfStream());
  waitLong(5);
  start();
  // The first report of the network withdraws the wait that was drawn at the start.
  runFor(11.6);
  EXPECT_EQ(attempts().size(), 2u);
  runFor(21.5 + 41.5 + 61.5);
  waitLong(3);
  expectTimes(attempts(), {0, 11.5, 33, 74.5, 136});
  EXPECT_EQ(LinkSupervisor::spread(0), Seconds(10));
  EXPECT_EQ(LinkSupervisor::spread(1), Seconds(20));
  EXPECT_EQ(LinkSupervisor::spread(2), Seconds(40));
  EXPECT_EQ(LinkSupervisor::spread(3), Seconds(60));
  EXPECT_EQ(LinkSupervisor::spread(1'000'000'000'000), Seconds(60));
}

TEST_F(Supervisor, BeginsAnewOnlyAfterALinkThatLasted) {
  bringUp();
  waitLong(8);
  server.reset(1);
  runFor(11.6);  // an attempt of the supervisor's, which is followed by wider waits
  ASSERT_TRUE(link().isUp());
  server.reset(2);
  settle();
  EXPECT_NEAR(Seconds(link().snapshot().until.value() - link().snapshot().since).count(), 21.5, 1e-6)
      << "up for a moment only";
  runFor(21.5);
  ASSERT_TRUE(link().isUp());
  runFor(10);
  server.reset(3);
  settle();
  ASSERT_TRUE(link().isUp()) << "an attempt of the link by itself";
  server.reset(4);
  settle();
  EXPECT_NEAR(Seconds(link().snapshot().until.value() - link().snapshot().since).count(), 11.5, 1e-6);
}

TEST_F(Supervisor, LeavesTheScheduleAlone) {
  planAll(ConnectPlan::refuse());
  start();
  runFor(140.5);
  EXPECT_EQ(attempts(), (Times{0, 5, 20, 50, 80, 110, 140}));
  for (const auto& change : changes) EXPECT_NE(change.now.starter, LinkStarter::Supervisor);
}

TEST_F(Supervisor, LeavesAnAttemptAlone) {
  planAll(ConnectPlan::neverAnswer());
  start();
  runFor(59);
  EXPECT_EQ(attempts(), Times{0});
  runFor(100);
  EXPECT_EQ(attempts(), (Times{0, 65, 140})) << "60 s for each, then the schedule";
}

TEST_F(Supervisor, ReplacesALinkThatIsNeverConfirmed) {
  server.setAnswersPing(false);
  waitLong(3);
  start();
  runFor(9.9);
  EXPECT_EQ(told(), (Strings{"waiting", "connecting", "confirming"})) << "young";
  runFor(0.2);
  EXPECT_EQ(state(), LinkState::Confirming);
  EXPECT_EQ(trouble(), "unconfirmed");
  EXPECT_EQ(told().back(), "confirming unconfirmed");
  runFor(11.5);
  EXPECT_EQ(state(), LinkState::Confirming);
  expectTimes(attempts(), {0, 21.5});
  EXPECT_EQ(link().snapshot().starter, LinkStarter::Supervisor);
  server.setAnswersPing(true);
  runFor(10 + 21.6);
  EXPECT_TRUE(link().isUp());
  expectTimes(attempts(), {0, 21.5, 21.5 + 10 + 21.5});
}

TEST_F(Supervisor, LetsALateConfirmationCount) {
  server.setAnswersPing(false);
  waitLong(2);
  start();
  runFor(15);
  EXPECT_EQ(trouble(), "unconfirmed");
  server.send(1, "PONG");
  runFor(20);
  EXPECT_TRUE(link().isUp());
  EXPECT_EQ(attempts(), Times{0});
}

TEST_F(Supervisor, ReplacesALinkWhoseServerAnswersNothingAnyMore) {
  bringUp();
  runFor(100);
  waitLong(1);
  server.setSilent(1);
  runFor(34.9);
  EXPECT_TRUE(link().isUp()) << "PING was answered at 90 s";
  runFor(0.2);
  EXPECT_EQ(told(), Strings{"confirming noAnswer"});
  EXPECT_TRUE(changes.at(0).isLoss());
  EXPECT_FALSE(link().isUp());
  EXPECT_EQ(link().snapshot().failure->text, "the server does not answer any more");
  runFor(11.5);
  expectTimes(attempts(), {0, 135 + 11.5});
  EXPECT_TRUE(link().isUp());
  EXPECT_EQ(told(), (Strings{"confirming noAnswer", "connecting noAnswer", "confirming noAnswer", "up"}))
      << history();
}

TEST_F(Supervisor, KeepsALinkWhoseServerWasSilentForAWhile) {
  bringUp();
  runFor(100);
  waitLong(1);
  server.setSilent(1);
  runFor(40);
  EXPECT_EQ(state(), LinkState::Confirming);
  server.setSilent(1, false);
  server.send(1, "PONG");
  settle();
  EXPECT_TRUE(link().isUp());
  EXPECT_EQ(trouble(), "");
  runFor(200);
  EXPECT_EQ(attempts(), Times{0});
}

TEST_F(Supervisor, TakesTheFirstMessageOfASilentServerForItsReturn) {
  bringUp(unsupervised());
  runFor(100);
  server.setAnswersPing(false);
  runFor(40);
  ASSERT_EQ(state(), LinkState::Confirming);
  server.push(1, "Rooms.Push.Message", {});
  settle();
  EXPECT_TRUE(link().isUp());
  EXPECT_EQ(trouble(), "");
  runFor(46);
  EXPECT_EQ(state(), LinkState::Confirming) << "one message is no more than that";
  EXPECT_EQ(attempts(), Times{0});
}

TEST_F(Supervisor, CountsTheSilenceFromTheLastMessageOn) {
  bringUp(unsupervised());
  runFor(20);
  server.push(1, "Rooms.Push.Message", {});
  runFor(1);
  server.setSilent(1);
  runFor(43.9);
  EXPECT_TRUE(link().isUp());
  runFor(0.2);
  EXPECT_EQ(told(), Strings{"confirming noAnswer"});
}

TEST_F(Supervisor, DoesNotBlameTheServerForATimeInWhichTheProcessStoodStill) {
  bringUp();
  runFor(100);
  platform.stall(Seconds(300));
  runFor(20);
  EXPECT_TRUE(changes.empty()) << history();
  server.setSilent(1);
  platform.stall(Seconds(300));
  runFor(44);
  EXPECT_TRUE(link().isUp());
  runFor(1.4);
  EXPECT_EQ(told(), Strings{"confirming noAnswer"}) << "and a server that is silent afterwards is noticed";
}

TEST_F(Supervisor, DoesNotBlameTheServerForAPingThatABusyMainThreadSendsLate) {
  bringUp();
  platform.network().setLatency(Seconds(0.05), Seconds(0.05));
  // "PING" is due at 30 s, and the server has 15 s to answer it. Each round is busy at another part of that time.
  for (double busyUntil = 30; busyUntil < 47; busyUntil += 0.5) {
    for (const double busy : {1.0, 5.5, 16.5, 29.0}) {
      runFor(30 - std::fmod(now(), 30));  // a "PING", and its answer
      runFor(busyUntil - busy);
      platform.stall(Seconds(busy));
      runFor(20);
      ASSERT_TRUE(changes.empty()) << busy << " s until " << busyUntil << "\n" << history();
    }
  }
}

TEST_F(Supervisor, CountsTheSilenceFromTheMomentAtWhichABusyMainThreadHasSeenTheLinkComeUp) {
  server.setAnswersPing(false);
  start(unsupervised());
  settle();
  ASSERT_EQ(state(), LinkState::Confirming);
  // The confirmation comes, and nobody looks at it.
  platform.holdMainQueue(true);
  server.send(1, "PONG");
  runFor(40);
  platform.holdMainQueue(false);
  settle();
  ASSERT_TRUE(link().isUp());
  runFor(44.9);
  EXPECT_TRUE(link().isUp()) << history();
  runFor(0.2);
  EXPECT_EQ(told().back(), "confirming noAnswer");
}

TEST_F(Supervisor, NoticesASilentServerThoughTheMainThreadIsBusyNowAndThen) {
  bringUp(unsupervised());
  runFor(1);
  server.setSilent(1);
  for (int busy = 0; busy < 14; ++busy) {
    runFor(1);
    platform.stall(Seconds(4));
  }
  settle();
  EXPECT_EQ(told(), Strings{"confirming noAnswer"}) << history();
}

TEST_F(Supervisor, TakesEveryMessageForALifeSign) {
  bringUp();
  server.setAnswersPing(false);
  for (int i = 0; i < 20; ++i) {
    runFor(20);
    server.push(1, "Rooms.Push.Message", {});
  }
  settle();
  EXPECT_TRUE(link().isUp());
  EXPECT_EQ(attempts(), Times{0});
  runFor(130);
  EXPECT_GT(attempts().size(), 1u) << "and their end for the end";
}

TEST_F(Supervisor, TriesWhereTheNetworkIsNeverReported) {
  platform.reachability().withholdFirstReport(true);
  waitLong(2);
  planAll(ConnectPlan::refuse());
  start();
  EXPECT_NEAR(secondsOf(link().snapshot().until.value()), 11.5, 1e-6);
  runFor(11.6);
  expectTimes(attempts(), {11.5});
  EXPECT_EQ(trouble(), "refused");
  planAll(ConnectPlan::accept());
  runFor(21.5);
  EXPECT_TRUE(link().isUp());
}

TEST_F(Supervisor, MendsALogOutThatComesTooSoonAfterTheLinkWasOpened) {
  bringUp();
  QXWebSocketMgr::standard().close();
  QXWebSocketMgr::standard().reconnect();  // within 1.5 s, so it does nothing
  runFor(12);
  EXPECT_TRUE(link().isUp());
  EXPECT_EQ(attempts().size(), 2u);
}

TEST_F(Supervisor, SwitchedOffStartsNothingAndSaysSo) {
  bringUp(unsupervised());
  server.reset(1);
  runFor(1000);
  EXPECT_EQ(attempts(), Times{0});
  EXPECT_EQ(state(), LinkState::Waiting);
  EXPECT_FALSE(link().willRetry());
  EXPECT_EQ(link().snapshot().until, std::nullopt);
  EXPECT_TRUE(link().sentence().starts_with("the link is down and nothing opens it: ")) << link().sentence();
  link().tryNow();
  settle();
  EXPECT_TRUE(link().isUp());
  EXPECT_EQ(link().snapshot().starter, LinkStarter::Person);
}

TEST_F(Supervisor, SwitchedOffStillNoticesAServerThatIsSilent) {
  bringUp(unsupervised());
  runFor(100);
  server.setSilent(1);
  runFor(36);
  EXPECT_EQ(told(), Strings{"confirming noAnswer"});
  EXPECT_FALSE(link().willRetry());
  runFor(500);
  EXPECT_EQ(attempts(), Times{0});
}

TEST_F(Supervisor, IsGoneWithItsClient) {
  bringUp();
  server.reset(1);
  settle();
  EXPECT_EQ(state(), LinkState::Waiting);
  client.reset();
  runFor(1000);
  EXPECT_EQ(attempts(), Times{0});
  EXPECT_EQ(platform.nextDueIn(), std::nullopt) << "no timer is left";
}

}  // namespace
}  // namespace orv::link_supervisor_test
