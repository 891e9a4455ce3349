#include <orvnetwork/client/LinkStatus.h>
#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/testing/ConnectPlan.h>
#include <orvnetwork/transport/QXNotification.h>
#include <orvnetwork/transport/QXRequestItem.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include "ClientFixture.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orv::link_status_test {
namespace {

using testing::ConnectPlan;

using LinkStatusStates = ClientFixture;

TEST_F(LinkStatusStates, TellsEveryStateOnTheWayUp) {
  start();
  EXPECT_EQ(state(), LinkState::Waiting) << "for the first report of the network";
  settle();
  EXPECT_EQ(told(), (Strings{"waiting", "connecting", "confirming", "up"}));
  EXPECT_TRUE(link().isUp());
  EXPECT_EQ(link().snapshot().attempt, 1u);
  EXPECT_EQ(link().snapshot().starter, LinkStarter::Link);
  for (std::size_t i = 1; i < changes.size(); ++i) {
    EXPECT_EQ(changes[i].before, changes[i - 1].now) << i;
    EXPECT_NE(changes[i].before, changes[i].now) << i;
  }
}

TEST_F(LinkStatusStates, TellsALossByAResetThatNoNotificationTells) {
  bringUp();
  runFor(100);
  server.reset(1);
  settle();
  EXPECT_EQ(told(), (Strings{"connecting lost", "confirming lost", "up"}));
  ASSERT_EQ(changes.size(), 3u);
  EXPECT_TRUE(changes[0].isLoss());
  EXPECT_EQ(secondsOf(changes[0].now.since), 100);
  EXPECT_EQ(changes[0].now.attempt, 1u);
  EXPECT_EQ(link().snapshot().failure, std::nullopt);
}

TEST_F(LinkStatusStates, TellsWhatTheServerSaidWhenItClosed) {
  bringUp();
  runFor(100);
  planAll(ConnectPlan::refuse(Seconds(2)));
  server.close(1, 4001, "bye\n");
  settle();
  EXPECT_EQ(told(), Strings{"connecting closedByServer"});
  EXPECT_EQ(link().sentence(), "connecting, attempt 1: the server closed the link, code 4001: bye ");
  runFor(2);
  EXPECT_EQ(link().snapshot().failure->text, "the connection was refused")
      << "the last failure is the one that is told";
}

TEST_F(LinkStatusStates, TellsThatTheNetworkIsGoneAndKeepsItUntilTheLinkIsUp) {
  bringUp();
  runFor(100);
  platform.reachability().report(ReachabilityStatus::NotReachable);
  settle();
  EXPECT_EQ(told(), Strings{"offline noNetwork"});
  EXPECT_TRUE(link().willRetry());
  EXPECT_EQ(link().snapshot().until, std::nullopt);
  runFor(1000);
  EXPECT_EQ(attempts(), Times{0}) << "without a network nobody tries";
  platform.reachability().report(ReachabilityStatus::Cellular);
  settle();
  EXPECT_EQ(told(), (Strings{"offline noNetwork", "connecting noNetwork", "confirming noNetwork", "up"}));
}

TEST_F(LinkStatusStates, TellsUntilWhenItWaits) {
  planAll(ConnectPlan::refuse());
  start();
  settle();
  EXPECT_EQ(state(), LinkState::Waiting);
  EXPECT_EQ(secondsOf(link().snapshot().until.value()), 5);
  EXPECT_EQ(link().sentence(), "waiting 5 s for attempt 2: the connection was refused");
  EXPECT_TRUE(link().willRetry());
  runFor(5);
  EXPECT_EQ(secondsOf(link().snapshot().until.value()), 20);
  EXPECT_EQ(link().snapshot().attempt, 2u);
  planAll(ConnectPlan::accept());
  runFor(15);
  EXPECT_TRUE(link().isUp());
  EXPECT_EQ(link().snapshot().attempt, 3u) << "so many it took";
  EXPECT_EQ(link().snapshot().until, std::nullopt);
}

TEST_F(LinkStatusStates, CallsALinkThatWasClosedOnPurposeStopped) {
  bringUp();
  runFor(20);
  QXWebSocketMgr::standard().close();
  settle();
  EXPECT_EQ(told(), Strings{"stopped"});
  EXPECT_FALSE(link().willRetry());
  runFor(1000);
  EXPECT_EQ(attempts(), Times{0}) << "whoever closed it opens it again";
  link().tryNow();
  settle();
  EXPECT_TRUE(link().isUp());
}

TEST_F(LinkStatusStates, TellsALinkThatARequestHasReplaced) {
  bringUp();
  runFor(20);
  platform.holdMainQueue(true);
  server.close(1, 1000);
  settle();
  QXWebSocketMgr::standard().sendRequestItem(
      QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock("a", json::object(), nullptr,
                                                                           nullptr));
  platform.holdMainQueue(false);
  settle();
  EXPECT_EQ(told(), (Strings{"connecting lost", "confirming lost", "up"}));
  EXPECT_TRUE(changes.at(0).isLoss());
  EXPECT_EQ(changes.at(0).now.failure->text, "the link was opened anew");
}

TEST_F(LinkStatusStates, IsRightInsideANotificationOfTheLayersBelow) {
  start();
  bool up = false, down = true;
  auto& center = NotificationCenter::defaultCenter();
  const auto opened =
      center.observe(std::string(QXNotificationDidOpen), [&](const Notification&) { up = link().isUp(); });
  const auto closed = center.observe(std::string(QXNotificationDidCloseWithCode),
                                     [&](const Notification&) { down = !link().isUp(); });
  settle();
  EXPECT_TRUE(up);
  runFor(5);
  down = false;
  server.close(1, 1000);
  settle();
  EXPECT_TRUE(down);
}

TEST_F(LinkStatusStates, TellsALossThatAnotherThreadHasBrought) {
  bringUp();
  runFor(20);
  // The attempt takes its time, so that the main thread looks at it in between whatever the order of the two threads.
  planAll(ConnectPlan::accept(Seconds(1)));
  platform.globalQueue().post([] { QXWebSocketMgr::standard().reconnect(); });
  runFor(2);
  EXPECT_EQ(told(), (Strings{"connecting lost", "confirming lost", "up"}));
}

using LinkStatusSubscribers = ClientFixture;

TEST_F(LinkStatusSubscribers, AreToldThePresentStateOnceInTheNextTurn) {
  bringUp();
  std::vector<LinkChange> mine;
  const auto seen = link().onChanged([&](const LinkChange& change) { mine.push_back(change); });
  EXPECT_TRUE(mine.empty()) << "not inside the call";
  settle();
  ASSERT_EQ(mine.size(), 1u);
  EXPECT_EQ(mine[0].before, mine[0].now);
  EXPECT_EQ(mine[0].now, link().snapshot());
  EXPECT_TRUE(changes.empty()) << "others are not told";
  runFor(100);
  EXPECT_EQ(mine.size(), 1u) << "a confirmation of a link that is up is no change";
}

TEST_F(LinkStatusSubscribers, HearNothingInsideTheCallThatChangesSomething) {
  bringUp();
  runFor(20);
  QXWebSocketMgr::standard().close();
  EXPECT_EQ(state(), LinkState::Stopped);
  EXPECT_TRUE(changes.empty());
  settle();
  EXPECT_EQ(changes.size(), 1u);
}

TEST_F(LinkStatusSubscribers, HearNothingOnceTheyAreGone) {
  bringUp();
  runFor(20);
  QXWebSocketMgr::standard().close();
  heard.reset();
  settle();
  EXPECT_TRUE(changes.empty());
}

TEST_F(LinkStatusSubscribers, MayLeaveInsideTheirCallback) {
  start();
  int calls = 0;
  Subscription mine = link().onChanged([&](const LinkChange&) {
    ++calls;
    mine.reset();
  });
  settle();
  EXPECT_EQ(calls, 1);
}

TEST_F(LinkStatusSubscribers, MayEndTheClientInsideTheirCallback) {
  start();
  int calls = 0;
  const Subscription mine = link().onChanged([&](const LinkChange& change) {
    ++calls;
    if (change.now.isUp()) client.reset();
  });
  const Subscription behind =
      link().onChanged([&](const LinkChange& change) { EXPECT_FALSE(change.now.isUp()); });
  runFor(500);
  EXPECT_EQ(calls, 4);
  EXPECT_EQ(client, nullptr);
  EXPECT_EQ(platform.network().liveSockets(), 0u);
}

TEST_F(LinkStatusSubscribers, MayTryAgainInsideTheirCallback) {
  planAll(ConnectPlan::refuse(Seconds(1.6)));
  start(unsupervised());
  const Subscription mine = link().onChanged([&](const LinkChange& change) {
    if (change.now.state == LinkState::Waiting && change.before != change.now) link().tryNow();
  });
  runFor(20);
  EXPECT_GE(attempts().size(), 10u);
}

/// A way to fail, and the word for it.
struct Failure {
  const char* name;
  ConnectPlan plan;
};

class LinkStatusFailures : public ClientFixture, public ::testing::WithParamInterface<Failure> {};

TEST_P(LinkStatusFailures, AreToldAndKeptUntilTheLinkIsUp) {
  planAll(GetParam().plan);
  start();
  platform.runUntil([&] { return link().snapshot().failure.has_value(); }, Seconds(100));
  settle();
  EXPECT_EQ(trouble(), GetParam().name);
  EXPECT_EQ(told().back(), std::string("waiting ") + GetParam().name);
  planAll(ConnectPlan::accept(Seconds(3)));
  ASSERT_TRUE(platform.runUntil([&] { return state() == LinkState::Connecting; }, Seconds(100)));
  settle();
  EXPECT_EQ(told().back(), std::string("connecting ") + GetParam().name)
      << "an attempt that begins is no better";
  ASSERT_TRUE(platform.runUntil([&] { return state() == LinkState::Up; }, Seconds(100)));
  settle();
  EXPECT_EQ(told().back(), "up");
}

INSTANTIATE_TEST_SUITE_P(All, LinkStatusFailures,
                         ::testing::Values(Failure{"refused", ConnectPlan::refuse()},
                                           Failure{"unreachable", ConnectPlan::unreachable()},
                                           Failure{"nameNotFound", ConnectPlan::unknownHost()},
                                           Failure{"noAnswer", ConnectPlan::neverAnswer()},
                                           Failure{"certificateNotTrusted", ConnectPlan::failTls()},
                                           Failure{"refusedByHttp", ConnectPlan::httpStatus(503)},
                                           Failure{"noWebSocket", ConnectPlan::httpStatus(200)},
                                           Failure{"closedByServer", ConnectPlan::endOfStream()}),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
}  // namespace orv::link_status_test
