#include <orvnetwork/platform/native/websocket/Upgrade.h>

#include <gtest/gtest.h>

#include <string>

namespace orv::upgrade_test {
namespace {

// The example of RFC 6455, section 1.3.
const std::string kKey = "dGhlIHNhbXBsZSBub25jZQ==";
const std::string kAccept = "Sec-WebSocket-Accept: s3pPLMBiTxaQ9kYGzzhZRbK+xOo=\r\n";
const std::string kUpgrade = "Upgrade: websocket\r\nConnection: Upgrade\r\n";

OptionalString flawOf(const std::string& lines,
                      const std::string& status = "HTTP/1.1 101 Switching Protocols\r\n") {
  return flawOfUpgrade(status + lines + "\r\n", kKey);
}

TEST(Upgrade, AsksWithTheHeadersInTheirOrder) {
  WebSocketUrl url;
  url.target = "/a?b=c";
  url.hostHeader = "host:81";
  url.origin = "http://host:81";
  const std::string start =
      "GET /a?b=c HTTP/1.1\r\nHost: host:81\r\nUpgrade: websocket\r\nConnection: "
      "upgrade\r\nSec-WebSocket-Key: key\r\n"
      "Sec-WebSocket-Version: 13\r\nOrigin: http://host:81\r\n";
  EXPECT_EQ(upgradeRequest(url, "key"), start + "\r\n");
  url.authorization = "Basic abc";
  EXPECT_EQ(upgradeRequest(url, "key"), start + "Authorization: Basic abc\r\n\r\n");
}

TEST(Upgrade, AgreesToWhatBelongsToTheKey) {
  EXPECT_EQ(flawOf(kUpgrade + kAccept), std::nullopt);
  EXPECT_EQ(flawOf("UPGRADE: WebSocket\r\nconnection: keep-alive, upgrade\r\nX: y\r\n" + kAccept),
            std::nullopt);
  EXPECT_EQ(flawOf("X: " + std::string(16'000, 'x') + "\r\n" + kUpgrade + kAccept), std::nullopt);
}

TEST(Upgrade, ReadsAHeaderThatComesSeveralTimesAsOneList) {
  EXPECT_EQ(flawOf("Connection: keep-alive\r\n" + kUpgrade + kAccept), std::nullopt);
  EXPECT_EQ(flawOf("Upgrade: h2c\r\n" + kUpgrade + "Connection: keep-alive\r\n" + kAccept), std::nullopt);
  EXPECT_TRUE(flawOf("Upgrade: websocket\r\nConnection: keep-alive\r\nConnection: close\r\n" + kAccept));
}

TEST(Upgrade, RefusesWhatDoesNot) {
  EXPECT_TRUE(flawOf(kUpgrade));
  EXPECT_TRUE(flawOf(kUpgrade + "Sec-WebSocket-Accept: AAAAAAAAAAAAAAAAAAAAAAAAAAA=\r\n"));
  EXPECT_TRUE(flawOfUpgrade("HTTP/1.1 101 Yes\r\n" + kUpgrade + kAccept + "\r\n", "another key"));
  EXPECT_TRUE(flawOf("Upgrade: websocket\r\n" + kAccept));
  EXPECT_TRUE(flawOf("Connection: Upgrade\r\n" + kAccept));
  EXPECT_TRUE(flawOf("Upgrade: h2c\r\nConnection: Upgrade\r\n" + kAccept));
  EXPECT_TRUE(flawOf("Upgrade: websocket\r\nConnection: close\r\n" + kAccept));
}

TEST(Upgrade, RefusesWhatWasNotOffered) {
  EXPECT_TRUE(flawOf(kUpgrade + kAccept + "Sec-WebSocket-Protocol: chat\r\n"));
  EXPECT_TRUE(flawOf(kUpgrade + kAccept + "Sec-WebSocket-Extensions: permessage-deflate\r\n"));
}

TEST(Upgrade, RefusesAnOldVersionAndWhatIsNoHeader) {
  EXPECT_TRUE(flawOf(kUpgrade + kAccept, "HTTP/1.0 101 Switching Protocols\r\n"));
  EXPECT_TRUE(flawOf(kUpgrade + kAccept + "no colon\r\n"));
  EXPECT_TRUE(flawOfUpgrade("HTTP/1.1 101 Cut\r\nUpgrade: webs", kKey));
}

}  // namespace
}  // namespace orv::upgrade_test
