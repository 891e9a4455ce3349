#include <tests/support/NetworkNamespace.h>
#include <tests/support/RawPeer.h>
#include <tests/support/SystemCallFilter.h>
#include <tests/support/WebSocketFixture.h>

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/syscall.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <optional>
#include <string>

namespace orv::native_web_socket_handshake_test {
namespace {

using namespace test;

class NativeWebSocketHandshake : public WebSocketTest {
 protected:
  /// What an option of the client's end of the connection to the listener says.
  int optionOfClient(int option) const {
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
      const int descriptor = std::stoi(entry.path().filename());
      sockaddr_in peer{};
      socklen_t size = sizeof peer;
      if (::getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &size) != 0) continue;
      if (peer.sin_family != AF_INET || ntohs(peer.sin_port) != listener.port()) continue;
      int value = 0;
      size = sizeof value;
      EXPECT_EQ(::getsockopt(descriptor, IPPROTO_TCP, option, &value, &size), 0);
      return value;
    }
    ADD_FAILURE() << "there is no connection";
    return -1;
  }
};

TEST_F(NativeWebSocketHandshake, ReportsTheOpeningWhenTheSocketIsOpenAlready) {
  RawPeer peer = openToPeer();
  EXPECT_EQ(delegate.stateWhenOpened, WebSocketState::Open);
}

TEST_F(NativeWebSocketHandshake, TellsTheSystemToSendAtOnceAndWhenToGiveUp) {
  limits.unacknowledged = Seconds(12.5);
  RawPeer peer = openToPeer();
  EXPECT_EQ(optionOfClient(TCP_NODELAY), 1);
  EXPECT_EQ(optionOfClient(TCP_USER_TIMEOUT), 12'500);
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
    const OwnSocket bad({url, Seconds(60), nullptr}, mainQueue);
    EXPECT_EQ(bad.delegate.events, Events{});
    EXPECT_TRUE(bad.waitForEnd(mainQueue));
    EXPECT_EQ(bad.delegate.events, Events{"failed OrvWebSocket -1000"});
    EXPECT_EQ(bad.delegate.stateAtEnd, WebSocketState::Closed);
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

TEST_F(NativeWebSocketHandshake, FailsWhereThereIsNoThreadForTheLookUp) {
  openToPeer().close();
  EXPECT_TRUE(waitForEnd());
  eventsAfterAll();
  delegate.events.clear();
  // Not `clone`, by which the address sanitizer looks for leaks at the end.
  refuseSystemCalls({{__NR_clone3, EAGAIN}}, RefusedTo::AllThreads);
  start("ws://localhost:9/");
  EXPECT_TRUE(waitForEnd());
  EXPECT_EQ(eventsAfterAll(), Events{"failed POSIX " + std::to_string(EAGAIN)});
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
  const OwnSocket second(request, mainQueue);
  EXPECT_TRUE(second.waitForEnd(mainQueue));
  EXPECT_EQ(second.delegate.events, Events{"failed OrvWebSocket 504"});
  EXPECT_EQ(delegate.events, Events{"opened"});
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
    OwnSocket quick(ownRequest(), mainQueue);
    const RecordingDelegate& own = quick.delegate;
    RawPeer peer = listener.accept();
    const std::string answer = RawPeer::agreement(peer.readRequest());
    peer.send(answer);
    quick->close();
    EXPECT_TRUE(waitFor([&] { return own.ended() || own.has("opened"); }));
    const bool opened = own.has("opened");
    EXPECT_EQ(own.events.size(), 1u);
    peer.close();
    quick.eventsAfterAll(mainQueue);
    EXPECT_TRUE(own.ended());
    if (!opened) {
      EXPECT_EQ(own.events, Events{"closed 0 (absent) clean"});
    }
  }
}

TEST_F(NativeWebSocketHandshake, GivingUpWinsOverAnAnswerThatHasComeButIsNotReadYet) {
  Hold first;
  Hold second;
  OwnSocket one(first.asked(ownRequest()), mainQueue);
  RawPeer onePeer = listener.accept();
  onePeer.acceptHandshake();
  OwnSocket other(second.asked(ownRequest()), mainQueue);
  RawPeer otherPeer = listener.accept();
  otherPeer.acceptHandshake();
  start(listener.url());
  RawPeer peer = listener.accept();
  const std::string answer = RawPeer::agreement(peer.readRequest());
  // The network thread hears of the second message and of the answer at once, when the first message lets it go on.
  onePeer.send(frameBytes(opcode::kText, "hold"));
  first.waitForIt();
  otherPeer.send(frameBytes(opcode::kText, "hold"));
  peer.send(answer);
  first.end();
  second.waitForIt();
  const bool isConnecting = socket->readyState() == WebSocketState::Connecting;
  socket->close();
  second.end();
  peer.close();
  EXPECT_TRUE(waitForEnd());
  // Should the answer have been dealt with before the second message there is nothing to be seen here.
  if (isConnecting) {
    EXPECT_EQ(eventsAfterAll(), Events{"closed 0 (absent) clean"});
  }
  for (OwnSocket* socketOfOwn : {&one, &other}) {
    (*socketOfOwn)->close();
    (socketOfOwn == &one ? onePeer : otherPeer).close();
    socketOfOwn->eventsAfterAll(mainQueue);
  }
}

}  // namespace
}  // namespace orv::native_web_socket_handshake_test
