// Who gets a place when there are too many.

#include "devserver/DevServer.h"
#include "tests/devserver/RawClient.h"
#include "tests/devserver/ServerTest.h"

#include <chrono>
#include <string>
#include <vector>

namespace orv::test::places_test {
namespace {

constexpr std::size_t kPlaces = 4;
constexpr std::size_t kBeside = 3;
constexpr const char* kElsewhere = "127.0.0.2";

class ServerPlaces : public ::testing::Test {
 protected:
  static DevServer::Options options() {
    DevServer::Options options;
    options.maxConnections = kPlaces;
    options.maxRequests = kBeside;
    options.handshakeTimeout = 1h;
    options.silence = 1h;
    return options;
  }
  void SetUp() override { server.start(); }
  void expectAlive(RawClient& client) {
    client.sendText("PING");
    EXPECT_EQ(client.receiveText(), "PONG");
  }
  /// As many connections as there are places, each of which has been heard in this order.
  std::vector<RawClient> fill() {
    std::vector<RawClient> clients;
    for (std::size_t i = 0; i < kPlaces; ++i) {
      clients.push_back(RawClient::open(server.port()));
      expectAlive(clients.back());
    }
    return clients;
  }

  void expectPage() {
    int status = 0;
    RawClient::http(server.port(), "GET", "/control", "", status);
    EXPECT_EQ(status, 200);
  }
  void expectRefused(const char* from = nullptr) {
    RawClient client(server.port(), false, 0, from);
    EXPECT_EQ(client.shakeHands().substr(0, 12), "HTTP/1.1 503");
  }

  DevServer server{options()};
};

TEST_F(ServerPlaces, HalfOpenConnectionsGoForThoseThatCome) {
  std::vector<RawClient> halves;
  for (std::size_t i = 0; i < 3 * kPlaces; ++i) {
    halves.emplace_back(server.port());
    if (i % 2 == 0) halves.back().sendBytes("GET / HTTP/1.1\r\nUpgrade: webso");
  }
  std::vector<RawClient> clients = fill();
  for (RawClient& client : clients) expectAlive(client);
  for (std::size_t i = 0; i + kBeside < halves.size(); ++i) {
    EXPECT_NE(halves[i].waitForEnd(), RawClient::End::None) << i;
  }
  EXPECT_EQ(server.connectionCount(), kPlaces);
}

TEST_F(ServerPlaces, HalfOpenConnectionsDoNotPushOutThoseThatAreOpen) {
  std::vector<RawClient> clients = fill();
  std::vector<RawClient> halves;
  for (std::size_t i = 0; i < 2 * kPlaces; ++i) halves.emplace_back(server.port());
  expectPage();
  EXPECT_NE(halves.front().waitForEnd(), RawClient::End::None);
  for (RawClient& client : clients) expectAlive(client);
}

TEST_F(ServerPlaces, AnAddressWithoutOneGetsThePlaceOfTheIdlestOfThoseWhoHaveMost) {
  std::vector<RawClient> clients = fill();
  expectAlive(clients[0]);
  RawClient other(server.port(), false, 0, kElsewhere);
  EXPECT_NE(other.shakeHands().find("101"), std::string::npos);
  expectAlive(other);
  EXPECT_NE(clients[1].waitForEnd(), RawClient::End::None) << "the idlest";
  for (const std::size_t stays : {0u, 2u, 3u}) expectAlive(clients[stays]);
  EXPECT_EQ(server.connectionCount(), kPlaces);
  // The other address has one now, and gets no second one.
  expectRefused(kElsewhere);
  expectAlive(other);
}

TEST_F(ServerPlaces, ThePageIsReachedThroughTheNoiseOfWebSocketsAndHalfOpenConnections) {
  std::vector<RawClient> clients = fill();
  expectRefused();
  expectPage();
  std::vector<RawClient> halves;
  for (std::size_t i = 0; i < 2 * kPlaces; ++i) halves.emplace_back(server.port());
  expectPage();
  for (RawClient& client : clients) expectAlive(client);
}

TEST_F(ServerPlaces, AWebSocketThatHasNeverSaidAnythingGoesForOneThatComes) {
  std::vector<RawClient> silent;
  for (std::size_t i = 0; i < 2 * kPlaces; ++i) silent.push_back(RawClient::open(server.port()));
  for (std::size_t i = 0; i < kPlaces; ++i) {
    EXPECT_NE(silent[i].waitForEnd(), RawClient::End::None);
    expectAlive(silent[kPlaces + i]);
  }
  expectRefused();
}

TEST_F(ServerPlaces, ConnectionsThatAreHeldUpOnPurposeGoForOneThatComes) {
  server.faults().setConnectionMode(devserver::ConnectionMode::Stall);
  std::vector<RawClient> stalled;
  for (std::size_t i = 0; i < 2 * (kPlaces + kBeside); ++i) {
    stalled.emplace_back(server.port());
    stalled.back().sendBytes(
        "GET / HTTP/1.1\r\nHost: localhost\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
        "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Version: 13\r\n\r\n");
  }
  expectPage();
  server.faults().setConnectionMode(devserver::ConnectionMode::Accept);
  std::vector<RawClient> clients = fill();
  for (RawClient& client : clients) expectAlive(client);
}

TEST_F(ServerPlaces, OneThatHasBeenSilentForLongGoesForOneThatComes) {
  DevServer::Options impatient = options();
  impatient.silence = 0s;
  DevServer other(impatient);
  other.start();
  std::vector<RawClient> clients;
  for (std::size_t i = 0; i < kPlaces; ++i) {
    clients.push_back(RawClient::open(other.port()));
    expectAlive(clients.back());
  }
  expectAlive(clients[0]);
  clients.push_back(RawClient::open(other.port()));
  EXPECT_NE(clients[1].waitForEnd(), RawClient::End::None) << "the one that was silent longest";
  for (const std::size_t stays : {0u, 2u, 3u, 4u}) expectAlive(clients[stays]);
}

TEST(ServerBounds, AHandshakeHasFiveSecondsAndSilenceIsLongerThanTwoHeartbeats) {
  EXPECT_EQ(DevServer::Options().handshakeTimeout, 5s);
  EXPECT_GT(DevServer::Options().silence, 2 * 30s);
}

}  // namespace
}  // namespace orv::test::places_test
