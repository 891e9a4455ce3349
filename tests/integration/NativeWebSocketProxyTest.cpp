// A socket and a proxy that the test speaks for, word by word.

#include <tests/support/ProxyPeer.h>
#include <tests/support/RawPeer.h>
#include <tests/support/TlsIdentity.h>

#include <openssl/ssl.h>

#include <chrono>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv::native_web_socket_proxy_test {
namespace {

using namespace test;
using namespace std::string_literals;

const std::string kPlainUrl = "ws://class.example.org:81/room";
const std::string kSecureUrl = "wss://class.example.org/room";
const std::string kEstablished = "HTTP/1.1 200 Connection established\r\n\r\n";
const std::string kSocksOpen = "\x05\x00\x00\x01\x7f\x00\x00\x01\x12\x34"s;

bool holds(std::string_view text, std::string_view part) {
  return text.find(part) != std::string_view::npos;
}

class NativeWebSocketProxy : public ThroughProxyTest {
 protected:
  /// How it ends when the proxy answers this to "CONNECT".
  std::string endAfter(std::string_view answer, bool signsIn = false) {
    RawPeer peer = startThrough(ProxyKind::Http, kPlainUrl, signsIn);
    peer.readRequest();
    peer.send(answer);
    const std::string end = endOf();
    EXPECT_TRUE(peer.readEnd()) << "nothing more is said to such a proxy";
    return end;
  }
  /// Opens through a SOCKS proxy, up to the request of the upgrade.
  RawPeer openThroughSocks() {
    RawPeer peer = startThrough(ProxyKind::Socks5, kPlainUrl);
    EXPECT_EQ(peer.readBytes(3), "\x05\x01\x00"s);
    peer.send("\x05\x00"s);
    EXPECT_EQ(peer.readBytes(24), "\x05\x01\x00\x03\x11"s + kBehindProxy + "\x00\x51"s);
    return peer;
  }
};

TEST_F(NativeWebSocketProxy, HttpOpensTheWayForAPlainLinkToo) {
  RawPeer peer = startThrough(ProxyKind::Http, kPlainUrl);
  EXPECT_EQ(peer.readRequest(),
            "CONNECT class.example.org:81 HTTP/1.1\r\nHost: class.example.org:81\r\n\r\n");
  peer.sendOneByOne(kEstablished);
  const std::string upgrade = peer.readRequest();
  EXPECT_TRUE(upgrade.starts_with("GET /room HTTP/1.1\r\nHost: class.example.org:81\r\n")) << upgrade;
  peer.send(RawPeer::agreement(upgrade));
  EXPECT_TRUE(waitForEvent("opened"));
  send("hello");
  EXPECT_EQ(peer.readFrame()->payload, "hello");
}

TEST_F(NativeWebSocketProxy, UserStandsInTheFirstRequestAndNowhereElse) {
  RawPeer peer = startThrough(ProxyKind::Http, kPlainUrl, true);
  EXPECT_TRUE(holds(peer.readRequest(), "\r\nProxy-Authorization: Basic "s + kProxyCredentials + "\r\n"));
  peer.send(kEstablished);
  const std::string upgrade = peer.readRequest();
  EXPECT_FALSE(holds(upgrade, "uthorization")) << upgrade;
  EXPECT_FALSE(holds(upgrade, kProxyCredentials)) << upgrade;
  peer.send(RawPeer::agreement(upgrade));
  EXPECT_TRUE(waitForEvent("opened"));
}

TEST_F(NativeWebSocketProxy, SocksGetsTheNameAndEachMessageInOnePiece) {
  setProxy(withUser(proxyAt(ProxyKind::Socks5, listener.port())));
  start(kPlainUrl);
  RawPeer peer = listener.accept();
  EXPECT_EQ(peer.readOnce(), "\x05\x02\x00\x02"s);
  peer.sendOneByOne("\x05\x02");
  const auto length = [](std::string_view text) { return static_cast<char>(text.size()); };
  EXPECT_EQ(peer.readOnce(),
            "\x01"s + length(kProxyUser) + kProxyUser + length(kProxyPassword) + kProxyPassword);
  peer.sendOneByOne("\x01\x00"s);
  EXPECT_EQ(peer.readOnce(), "\x05\x01\x00\x03\x11"s + kBehindProxy + "\x00\x51"s);
  peer.sendOneByOne("\x05\x00\x00\x03\x03"s + "gwyPP");
  const std::string upgrade = peer.readRequest();
  EXPECT_FALSE(holds(upgrade, "uthorization")) << upgrade;
  peer.send(RawPeer::agreement(upgrade));
  EXPECT_TRUE(waitForEvent("opened"));
}

TEST_F(NativeWebSocketProxy, WhatTheServerSaysBehindTheSocksAnswerIsTheServers) {
  RawPeer peer = openThroughSocks();
  // All in one packet: what follows the answer is no answer to the upgrade, which has not been sent.
  peer.send(kSocksOpen + "SSH-2.0-server\r\n\r\n");
  EXPECT_TRUE(peer.readRequest().starts_with("GET /room"));
  EXPECT_EQ(endOf(), "failed OrvWebSocket 2133");
}

TEST_F(NativeWebSocketProxy, TlsIsSpokenWithTheServerBehindHttp) {
  const TlsIdentity identity("DNS:class.example.org");
  identity.trust();
  RawPeer peer = startThrough(ProxyKind::Http, kSecureUrl, true);
  EXPECT_TRUE(peer.readRequest().starts_with("CONNECT class.example.org:443 HTTP/1.1\r\n"));
  peer.send(kEstablished);
  ASSERT_TRUE(peer.acceptTls(identity.context()));
  const std::string upgrade = peer.readRequest();
  EXPECT_FALSE(holds(upgrade, "uthorization")) << upgrade;
  peer.send(RawPeer::agreement(upgrade));
  EXPECT_TRUE(waitForEvent("opened"));
}

TEST_F(NativeWebSocketProxy, TlsIsSpokenWithTheServerBehindSocks) {
  const TlsIdentity identity("DNS:class.example.org");
  identity.trust();
  RawPeer peer = startThrough(ProxyKind::Socks5, kSecureUrl);
  peer.readBytes(3);
  peer.send("\x05\x00"s);
  EXPECT_EQ(peer.readBytes(24), "\x05\x01\x00\x03\x11"s + kBehindProxy + "\x01\xbb");
  peer.send(kSocksOpen);
  ASSERT_TRUE(peer.acceptTls(identity.context()));
  peer.acceptHandshake();
  EXPECT_TRUE(waitForEvent("opened"));
}

TEST_F(NativeWebSocketProxy, NameThatTlsHasNoRoomForIsToldAndNothingIsSaidToThatServer) {
  RawPeer peer = startThrough(ProxyKind::Http, "wss://" + std::string(256, 'n') + ".example.org/room");
  peer.readRequest();
  peer.send(kEstablished);
  EXPECT_EQ(endOf(), "failed OrvTls 0");
  EXPECT_TRUE(peer.readEnd());
}

TEST_F(NativeWebSocketProxy, CertificateOfTheProxyIsNotTheServers) {
  const TlsIdentity identity("IP:127.0.0.1, DNS:localhost");
  identity.trust();
  RawPeer peer = startThrough(ProxyKind::Http, kSecureUrl);
  peer.readRequest();
  peer.send(kEstablished);
  EXPECT_FALSE(peer.acceptTls(identity.context()));
  EXPECT_EQ(endOf(), "failed OrvTls 62");
}

TEST_F(NativeWebSocketProxy, RefusalOfTheUserIsTold) {
  EXPECT_EQ(endAfter("HTTP/1.1 407 Who\r\nProxy-Authenticate: Basic\r\nContent-Length: 4\r\n\r\nbody", true),
            "failed OrvProxy -1101");
  EXPECT_EQ(delegate.lastError.description, "the proxy http://127.0.0.1:" + std::to_string(listener.port()) +
                                                " refuses the user (HTTP status 407)");
}

TEST_F(NativeWebSocketProxy, RefusalOfTheServerIsTold) {
  EXPECT_EQ(endAfter("HTTP/1.1 403 Forbidden\r\n\r\n"), "failed OrvProxy 403");
}

TEST_F(NativeWebSocketProxy, BodyOfARefusalIsNeverTheServers) {
  EXPECT_EQ(
      endAfter("HTTP/1.1 502 Bad\r\nContent-Length: 40\r\n\r\nHTTP/1.1 101 Switching Protocols\r\n\r\n"),
      "failed OrvProxy 502");
}

TEST_F(NativeWebSocketProxy, WordsBehindTheEmptyLineAreAFailure) {
  EXPECT_EQ(endAfter(kEstablished + "HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\n\r\n"),
            "failed OrvProxy -1100");
}

TEST_F(NativeWebSocketProxy, SomethingElseThanAProxyIsTold) {
  EXPECT_EQ(endAfter("SSH-2.0-OpenSSH_9.2\r\n"), "failed OrvProxy -1100");
}

TEST_F(NativeWebSocketProxy, AnswerWithoutEndIsTold) {
  EXPECT_EQ(endAfter("HTTP/1.1 200 OK\r\nX: " + std::string(20'000, 'x')), "failed OrvProxy -1100");
}

TEST_F(NativeWebSocketProxy, RefusalOfSocksIsToldAtOnceWithItsReply) {
  RawPeer peer = openThroughSocks();
  peer.send("\x05\x05\x00\x03"s);
  EXPECT_EQ(endOf(), "failed OrvProxy 5");
  EXPECT_TRUE(peer.readEnd());
}

TEST_F(NativeWebSocketProxy, EndOfTheStreamInTheTalkIsTheProxys) {
  for (const std::string& answer : {""s, "HTTP/1.1 20"s, "HTTP/1.1 200 OK\r\n"s}) {
    RawPeer peer = startThrough(ProxyKind::Http, kPlainUrl);
    peer.readRequest();
    peer.send(answer);
    peer.close();
    EXPECT_EQ(endOf(), "failed OrvProxy -1103");
    EXPECT_TRUE(holds(delegate.lastError.description, "ended the talk")) << delegate.lastError.description;
    delegate.events.clear();
  }
}

TEST_F(NativeWebSocketProxy, ResetInTheTalkIsTheProxys) {
  RawPeer peer = startThrough(ProxyKind::Socks5, kPlainUrl);
  peer.readBytes(3);
  peer.reset();
  EXPECT_EQ(endOf(), "failed OrvProxy -1103");
}

TEST_F(NativeWebSocketProxy, SilentProxyEndsWithTheTimeLimitOfTheWhole) {
  request.connectTimeout = Seconds(0.1);
  for (const std::string& answer : {""s, "HTTP/1.1 200 OK\r\n"s}) {
    RawPeer peer = startThrough(ProxyKind::Http, kPlainUrl);
    peer.readRequest();
    peer.send(answer);
    EXPECT_EQ(endOf(), "failed OrvProxy -1103");
    EXPECT_TRUE(holds(delegate.lastError.description, "within the time limit"))
        << delegate.lastError.description;
    EXPECT_TRUE(peer.readEnd());
    delegate.events.clear();
  }
}

TEST_F(NativeWebSocketProxy, SilentServerBehindItIsTheServers) {
  request.connectTimeout = Seconds(0.5);
  RawPeer peer = startThrough(ProxyKind::Http, kPlainUrl);
  peer.readRequest();
  peer.send(kEstablished);
  peer.readRequest();
  EXPECT_EQ(endOf(), "failed OrvWebSocket 504");
}

TEST_F(NativeWebSocketProxy, EndOfTheStreamBehindItIsTheServers) {
  RawPeer peer = startThrough(ProxyKind::Http, kPlainUrl);
  peer.readRequest();
  peer.send(kEstablished);
  peer.readRequest();
  peer.close();
  EXPECT_EQ(endOf(), "closed 1001 Stream end encountered unclean");
}

TEST_F(NativeWebSocketProxy, ProxyThatNobodyRunsIsToldAsTheProxys) {
  const RawListener closed(false);
  setProxy(withUser(proxyAt(ProxyKind::Http, closed.port())));
  start(kPlainUrl);
  EXPECT_EQ(endOf(), "failed OrvProxy -1103");
  EXPECT_EQ(delegate.lastError.description, "the proxy http://127.0.0.1:" + std::to_string(closed.port()) +
                                                " is not reached: Connection refused");
}

TEST_F(NativeWebSocketProxy, NameOfTheProxyThatIsNotKnownIsToldAsTheProxys) {
  setProxy({ProxyKind::Socks5, "a..b", 1080, {}, {}});
  start(kPlainUrl);
  EXPECT_EQ(endOf(), "failed OrvProxy -1103");
  EXPECT_TRUE(delegate.lastError.description.starts_with("the proxy socks5://a..b:1080 is not reached: "))
      << delegate.lastError.description;
}

TEST_F(NativeWebSocketProxy, NameThatSocksHasNoRoomForIsNotLookedUp) {
  RawPeer peer = startThrough(ProxyKind::Socks5, "ws://" + std::string(256, 'n') + ".example.org");
  EXPECT_EQ(endOf(), "failed OrvProxy -1102");
  EXPECT_TRUE(peer.readEnd()) << "and not a word was sent";
}

TEST_F(NativeWebSocketProxy, CloseEndsTheTalkAtAnyMoment) {
  for (const std::string& answer : {""s, "HTTP/1.1 200 OK\r\n"s}) {
    RawPeer peer = startThrough(ProxyKind::Http, kPlainUrl);
    peer.readRequest();
    peer.send(answer);
    socket->close();
    EXPECT_EQ(endOf(), "closed 0 (absent) clean");
    EXPECT_TRUE(peer.readEnd());
    delegate.events.clear();
  }
  setProxy(proxyAt(ProxyKind::Http, listener.port()));
  start(kPlainUrl);
  socket->close();
  EXPECT_EQ(endOf(), "closed 0 (absent) clean");
}

TEST_F(NativeWebSocketProxy, ServerOnThisMachineIsReachedStraight) {
  const RawListener closed(false);
  setProxy(proxyAt(ProxyKind::Http, closed.port()));
  start(listener.url("/", "ws", "localhost"));
  RawPeer peer = listener.accept();
  peer.acceptHandshake();
  EXPECT_TRUE(waitForEvent("opened"));
  EXPECT_EQ(socket->connectReport().throughProxy, std::nullopt);
  EXPECT_EQ(socket->connectReport().proxy, std::nullopt);
}

TEST_F(NativeWebSocketProxy, ReportTellsTheProxyAndTheTimeOfTheTalk) {
  RawPeer peer = startThrough(ProxyKind::Http, kPlainUrl, true);
  peer.readRequest();
  EXPECT_EQ(socket->connectReport().throughProxy, "http://127.0.0.1:" + std::to_string(listener.port()));
  const Seconds before = socket->connectReport().proxy.value();
  peer.send(kEstablished);
  const std::string upgrade = peer.readRequest();
  const Seconds took = socket->connectReport().proxy.value();
  EXPECT_GE(took, before);
  peer.send(RawPeer::agreement(upgrade));
  EXPECT_TRUE(waitForEvent("opened"));
  const ConnectReport report = socket->connectReport();
  EXPECT_EQ(report.throughProxy, "http://127.0.0.1:" + std::to_string(listener.port()));
  EXPECT_EQ(report.proxy, took) << "the talk was over then";
  EXPECT_TRUE(report.upgrade);
}

TEST_F(NativeWebSocketProxy, EnvironmentIsReadAtEachAttempt) {
  takeProxyFromEnvironment();
  for (const bool signsIn : {false, true}) {
    RawListener fresh;
    const std::string user = signsIn ? "b%40d:s%2Fecret@" : "";
    ::setenv("http_proxy", ("http://" + user + "127.0.0.1:" + std::to_string(fresh.port())).c_str(), 1);
    start(kPlainUrl);
    ::unsetenv("http_proxy");  // it was read by who opened the socket
    RawPeer peer = fresh.accept();
    EXPECT_EQ(holds(peer.readRequest(), "Proxy-Authorization: Basic YkBkOnMvZWNyZXQ="), signsIn);
    socket->close();
    EXPECT_EQ(endOf(), "closed 0 (absent) clean");
    delegate.events.clear();
  }
}

TEST_F(NativeWebSocketProxy, VariableThatCannotBeReadIsAnErrorAndNoStraightWay) {
  takeProxyFromEnvironment();
  ::setenv("HTTPS_PROXY", (std::string("https://") + kProxyUser + ":" + kProxyPassword + "@proxy:1").c_str(),
           1);
  start(kSecureUrl);
  EXPECT_EQ(endOf(), "failed OrvProxy -1102");
  EXPECT_TRUE(delegate.lastError.description.starts_with("the variable HTTPS_PROXY "))
      << delegate.lastError.text();
  EXPECT_FALSE(holds(delegate.lastError.text(), kProxyPassword));
}

}  // namespace
}  // namespace orv::native_web_socket_proxy_test
