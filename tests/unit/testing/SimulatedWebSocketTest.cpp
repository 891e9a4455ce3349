#include <orvnetwork/testing/ConnectPlan.h>
#include <orvnetwork/testing/PlannedAddress.h>

#include "LinkFixture.h"

#include <any>
#include <cerrno>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace orv::testing::simulated_web_socket_test {
namespace {

using SimulatedWebSocketTest = LinkFixture;

TEST_F(SimulatedWebSocketTest, ConnectsAfterOpenHasReturned) {
  socket = makeSocket();
  EXPECT_EQ(socket->readyState(), WebSocketState::Connecting);
  socket->open();
  EXPECT_TRUE(listener.events.empty());
  EXPECT_EQ(settled(), Events{"opened"});
  EXPECT_EQ(socket->readyState(), WebSocketState::Open);
  socket->open();
  EXPECT_TRUE(settled().empty());
  EXPECT_EQ(server.accepted(), std::vector<ConnectionId>{1});
}

TEST_F(SimulatedWebSocketTest, IsOpenBeforeItsDelegateHearsOfIt) {
  socket = makeSocket();
  platform.holdMainQueue(true);
  socket->open();
  platform.settle();
  EXPECT_EQ(socket->readyState(), WebSocketState::Open);
  EXPECT_TRUE(listener.events.empty());
}

TEST_F(SimulatedWebSocketTest, FailsForAnAddressThatIsNone) {
  for (const OptionalString& url : {OptionalString(), OptionalString(""), OptionalString("ftp://host"),
                                    OptionalString("ws://"), OptionalString("127.0.0.1")}) {
    socket = makeSocket({.url = url, .prepare = {}});
    socket->open();
    EXPECT_TRUE(listener.events.empty());
    EXPECT_EQ(settled(), Events{"failed OrvWebSocket -1000"});
    EXPECT_EQ(socket->readyState(), WebSocketState::Closed);
  }
}

TEST_F(SimulatedWebSocketTest, TakesEverySchemeOfAWebSocket) {
  for (const char* url : {"ws://h", "WSS://h", "http://h", "Https://h"}) {
    socket = makeSocket({.url = url, .prepare = {}});
    socket->open();
    EXPECT_EQ(settled(), Events{"opened"}) << url;
  }
}

TEST_F(SimulatedWebSocketTest, SendsInTheOrderOfTheCalls) {
  connect();
  for (const char* word : {"one", "two", "three"}) {
    socket->send(text(word));
  }
  socket->send(nullptr);
  EXPECT_TRUE(server.frames().empty());
  platform.settle();
  ASSERT_EQ(server.frames().size(), 3U);
  EXPECT_EQ(server.frames()[0].text, "one");
  EXPECT_EQ(server.frames()[1].text, "two");
  EXPECT_EQ(server.frames()[2].text, "three");
}

TEST_F(SimulatedWebSocketTest, SendsNothingUnlessOpen) {
  socket = makeSocket();
  socket->send(text("early"));
  socket->open();
  socket->send(text("early"));
  socket->sendPing("early");
  platform.settle();
  socket->close();
  platform.settle();
  socket->send(text("late"));
  socket->sendPing("late");
  platform.settle();
  EXPECT_TRUE(server.frames().empty());
  EXPECT_TRUE(server.pings().empty());
}

TEST_F(SimulatedWebSocketTest, WhatWasSentBeforeCloseStillArrives) {
  connect();
  socket->send(text("last words"));
  socket->close();
  EXPECT_EQ(settled(), Events{"closed 1000 - clean"});
  EXPECT_EQ(server.countFrames("last words"), 1U);
  ASSERT_EQ(server.closes().size(), 1U);
  EXPECT_EQ(server.closes()[0].code, 1000);
  EXPECT_FALSE(server.closes()[0].isAnswer);
}

TEST_F(SimulatedWebSocketTest, ClosingTakesEffectALittleLater) {
  connect();
  network.setLatency(Seconds(1), Seconds(1));
  socket->close();
  EXPECT_EQ(socket->readyState(), WebSocketState::Open);
  platform.settle();
  EXPECT_EQ(socket->readyState(), WebSocketState::Closing);
  server.send(id, "on the way");
  platform.runFor(Seconds(3));
  EXPECT_EQ(listener.take(), (Events{"text on the way", "closed 1000 - clean"}));
  EXPECT_EQ(socket->readyState(), WebSocketState::Closed);
}

TEST_F(SimulatedWebSocketTest, GivesUpConnectingWhenClosed) {
  network.setDefaultPlan(ConnectPlan::neverAnswer());
  socket = makeSocket();
  socket->open();
  platform.settle();
  socket->close();
  EXPECT_EQ(settled(), Events{"closed 0 - clean"});
  platform.runFor(Seconds(100));
  EXPECT_TRUE(listener.events.empty());
  EXPECT_EQ(socket->readyState(), WebSocketState::Closed);
}

TEST_F(SimulatedWebSocketTest, NeverOpensWhenClosedFirst) {
  socket = makeSocket();
  socket->close();
  socket->open();
  EXPECT_EQ(settled(), Events{"closed 0 - clean"}) << "open() was asked for when the close took effect";
  socket = makeSocket();
  socket->close();
  platform.settle();
  socket->open();
  EXPECT_TRUE(settled().empty());
  EXPECT_TRUE(server.accepted().empty());
}

TEST_F(SimulatedWebSocketTest, CutsASilentPeerOffWithoutAWord) {
  connect();
  server.setSilent(id);
  socket->close();
  platform.runFor(Seconds(9.9));
  EXPECT_EQ(socket->readyState(), WebSocketState::Closing);
  EXPECT_EQ(network.liveSockets(), 1U);
  platform.runFor(Seconds(0.2));
  EXPECT_EQ(socket->readyState(), WebSocketState::Closed);
  EXPECT_TRUE(listener.events.empty());
  EXPECT_EQ(network.liveSockets(), 0U);
  EXPECT_FALSE(server.isConnected(id));
}

TEST_F(SimulatedWebSocketTest, TellsThatAPeerDroppedTheStreamInsteadOfAnsweringTheClose) {
  connect();
  server.setAnswersClose(false);
  socket->close();
  platform.settle();
  server.cut(id);
  EXPECT_EQ(settled(), Events{"closed 1001 Stream end encountered unclean"});
}

TEST_F(SimulatedWebSocketTest, TellsTheCloseFrameOfThePeer) {
  const std::vector<std::tuple<std::optional<int>, OptionalString, std::string, int>> cases = {
      {1000, "bye", "closed 1000 bye clean", 1000}, {1000, std::nullopt, "closed 1000 - clean", 1000},
      {4321, "own", "closed 4321 own clean", 1000}, {std::nullopt, std::nullopt, "closed 1005 - clean", 1000},
      {999, "x", "closed 999 - clean", 1002},       {1005, "x", "closed 1005 - clean", 1002},
      {1012, "x", "closed 1012 - clean", 1002},     {5000, "x", "closed 5000 - clean", 1002},
      {1000, "\xff", "closed 1000 - clean", 1002}};
  for (const auto& [code, reason, event, answer] : cases) {
    connect();
    server.clearRecords();
    server.close(id, code, reason);
    EXPECT_EQ(settled(), Events{event});
    ASSERT_EQ(server.closes().size(), 1U);
    EXPECT_EQ(server.closes()[0].code, answer);
    EXPECT_TRUE(server.closes()[0].isAnswer);
    EXPECT_EQ(socket->readyState(), WebSocketState::Closed);
  }
}

TEST_F(SimulatedWebSocketTest, TellsTheEndOfTheStreamAndAReset) {
  connect();
  server.cut(id);
  EXPECT_EQ(settled(), Events{"closed 1001 Stream end encountered unclean"});
  connect();
  server.reset(id);
  EXPECT_EQ(settled(), Events{"failed POSIX 104"});
}

TEST_F(SimulatedWebSocketTest, EndsOnAMessageThatIsNotUtf8) {
  for (const char* bad : {"\xff", "\xc0\x80", "\xed\xa0\x80", "\xf4\x90\x80\x80", "a\xc3"}) {
    connect();
    server.clearRecords();
    server.send(id, bad);
    EXPECT_EQ(settled(), Events{"closed 0 - clean"});
    EXPECT_EQ(server.closes().at(0).code, 1007);
  }
  connect();
  server.sendBinary(id, "\xff");
  server.send(id, "gr\xc3\xbc\xc3\x9f \xe2\x82\xac \xf0\x9f\x98\x80");
  EXPECT_EQ(settled(), (Events{"binary \xff", "text gr\xc3\xbc\xc3\x9f \xe2\x82\xac \xf0\x9f\x98\x80"}));
}

TEST_F(SimulatedWebSocketTest, PreparesTextOffTheMainThreadBeforeItIsQueued) {
  int prepared = 0;
  socket = makeSocket({.url = "ws://h", .prepare = [&](std::string_view payload) -> std::any {
                         EXPECT_FALSE(platform.mainQueue().isCurrent());
                         ++prepared;
                         return payload.size();
                       }});
  socket->open();
  platform.settle();
  platform.holdMainQueue(true);
  server.send(1, "four");
  server.sendBinary(1, "bytes");
  platform.settle();
  EXPECT_EQ(prepared, 1);
  platform.holdMainQueue(false);
  platform.settle();
  EXPECT_FALSE(listener.lastMessage.prepared.has_value());
  server.send(1, "seven77");
  platform.settle();
  EXPECT_EQ(std::any_cast<std::size_t>(listener.lastMessage.prepared), 7U);
}

TEST_F(SimulatedWebSocketTest, DeliversNothingOnceTheDelegateIsCleared) {
  connect();
  platform.holdMainQueue(true);
  server.send(id, "queued");
  server.cut(id);
  platform.settle();
  socket->setDelegate(nullptr);
  platform.holdMainQueue(false);
  EXPECT_TRUE(settled().empty());
}

TEST_F(SimulatedWebSocketTest, NeverTellsTwoEnds) {
  for (std::uint64_t seed = 1; seed <= 200; ++seed) {
    SimulatedPlatform own(seed);
    Listener hears(own);
    const auto client = own.makeWebSocket({.url = "ws://h", .prepare = {}});
    client->setDelegate(&hears);
    client->open();
    own.settle();
    client->send(text("x"));
    own.server().close(1, 1000);
    own.server().cut(1);
    client->close();
    own.network().failAtLinkOperation(1);
    own.runFor(Seconds(100));
    EXPECT_EQ(hears.events.size(), 2U) << "seed " << seed;
    EXPECT_EQ(own.network().liveSockets(), 0U);
  }
}

TEST_F(SimulatedWebSocketTest, KeepsItselfAliveUntilItsEnd) {
  connect();
  const std::weak_ptr<WebSocket> weak = socket;
  socket.reset();
  platform.settle();
  EXPECT_FALSE(weak.expired());
  server.send(id, "hello");
  EXPECT_EQ(settled(), Events{"text hello"});
  server.cut(id);
  platform.settle();
  EXPECT_TRUE(weak.expired());
}

TEST_F(SimulatedWebSocketTest, AnswersAndReportsProtocolPings) {
  connect();
  server.sendPing(id, "from server");
  socket->sendPing(std::string(200, 'p'));
  platform.settle();
  EXPECT_EQ(server.pongs().at(0).payload, "from server");
  EXPECT_EQ(server.pings().at(0).payload, std::string(125, 'p'));
  EXPECT_EQ(listener.take(), Events{"pong " + std::string(125, 'p')});
  server.sendPong(id, "unasked");
  EXPECT_EQ(settled(), Events{"pong unasked"});
}

TEST_F(SimulatedWebSocketTest, ReportsTheTriesAsTheyComeAndTheRestAtTheEnd) {
  ConnectPlan plan = ConnectPlan::addresses(
      {PlannedAddress::silent("2001:db8::7"), PlannedAddress::answers("192.0.2.7", Seconds(0.5))});
  plan.report.tlsVersion = "TLSv1.3";
  network.planConnect(plan);
  socket = makeSocket();
  EXPECT_TRUE(socket->connectReport().attempts.empty());
  socket->open();
  platform.settle();
  EXPECT_EQ(socket->connectReport().attempts.size(), 1u);
  EXPECT_EQ(socket->connectReport().addresses.size(), 2u);
  platform.runFor(Seconds(0.5));
  ConnectReport report = socket->connectReport();
  ASSERT_EQ(report.attempts.size(), 2u);
  EXPECT_EQ(report.attempts[0].took, Seconds(0.5));
  EXPECT_EQ(report.attempts[1].begun, Seconds(0.25));
  EXPECT_EQ(report.attempts[1].took, Seconds(0.25));
  EXPECT_FALSE(report.attempts[1].won) << "nobody knows yet";
  EXPECT_EQ(report.tlsVersion, std::nullopt);
  platform.runFor(Seconds(0.5));
  EXPECT_EQ(listener.take(), Events{"opened"});
  report = socket->connectReport();
  EXPECT_TRUE(report.attempts[1].won);
  EXPECT_EQ(report.attempts[0].took, Seconds(0.75));
  EXPECT_EQ(report.tlsVersion, "TLSv1.3");
  EXPECT_EQ(report.httpStatus, 101);
}

TEST_F(SimulatedWebSocketTest, ReportsTheFailedTriesOfAnAttemptThatFailed) {
  network.planConnect(ConnectPlan::addresses(
      {PlannedAddress::unreachable("2001:db8::7"), PlannedAddress::refuses("192.0.2.7")}));
  socket = makeSocket();
  socket->open();
  EXPECT_EQ(settled(), Events{"failed POSIX " + std::to_string(ECONNREFUSED)});
  const auto attempts = socket->connectReport().attempts;
  ASSERT_EQ(attempts.size(), 2u);
  EXPECT_EQ(attempts[0].error->code, ENETUNREACH);
  EXPECT_EQ(attempts[1].error->code, ECONNREFUSED);
}

TEST_F(SimulatedWebSocketTest, TriesThatNobodyAnsweredHaveFailedAtTheTimeOut) {
  network.planConnect(ConnectPlan::addresses({PlannedAddress::silent("192.0.2.7")}));
  socket = makeSocket({.url = "ws://h", .connectTimeout = Seconds(5), .prepare = {}});
  socket->open();
  platform.runFor(Seconds(3));
  EXPECT_EQ(socket->connectReport().attempts.at(0).took, Seconds(3));
  EXPECT_EQ(socket->connectReport().attempts.at(0).error, std::nullopt);
  platform.runFor(Seconds(3));
  EXPECT_EQ(listener.take(), Events{"failed OrvWebSocket 504"});
  EXPECT_EQ(socket->connectReport().attempts.at(0).took, Seconds(5));
  EXPECT_EQ(socket->connectReport().attempts.at(0).error->code, ETIMEDOUT);
}

TEST_F(SimulatedWebSocketTest, ASocketThatWasGivenUpKeepsWhatItHadMet) {
  network.planConnect(ConnectPlan::addresses({PlannedAddress::silent("192.0.2.7")}));
  socket = makeSocket();
  socket->open();
  platform.runFor(Seconds(3));
  socket->close();
  platform.runFor(Seconds(3));
  EXPECT_EQ(socket->connectReport().attempts.at(0).took, Seconds(3));
  EXPECT_EQ(socket->connectReport().attempts.at(0).error, std::nullopt);
}

TEST_F(SimulatedWebSocketTest, TheRecordTellsHowItWasToGetThere) {
  NetworkSettings settings;
  settings.tls.pins = {"pin"};
  socket = makeSocket(
      {.url = "ws://h", .network = std::make_shared<const NetworkSettings>(settings), .prepare = {}});
  ASSERT_NE(network.sockets().back().network, nullptr);
  EXPECT_EQ(*network.sockets().back().network, settings);
  makeSocket();
  EXPECT_EQ(network.sockets().back().network, nullptr);
}

}  // namespace
}  // namespace orv::testing::simulated_web_socket_test
