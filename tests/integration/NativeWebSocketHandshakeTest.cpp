#include "tests/support/RawPeer.h"
#include <tests/support/NetworkNamespace.h>
#include <tests/support/WebSocketFixture.h>

#include <netdb.h>

#include <cerrno>
#include <chrono>
#include <memory>
#include <optional>
#include <string>

namespace orv::native_web_socket_handshake_test {
namespace {

using namespace test;

class NativeWebSocketHandshake : public WebSocketTest {
 protected:
  /// What comes of it when the server answers the handshake with `answer` and stays connected.
  Events eventsAfterAnswer(const std::string& answer) {
    start(listener.url());
    RawPeer peer = listener.accept();
    peer.readRequest();
    peer.send(answer);
    EXPECT_TRUE(waitForEnd());
    EXPECT_EQ(delegate.stateAtEnd, WebSocketState::Closed);
    EXPECT_TRUE(peer.readEnd());
    return eventsAfterAll();
  }
};

TEST_F(NativeWebSocketHandshake, ReportsTheOpeningWhenTheSocketIsOpenAlready) {
  RawPeer peer = openToPeer();
  EXPECT_EQ(delegate.stateWhenOpened, WebSocketState::Open);
}

TEST_F(NativeWebSocketHandshake, HasAKeyOfItsOwnEachTime) {
  limits.closing = Seconds(0.05);
  const auto keyLine = [this] {
    start(listener.url());
    RawPeer peer = listener.accept();
    const std::string incoming = peer.readRequest();
    peer.send(RawPeer::agreement(incoming));
    EXPECT_TRUE(waitForEvent("opened"));
    socket->setDelegate(nullptr);
    socket->close();
    eventsAfterAll();
    delegate.events.clear();
    const std::size_t begin = incoming.find("Sec-WebSocket-Key: ");
    return begin == std::string::npos ? "" : incoming.substr(begin, incoming.find('\r', begin) - begin);
  };
  const std::string first = keyLine();
  EXPECT_EQ(first.size(), std::string("Sec-WebSocket-Key: ").size() + 24) << first;
  EXPECT_NE(first, keyLine());
}

TEST_F(NativeWebSocketHandshake, ReportsWhatItHasMetOnItsWay) {
  start(listener.url());
  RawPeer peer = listener.accept();
  const std::string incoming = peer.readRequest();
  ConnectReport report = socket->connectReport();
  EXPECT_TRUE(report.attempts.at(0).won);
  EXPECT_TRUE(report.upgrade.has_value());
  EXPECT_EQ(report.httpStatus, 0);
  peer.send(RawPeer::agreement(incoming, "Date: Sun, 06 Nov 1994 08:49:37 GMT\r\n"));
  ASSERT_TRUE(waitForEvent("opened"));
  report = socket->connectReport();
  EXPECT_EQ(report.name, std::nullopt) << "a number needs no look-up";
  EXPECT_GT(report.connect, Seconds(0));
  EXPECT_EQ(report.proxy, std::nullopt);
  EXPECT_EQ(report.tls, std::nullopt);
  EXPECT_GT(report.upgrade, Seconds(0));
  EXPECT_EQ(report.attempts.at(0).address, "127.0.0.1");
  EXPECT_EQ(report.httpStatus, 101);
  EXPECT_EQ(report.serverDate, WallTime(std::chrono::seconds(784'111'777)));
  ASSERT_TRUE(report.answeredAt.has_value());
  EXPECT_LT(std::chrono::system_clock::now() - *report.answeredAt, std::chrono::minutes(2));
  peer.send(frameBytes(opcode::kText, "later"));
  ASSERT_TRUE(waitForEvent("text later"));
  EXPECT_EQ(socket->connectReport().upgrade, report.upgrade) << "the way is over";
}

TEST_F(NativeWebSocketHandshake, ReportsARefusalToo) {
  start(listener.url());
  RawPeer peer = listener.accept();
  peer.readRequest();
  peer.send("HTTP/1.1 503 Later\r\nDate: Sun, 06 Nov 1994 08:49:37 GMT\r\n\r\n");
  ASSERT_TRUE(waitForEnd());
  const ConnectReport report = socket->connectReport();
  EXPECT_EQ(report.httpStatus, 503);
  EXPECT_EQ(report.serverDate, WallTime(std::chrono::seconds(784'111'777)));
  EXPECT_TRUE(report.upgrade.has_value());
}

TEST_F(NativeWebSocketHandshake, IsConnectingUntilThen) {
  start(listener.url());
  EXPECT_EQ(socket->readyState(), WebSocketState::Connecting);
  RawPeer peer = listener.accept();
  const std::string incoming = peer.readRequest();
  EXPECT_EQ(socket->readyState(), WebSocketState::Connecting);
  peer.send(RawPeer::agreement(incoming));
  // The state changes on the network thread; no event has been delivered yet.
  EXPECT_TRUE(mainQueue.waitForQueued(1));
  EXPECT_EQ(socket->readyState(), WebSocketState::Open);
  EXPECT_EQ(delegate.events, Events{});
}

TEST_F(NativeWebSocketHandshake, AsksTheServerWithTheHeadersOfAWebSocketClient) {
  start("WS://user:secret@127.0.0.1:" + std::to_string(listener.port()) + "/a/b?c=d#e");
  const std::string text = listener.accept().readRequest();
  const std::string host = "127.0.0.1:" + std::to_string(listener.port());
  EXPECT_TRUE(text.starts_with("GET /a/b?c=d HTTP/1.1\r\n")) << text;
  for (const std::string& line :
       {"Host: " + host, "Origin: http://" + host, std::string("Upgrade: websocket"),
        std::string("Sec-WebSocket-Version: 13"), std::string("Authorization: Basic dXNlcjpzZWNyZXQ=")}) {
    EXPECT_NE(text.find("\r\n" + line + "\r\n"), std::string::npos) << line << " in " << text;
  }
  EXPECT_NE(text.find("\r\nConnection: "), std::string::npos);
  EXPECT_EQ(text.find("Sec-WebSocket-Extensions"), std::string::npos);
  EXPECT_EQ(text.find("Sec-WebSocket-Protocol"), std::string::npos);
}

TEST_F(NativeWebSocketHandshake, ConnectsToANameAndTriesAllItsAddresses) {
  start(listener.url("/", "ws", "localhost"));
  RawPeer peer = listener.accept();
  peer.acceptHandshake();
  EXPECT_TRUE(waitForEvent("opened"));
}

TEST_F(NativeWebSocketHandshake, ConnectsToAnAddressOfTheSixthVersion) {
  const NetworkNamespace world;
  world.ip("link set lo up");
  world.run([this] {
    RawListener sixth(true, AF_INET6);
    start(sixth.url("/", "ws", "[::1]"));
    RawPeer peer = sixth.accept();
    peer.acceptHandshake();
    EXPECT_TRUE(waitForEvent("opened"));
  });
}

TEST_F(NativeWebSocketHandshake, FailsAfterTheCallWhenTheAddressIsBad) {
  for (const OptionalString& url : {OptionalString(), OptionalString(""), OptionalString("nonsense"),
                                    OptionalString("ftp://127.0.0.1/"), OptionalString("ws://a:0/")}) {
    RecordingDelegate own;
    const auto bad = makeNativeWebSocket({url, Seconds(60), nullptr}, mainQueue);
    bad->setDelegate(&own);
    bad->open();
    EXPECT_EQ(own.events, Events{});
    EXPECT_TRUE(waitFor([&] { return own.ended(); }));
    EXPECT_EQ(own.events, Events{"failed OrvWebSocket -1000"});
    EXPECT_EQ(own.stateAtEnd, WebSocketState::Closed);
  }
}

TEST_F(NativeWebSocketHandshake, FailsWithTheSystemsErrorWhenTheConnectionIsRefused) {
  const RawListener refusing(false);
  start(refusing.url());
  EXPECT_TRUE(waitForEnd());
  EXPECT_EQ(eventsAfterAll(), Events{"failed POSIX " + std::to_string(ECONNREFUSED)});
}

TEST_F(NativeWebSocketHandshake, FailsWithTheSystemsErrorWhenTheNetworkIsUnreachable) {
  const NetworkNamespace empty;
  empty.run([this] {
    start("ws://192.0.2.1:9/");
    EXPECT_TRUE(waitForEnd());
    EXPECT_EQ(eventsAfterAll(), Events{"failed POSIX " + std::to_string(ENETUNREACH)});
  });
}

TEST_F(NativeWebSocketHandshake, FailsWhenTheNameHasNoAddress) {
  start("ws://" + std::string(70, 'a') + ".invalid/");  // no label may be that long: nobody is asked
  EXPECT_TRUE(waitForEnd());
  EXPECT_EQ(delegate.lastError.domain, "OrvNameLookup");
  EXPECT_NE(delegate.lastError.code, 0);
  EXPECT_EQ(eventsAfterAll().size(), 1u);
}

TEST_F(NativeWebSocketHandshake, FailsWhenTheServerDoesNotAnswerInTime) {
  request.connectTimeout = Seconds(0.05);
  start(listener.url());
  RawPeer peer = listener.accept();
  EXPECT_TRUE(waitForEnd());
  peer.readRequest();
  EXPECT_TRUE(peer.readEnd());
  EXPECT_EQ(eventsAfterAll(), Events{"failed OrvWebSocket 504"});
}

TEST_F(NativeWebSocketHandshake, TheTimeLimitEndsWithTheHandshake) {
  request.connectTimeout = Seconds(0.3);
  RawPeer peer = openToPeer();
  // A second socket that starts now runs into its limit later than the first one would have.
  RecordingDelegate own;
  const auto second = makeNativeWebSocket(request, mainQueue);
  second->setDelegate(&own);
  second->open();
  EXPECT_TRUE(waitFor([&] { return own.ended(); }));
  EXPECT_EQ(own.events, Events{"failed OrvWebSocket 504"});
  EXPECT_EQ(delegate.events, Events{"opened"});
}

TEST_F(NativeWebSocketHandshake, NamesTheStatusOfAServerThatRefuses) {
  EXPECT_EQ(eventsAfterAnswer("HTTP/1.1 403 Forbidden\r\nContent-Length: 5\r\n\r\nsorry"),
            Events{"failed OrvWebSocket 2132"});
  EXPECT_NE(delegate.lastError.description.find("403"), std::string::npos);
}

TEST_F(NativeWebSocketHandshake, DoesNotWaitForTheBodyOfARefusal) {
  EXPECT_EQ(eventsAfterAnswer("HTTP/1.1 500 Oops\r\n\r\n"), Events{"failed OrvWebSocket 2132"});
}

TEST_F(NativeWebSocketHandshake, FollowsNoRedirection) {
  EXPECT_EQ(eventsAfterAnswer("HTTP/1.1 301 Moved\r\nLocation: " + listener.url() + "\r\n\r\n"),
            Events{"failed OrvWebSocket 2133"});
}

TEST_F(NativeWebSocketHandshake, AnOrdinaryAnswerIsABadHandshake) {
  EXPECT_EQ(eventsAfterAnswer("HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n"),
            Events{"failed OrvWebSocket 2133"});
}

TEST_F(NativeWebSocketHandshake, AWrongAcceptKeyIsABadHandshake) {
  EXPECT_EQ(
      eventsAfterAnswer("HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
                        "Sec-WebSocket-Accept: AAAAAAAAAAAAAAAAAAAAAAAAAAA=\r\n\r\n"),
      Events{"failed OrvWebSocket 2133"});
}

TEST_F(NativeWebSocketHandshake, AMissingAcceptKeyIsABadHandshake) {
  EXPECT_EQ(eventsAfterAnswer(
                "HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n\r\n"),
            Events{"failed OrvWebSocket 2133"});
}

TEST_F(NativeWebSocketHandshake, AnAnswerThatIsNotHttpIsABadHandshake) {
  // It is known by its first letters: a server that waits for the client to speak sends no more.
  for (const char* answer :
       {"220 mail.example.org ready\r\n\r\n", "SSH-2.0-Open\r\n", "{}", "\x15\x03\x01"}) {
    RecordingDelegate own;
    const auto other = makeNativeWebSocket({listener.url(), Seconds(60), nullptr}, mainQueue);
    other->setDelegate(&own);
    other->open();
    RawPeer peer = listener.accept();
    peer.readRequest();
    peer.send(answer);
    EXPECT_TRUE(waitFor([&] { return own.ended(); })) << answer;
    EXPECT_EQ(own.events, Events{"failed OrvWebSocket 2133"});
    EXPECT_EQ(own.lastError.description, "the server's answer to the handshake is not HTTP");
  }
}

TEST_F(NativeWebSocketHandshake, AnAnswerPassesUpToItsLongestHeader) {
  const auto event = [this](std::size_t size) {
    RecordingDelegate own;
    const auto other = makeNativeWebSocket({listener.url(), Seconds(60), nullptr}, mainQueue);
    other->setDelegate(&own);
    other->open();
    RawPeer peer = listener.accept();
    const std::string asked = peer.readRequest();
    const std::size_t rest = size - RawPeer::agreement(asked, "X: \r\n").size();
    const std::string header = RawPeer::agreement(asked, "X: " + std::string(rest, 'x') + "\r\n");
    EXPECT_EQ(header.size(), size);
    peer.send(header + frameBytes(opcode::kText, "first"));
    EXPECT_TRUE(waitFor([&] { return own.has("text first") || own.ended(); }));
    other->setDelegate(nullptr);
    return own.events;
  };
  for (const std::size_t size : {7999u, 8000u, 8001u, 8192u, 15'000u, 16u << 10}) {
    EXPECT_EQ(event(size), (Events{"opened", "text first"})) << size;
  }
  EXPECT_EQ(event((16u << 10) + 1), Events{"failed OrvWebSocket 2133"});
}

TEST_F(NativeWebSocketHandshake, AnExtensionThatWasNotOfferedIsABadHandshake) {
  start(listener.url());
  RawPeer peer = listener.accept();
  peer.send(RawPeer::agreement(peer.readRequest(), "Sec-WebSocket-Extensions: permessage-deflate\r\n"));
  EXPECT_TRUE(waitForEnd());
  EXPECT_EQ(eventsAfterAll(), Events{"failed OrvWebSocket 2133"});
}

TEST_F(NativeWebSocketHandshake, AHeaderWithoutEndIsABadHandshake) {
  EXPECT_EQ(eventsAfterAnswer("HTTP/1.1 101 Yes\r\nX: " + std::string(17'000, 'x')),
            Events{"failed OrvWebSocket 2133"});
}

TEST_F(NativeWebSocketHandshake, ASubProtocolThatWasNotAskedForIsABadHandshake) {
  start(listener.url());
  RawPeer peer = listener.accept();
  peer.send(RawPeer::agreement(peer.readRequest(), "Sec-WebSocket-Protocol: chat\r\n"));
  EXPECT_TRUE(waitForEnd());
  EXPECT_EQ(eventsAfterAll(), Events{"failed OrvWebSocket 2133"});
}

TEST_F(NativeWebSocketHandshake, TheEndOfTheStreamIsAnUncleanClose) {
  for (const char* part : {"", "HTTP/1.1 101 Switch"}) {
    RecordingDelegate own;
    const auto cut = makeNativeWebSocket({listener.url(), Seconds(60), nullptr}, mainQueue);
    cut->setDelegate(&own);
    cut->open();
    RawPeer peer = listener.accept();
    peer.readRequest();
    peer.send(part);
    peer.close();
    EXPECT_TRUE(waitFor([&] { return own.ended(); }));
    EXPECT_EQ(own.events, Events{"closed 1001 Stream end encountered unclean"});
    EXPECT_EQ(own.stateAtEnd, WebSocketState::Closed);
  }
}

TEST_F(NativeWebSocketHandshake, AResetIsAFailureWithTheSystemsError) {
  start(listener.url());
  RawPeer peer = listener.accept();
  peer.readRequest();
  peer.reset();
  EXPECT_TRUE(waitForEnd());
  EXPECT_EQ(eventsAfterAll(), Events{"failed POSIX " + std::to_string(ECONNRESET)});
}

TEST_F(NativeWebSocketHandshake, TakesAnAnswerByteByByte) {
  start(listener.url());
  RawPeer peer = listener.accept();
  peer.sendOneByOne(RawPeer::agreement(peer.readRequest()) + frameBytes(opcode::kText, "first"));
  EXPECT_TRUE(waitForEvent("text first"));
  EXPECT_EQ(delegate.events, (Events{"opened", "text first"}));
}

TEST_F(NativeWebSocketHandshake, TakesFramesThatComeWithALongAnswer) {
  start(listener.url());
  RawPeer peer = listener.accept();
  const std::string cookies = "Set-Cookie: " + std::string(5000, 'c') + "\r\n";
  peer.send(RawPeer::agreement(peer.readRequest(), cookies) +
            frameBytes(opcode::kText, std::string(3000, 'm')) + frameBytes(opcode::kText, "second"));
  EXPECT_TRUE(waitForEvent("text second"));
  EXPECT_EQ(delegate.events, (Events{"opened", "text " + std::string(3000, 'm'), "text second"}));
}

TEST_F(NativeWebSocketHandshake, OpensOnlyOnce) {
  RawPeer peer = openToPeer();
  socket->open();
  peer.send(frameBytes(opcode::kClose, closePayload(1000)));
  EXPECT_TRUE(waitForEnd());
  socket->open();
  peer.close();
  EXPECT_EQ(eventsAfterAll(), (Events{"opened", "closed 1000 (absent) clean"}));
}

TEST_F(NativeWebSocketHandshake, GivingUpBeforeTheServerAnswersIsACleanCloseAtOnce) {
  start(listener.url());
  RawPeer peer = listener.accept();
  peer.readRequest();
  socket->close();
  EXPECT_EQ(delegate.events, Events{});
  EXPECT_TRUE(waitForEnd());
  EXPECT_EQ(delegate.stateAtEnd, WebSocketState::Closed);
  EXPECT_TRUE(peer.readEnd());  // no close frame
  EXPECT_EQ(eventsAfterAll(), Events{"closed 0 (absent) clean"});
}

TEST_F(NativeWebSocketHandshake, GivingUpBeforeItWasOpenedIsACleanCloseToo) {
  socket = makeNativeWebSocket({listener.url(), Seconds(60), nullptr}, mainQueue);
  everyPart = socket;
  socket->setDelegate(&delegate);
  socket->close();
  socket->open();
  EXPECT_TRUE(waitForEnd());
  EXPECT_EQ(eventsAfterAll(), Events{"closed 0 (absent) clean"});
}

TEST_F(NativeWebSocketHandshake, GivingUpWinsOverAnAnswerThatComesAfterwards) {
  for (int round = 0; round < 50; ++round) {
    RecordingDelegate own;
    auto quick = makeNativeWebSocket({listener.url(), Seconds(60), nullptr}, mainQueue);
    quick->setDelegate(&own);
    quick->open();
    RawPeer peer = listener.accept();
    const std::string answer = RawPeer::agreement(peer.readRequest());
    peer.send(answer);
    quick->close();
    EXPECT_TRUE(waitFor([&] { return own.ended() || own.has("opened"); }));
    const bool opened = own.has("opened");
    EXPECT_EQ(own.events.size(), 1u);
    peer.close();
    const std::weak_ptr<WebSocket> gone = std::exchange(quick, nullptr);
    EXPECT_TRUE(waitFor([&] { return gone.expired(); }));
    EXPECT_TRUE(own.ended());
    if (!opened) {
      EXPECT_EQ(own.events, Events{"closed 0 (absent) clean"});
    }
  }
}

}  // namespace
}  // namespace orv::native_web_socket_handshake_test
