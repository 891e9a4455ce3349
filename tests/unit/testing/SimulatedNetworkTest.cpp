#include <orvnetwork/testing/ConnectPlan.h>

#include "LinkFixture.h"

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orv::testing::simulated_network_test {
namespace {

using SimulatedNetworkTest = LinkFixture;

TEST_F(SimulatedNetworkTest, RecordsEverySocketMade) {
  const auto first = makeSocket({.url = "ws://one", .prepare = {}});
  platform.runFor(Seconds(1));
  const auto second = makeSocket({.url = std::nullopt, .connectTimeout = Seconds(5), .prepare = {}});
  ASSERT_EQ(network.sockets().size(), 2U);
  EXPECT_EQ(network.sockets()[0].url, "ws://one");
  EXPECT_EQ(network.sockets()[0].socket.lock(), first);
  EXPECT_EQ(network.sockets()[1].id, 2);
  EXPECT_FALSE(network.sockets()[1].url);
  EXPECT_EQ(network.sockets()[1].connectTimeout, Seconds(5));
  EXPECT_EQ(network.sockets()[1].madeAt - network.sockets()[0].madeAt, std::chrono::seconds(1));
  EXPECT_EQ(network.liveSockets(), 0U) << "none was opened";
}

TEST_F(SimulatedNetworkTest, CarriesOutOnePlanAnAttempt) {
  network.setDefaultPlan(ConnectPlan::refuse());
  const std::vector<std::pair<ConnectPlan, std::string>> cases = {
      {ConnectPlan::accept(), "opened"},
      {ConnectPlan::refuse(), "failed POSIX 111"},
      {ConnectPlan::unreachable(), "failed POSIX 101"},
      {ConnectPlan::unknownHost(), "failed OrvNameLookup -2"},
      {ConnectPlan::failTls(), "failed OrvTls 18"},
      {ConnectPlan::httpStatus(503), "failed OrvWebSocket 2132"},
      {ConnectPlan::httpStatus(302), "failed OrvWebSocket 2133"},
      {ConnectPlan::endOfStream(), "closed 1001 Stream end encountered unclean"},
      {ConnectPlan::fail({"Mine", 7, ""}), "failed Mine 7"}};
  for (const auto& [plan, event] : cases) {
    network.planConnect(plan);
  }
  EXPECT_EQ(network.plansLeft(), cases.size());
  for (const auto& [plan, event] : cases) {
    socket = makeSocket();
    socket->open();
    EXPECT_EQ(settled(), Events{event});
  }
  socket = makeSocket();
  socket->open();
  EXPECT_EQ(settled(), Events{"failed POSIX 111"}) << "the default plan";
}

TEST_F(SimulatedNetworkTest, AcceptsAfterTheDelay) {
  network.planConnect(ConnectPlan::accept(Seconds(2)));
  socket = makeSocket();
  socket->open();
  platform.runFor(Seconds(1.999));
  EXPECT_TRUE(listener.events.empty());
  platform.runFor(Seconds(0.001));
  EXPECT_EQ(listener.take(), Events{"opened"});
}

TEST_F(SimulatedNetworkTest, TimesOutWhenNobodyAnswers) {
  network.planConnect(ConnectPlan::neverAnswer());
  socket = makeSocket({.url = "ws://h", .connectTimeout = Seconds(60), .prepare = {}});
  socket->open();
  platform.runFor(Seconds(59.999));
  EXPECT_TRUE(listener.events.empty());
  platform.runFor(Seconds(0.001));
  EXPECT_EQ(listener.take(), Events{"failed OrvWebSocket 504"});
}

TEST_F(SimulatedNetworkTest, ATooLateAcceptIsSeenByTheServerAsAClientThatLeft) {
  network.planConnect(ConnectPlan::accept(Seconds(70)));
  socket = makeSocket();
  socket->open();
  platform.runFor(Seconds(100));
  EXPECT_EQ(listener.take(), Events{"failed OrvWebSocket 504"});
  EXPECT_EQ(server.accepted().size(), 1U);
  EXPECT_TRUE(server.connections().empty());
}

TEST_F(SimulatedNetworkTest, CarriesDataWithTheLatencyOfEachDirection) {
  network.setLatency(Seconds(0.25), Seconds(0.5));
  socket = makeSocket();
  socket->open();
  platform.runFor(Seconds(0.749));
  EXPECT_TRUE(listener.events.empty());
  platform.runFor(Seconds(0.001));
  EXPECT_EQ(listener.take(), Events{"opened"});
  const auto start = platform.clock().steadyNow();
  socket->send(text("PING"));
  EXPECT_TRUE(platform.runUntil([&] { return !listener.events.empty(); }, Seconds(5)));
  EXPECT_EQ(server.frames()[0].time - start, std::chrono::milliseconds(250));
  EXPECT_EQ(platform.clock().steadyNow() - start, std::chrono::milliseconds(750));
}

TEST_F(SimulatedNetworkTest, KeepsTheOrderWhenTheLatencyDrops) {
  connect();
  network.setLatency(Seconds(0), Seconds(1));
  server.send(id, "slow");
  network.setLatency(Seconds(0), Seconds(0));
  server.send(id, "fast");
  EXPECT_TRUE(settled().empty());
  platform.runFor(Seconds(1));
  EXPECT_EQ(listener.take(), (Events{"text slow", "text fast"}));
}

TEST_F(SimulatedNetworkTest, ABrokenLinkFailsThirtySecondsAfterTheFirstUnacknowledgedData) {
  connect();
  network.breakLink(id);
  platform.runFor(Seconds(1000));
  server.send(id, "never heard");
  EXPECT_TRUE(settled().empty()) << "nothing was sent, so nobody notices";
  socket->send(text("lost"));
  platform.runFor(Seconds(20));
  socket->send(text("lost too"));
  platform.runFor(Seconds(9.999));
  EXPECT_TRUE(listener.events.empty());
  platform.runFor(Seconds(0.001));
  EXPECT_EQ(listener.take(), Events{"failed POSIX 110"});
  EXPECT_TRUE(server.frames().empty());
  EXPECT_TRUE(server.isConnected(id)) << "the server does not know";
}

TEST_F(SimulatedNetworkTest, CountsDataThatWasUnderWayWhenTheLinkBroke) {
  connect();
  network.setLatency(Seconds(5), Seconds(0));
  socket->send(text("under way"));
  platform.runFor(Seconds(1));
  network.breakLink(id);
  platform.runFor(Seconds(31));
  EXPECT_EQ(listener.take(), Events{"failed POSIX 110"});
}

TEST_F(SimulatedNetworkTest, AHealedLinkDeliversEverythingInOrder) {
  connect();
  network.breakLink(id);
  socket->send(text("a"));
  socket->send(text("b"));
  server.send(id, "c");
  platform.runFor(Seconds(29));
  EXPECT_TRUE(server.frames().empty());
  network.restoreLink(id);
  server.send(id, "d");
  EXPECT_EQ(settled(), (Events{"text c", "text d"}));
  ASSERT_EQ(server.frames().size(), 2U);
  EXPECT_EQ(server.frames()[0].text, "a");
  platform.runFor(Seconds(100));
  EXPECT_TRUE(listener.events.empty());
}

TEST_F(SimulatedNetworkTest, AClosedSocketOnABrokenLinkEndsWithoutAWord) {
  connect();
  network.breakLink(id);
  socket->close();
  platform.runFor(Seconds(100));
  EXPECT_TRUE(listener.events.empty());
  EXPECT_EQ(socket->readyState(), WebSocketState::Closed);
}

TEST_F(SimulatedNetworkTest, FreesLinksWithDataUnderWayAtThePlatformsEnd) {
  std::weak_ptr<WebSocket> abandoned;
  {
    SimulatedPlatform own;
    own.network().planConnect(ConnectPlan::accept(Seconds(100)));
    const auto client = own.makeWebSocket({.url = "ws://h", .connectTimeout = Seconds(1), .prepare = {}});
    client->open();
    own.runFor(Seconds(2));
    EXPECT_EQ(client->readyState(), WebSocketState::Closed);
    own.network().setLatency(Seconds(5), Seconds(5));
    const auto second = own.makeWebSocket({.url = "ws://h", .prepare = {}});
    second->open();
    own.runFor(Seconds(11));
    second->send(text("under way"));
    own.server().send(own.server().latest(), "under way");
    own.settle();
    abandoned = client;
  }
  EXPECT_TRUE(abandoned.expired());
}

TEST_F(SimulatedNetworkTest, FailsAtEachLinkOperationInTurn) {
  // Connect, send, arrival of the answer: three places where it can go wrong.
  const std::vector<Events> expected = {{"failed POSIX 111"},
                                        {"opened", "failed OrvWebSocket 2145"},
                                        {"opened", "failed POSIX 104"},
                                        {"opened", "text PONG"}};
  for (std::uint64_t n = 1; n <= expected.size(); ++n) {
    const auto before = network.failuresInjected();
    network.failAtLinkOperation(n);
    socket = makeSocket();
    socket->open();
    platform.settle();
    socket->send(text("PING"));
    EXPECT_EQ(settled(), expected[n - 1]);
    EXPECT_EQ(network.failuresInjected() - before, n < expected.size() ? 1U : 0U);
  }
  EXPECT_EQ(network.linkOperations(), 1U + 2U + 3U + 3U);
}

}  // namespace
}  // namespace orv::testing::simulated_network_test
