// Who may ask for a WebSocket: whoever is no browser, and the server's own page.

#include "tests/devserver/RawClient.h"
#include "tests/devserver/ServerTest.h"

#include <string>

namespace orv::test::upgrade_test {
namespace {

class Upgrade : public ServerTest {
 protected:
  /// The status line of the answer to a request for a WebSocket.
  std::string ask(const std::string& host, const std::string& more = "") {
    RawClient client(server.port());
    client.sendBytes("GET / HTTP/1.1\r\nHost: " + host +
                     "\r\nUpgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Version: 13\r\n"
                     "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n" +
                     more + "\r\n");
    return client.receiveUntil("\r\n\r\n").substr(0, 12);
  }
  std::string own() const { return "127.0.0.1:" + std::to_string(server.port()); }
};

constexpr const char* kLetIn = "HTTP/1.1 101";
constexpr const char* kRefused = "HTTP/1.1 403";

TEST_F(Upgrade, IsRefusedToPagesOfOthers) {
  for (const std::string origin :
       {"http://classroom.example", "null", "http://127.0.0.1", "http://127.0.0.1:1", "file://",
        "https://127.0.0.1", "http://localhost"}) {
    EXPECT_EQ(ask(own(), "Origin: " + origin + "\r\n"), kRefused) << origin;
  }
  EXPECT_EQ(ask(own(), "Origin: https://" + own() + "\r\n"), kRefused) << "there is no TLS here";
  EXPECT_EQ(server.connectionCount(), 0u);
  EXPECT_EQ(server.counters().opened, 0u);
  EXPECT_EQ(server.counters().turnedAway, 8u);
}

TEST_F(Upgrade, IsRefusedWhereANameOfSomeoneElseLeadsHere) {
  for (const std::string host : {"classroom.example", "127.0.0.1.example", "localhost.example:80", "10.0.0.1",
                                 "0.0.0.0", "[::2]", "", "127.0.0.1@example"}) {
    EXPECT_EQ(ask(host), kRefused) << host;
    EXPECT_EQ(ask(host, "Origin: http://" + host + "\r\n"), kRefused) << host;
  }
  EXPECT_EQ(server.counters().opened, 0u);
}

TEST_F(Upgrade, IsForTheOwnPageAndForThoseWhoAreNoBrowser) {
  for (const std::string& host : {own(), std::string("localhost"),
                                  "LOCALHOST:" + std::to_string(server.port()), std::string("[::1]:80")}) {
    EXPECT_EQ(ask(host), kLetIn) << host;
    EXPECT_EQ(ask(host, "Origin: http://" + host + "\r\n"), kLetIn) << host;
  }
}

}  // namespace
}  // namespace orv::test::upgrade_test
