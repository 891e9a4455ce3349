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
constexpr const char* kElsewhere = "127.0.0.2";

class ServerPlaces : public ::testing::Test {
 protected:
  static DevServer::Options options() {
    DevServer::Options options;
    options.maxConnections = kPlaces;
    options.handshakeTimeout = 1h;
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
  for (RawClient& half : halves) EXPECT_NE(half.waitForEnd(), RawClient::End::None);
  EXPECT_EQ(server.connectionCount(), kPlaces);
}

TEST_F(ServerPlaces, HalfOpenConnectionsDoNotPushOutThoseThatAreOpen) {
  std::vector<RawClient> clients = fill();
  for (std::size_t i = 0; i < 2 * kPlaces; ++i) {
    RawClient half(server.port());
    EXPECT_EQ(half.waitForEnd(), RawClient::End::Reset);
  }
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
  RawClient greedy(server.port(), false, 0, kElsewhere);
  EXPECT_EQ(greedy.shakeHands(), "");
  EXPECT_EQ(greedy.end(), RawClient::End::Reset);
  expectAlive(other);
}

TEST_F(ServerPlaces, ThePageIsReachedThroughTheNoiseOfHalfOpenConnections) {
  std::vector<RawClient> halves;
  for (std::size_t i = 0; i < kPlaces; ++i) halves.emplace_back(server.port());
  int status = 0;
  RawClient::http(server.port(), "GET", "/control", "", status);
  EXPECT_EQ(status, 200);
}

TEST(ServerBounds, AHandshakeHasFiveSeconds) {
  EXPECT_EQ(DevServer::Options().handshakeTimeout, 5s);
}

}  // namespace
}  // namespace orv::test::places_test
