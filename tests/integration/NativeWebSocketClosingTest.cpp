#include <tests/support/NetworkNamespace.h>
#include <tests/support/WebSocketFixture.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace orv::native_web_socket_closing_test {
namespace {

using namespace test;

/// What the peer sends, what it gets back and what the delegate is told.
struct Ending {
  std::string sent;
  int answer;
  std::string event;
};

class NativeWebSocketClosing : public WebSocketTest {
 protected:
  void expectEnding(const Ending& ending) {
    OwnSocket one(ownRequest(), mainQueue, limits);
    RawPeer peer = listener.accept();
    peer.acceptHandshake(ending.sent);
    EXPECT_TRUE(one.waitForEnd(mainQueue));
    EXPECT_EQ(one.delegate.stateAtEnd, WebSocketState::Closed);
    const auto answer = peer.readFrame();
    ASSERT_TRUE(answer.has_value());
    EXPECT_EQ(answer->opcode, opcode::kClose);
    EXPECT_TRUE(answer->masked);
    EXPECT_EQ(answer->closeCode(), ending.answer);
    EXPECT_TRUE(peer.readEnd());
    peer.close();
    EXPECT_EQ(one.eventsAfterAll(mainQueue), (Events{"opened", ending.event}));
  }
  std::string closeFrame(int code, std::string_view reason = "") {
    return frameBytes(opcode::kClose, closePayload(code, reason));
  }
};

TEST_F(NativeWebSocketClosing, TellsThePeersCodeAndReasonAndAnswersWithNormal) {
  expectEnding({closeFrame(1000, "bye"), 1000, "closed 1000 bye clean"});
  expectEnding({closeFrame(1001), 1000, "closed 1001 (absent) clean"});
  expectEnding(
      {closeFrame(1011, "\xe5\x86\x8d\xe8\xa7\x81"), 1000, "closed 1011 \xe5\x86\x8d\xe8\xa7\x81 clean"});
  expectEnding({closeFrame(3000), 1000, "closed 3000 (absent) clean"});
  expectEnding({closeFrame(4999, "kicked"), 1000, "closed 4999 kicked clean"});
  expectEnding(
      {closeFrame(4000, std::string(123, 'r')), 1000, "closed 4000 " + std::string(123, 'r') + " clean"});
}

TEST_F(NativeWebSocketClosing, TellsACloseFrameWithoutBodyAsNoStatus) {
  expectEnding({frameBytes(opcode::kClose, ""), 1000, "closed 1005 (absent) clean"});
}

TEST_F(NativeWebSocketClosing, ACloseFrameWithHalfACodeIsAProtocolError) {
  expectEnding({frameBytes(opcode::kClose, "\x03"), 1002, "closed 0 (absent) clean"});
}

TEST_F(NativeWebSocketClosing, AnInvalidCodeIsToldWithoutItsReasonAndIsAProtocolErrorToThePeer) {
  for (const int code : {0, 999, 1004, 1005, 1006, 1012, 1013, 1014, 1015, 2000, 2999, 5000, 65535}) {
    expectEnding({closeFrame(code, "why"), 1002, "closed " + std::to_string(code) + " (absent) clean"});
  }
}

TEST_F(NativeWebSocketClosing, AReasonThatIsNotTextIsDroppedAndIsAProtocolErrorToThePeer) {
  expectEnding({closeFrame(1000, "\xff\xfe"), 1002, "closed 1000 (absent) clean"});
}

TEST_F(NativeWebSocketClosing, AProtocolErrorOfThePeerIsACloseWithoutCode) {
  const std::string errors[] = {
      frameBytes(opcode::kText, "x", 0xc0),  // reserved bits
      frameBytes(opcode::kText, "x", 0xa0),
      frameBytes(opcode::kText, "x", 0x90),
      frameBytes(3, "x"),  // reserved opcodes
      frameBytes(15, ""),
      frameBytes(opcode::kText, "x", 0x80, true),  // masked
      frameBytes(opcode::kPing, "x", 0),           // control frames in pieces, or too long
      frameBytes(opcode::kPing, std::string(126, 'x')),
      frameBytes(opcode::kClose, closePayload(1000), 0),
      frameBytes(opcode::kContinuation, "x"),                              // nothing to continue
      frameBytes(opcode::kText, "x", 0) + frameBytes(opcode::kText, "y"),  // not continued
  };
  for (const std::string& error : errors) expectEnding({error, 1002, "closed 0 (absent) clean"});
}

TEST_F(NativeWebSocketClosing, TextThatIsNotUtf8IsNotDeliveredAndIsACloseWithoutCode) {
  expectEnding({frameBytes(opcode::kText, "ab\xff"), 1007, "closed 0 (absent) clean"});
  expectEnding({frameBytes(opcode::kText, "\xe5\x86"), 1007, "closed 0 (absent) clean"});
  expectEnding({frameBytes(opcode::kText, "\xe5", 0) + frameBytes(opcode::kContinuation, "\x41"), 1007,
                "closed 0 (absent) clean"});
}

TEST_F(NativeWebSocketClosing, AMessageBeyondTheLimitIsACloseWithoutCode) {
  limits.incomingBytes = 1000;
  expectEnding({frameBytes(opcode::kText, std::string(1001, 'x')), 1009, "closed 0 (absent) clean"});
  expectEnding({frameBytes(opcode::kText, std::string(600, 'x'), 0) +
                    frameBytes(opcode::kContinuation, std::string(401, 'x')),
                1009, "closed 0 (absent) clean"});
}

TEST_F(NativeWebSocketClosing, DeliversNothingAfterTheCloseFrame) {
  RawPeer peer = openToPeer(frameBytes(opcode::kText, "last") + closeFrame(1000, "bye") +
                            frameBytes(opcode::kText, "later") + closeFrame(1001));
  EXPECT_TRUE(waitForEnd());
  peer.close();
  EXPECT_EQ(eventsAfterAll(), (Events{"opened", "text last", "closed 1000 bye clean"}));
}

TEST_F(NativeWebSocketClosing, ACloseFrameThatIsFollowedByTheEndAtOnceKeepsItsCode) {
  RawPeer peer = openToPeer();
  for (int i = 0; i < 100; ++i) send("not read by the peer, whose system answers its end with a reset");
  peer.send(closeFrame(4001, "gone"));
  peer.close();
  EXPECT_TRUE(waitForEnd());
  EXPECT_EQ(eventsAfterAll(), (Events{"opened", "closed 4001 gone clean"}));
}

TEST_F(NativeWebSocketClosing, TheEndOfTheStreamIsAnUncleanClose) {
  RawPeer peer = openToPeer(frameBytes(opcode::kText, "last"));
  peer.close();
  EXPECT_TRUE(waitForEnd());
  EXPECT_EQ(delegate.stateAtEnd, WebSocketState::Closed);
  EXPECT_EQ(eventsAfterAll(), (Events{"opened", "text last", "closed 1001 Stream end encountered unclean"}));
}

TEST_F(NativeWebSocketClosing, TheEndInsideAFrameIsAnUncleanClose) {
  const std::string frame = frameBytes(opcode::kText, "never whole");
  for (std::size_t size = 1; size < frame.size(); ++size) {
    const OwnSocket one(ownRequest(), mainQueue);
    RawPeer peer = listener.accept();
    peer.acceptHandshake(frame.substr(0, size));
    peer.close();
    EXPECT_TRUE(one.waitForEnd(mainQueue));
    EXPECT_EQ(one.delegate.events, (Events{"opened", "closed 1001 Stream end encountered unclean"}));
  }
}

TEST_F(NativeWebSocketClosing, AResetIsAFailureWithTheSystemsError) {
  RawPeer peer = openToPeer();
  peer.reset();
  EXPECT_TRUE(waitForEnd());
  EXPECT_EQ(delegate.stateAtEnd, WebSocketState::Closed);
  EXPECT_EQ(eventsAfterAll(), (Events{"opened", "failed POSIX " + std::to_string(ECONNRESET)}));
}

TEST_F(NativeWebSocketClosing, OurCloseEndsWithThePeersCodeAndReason) {
  for (const auto& [answer, event] :
       {std::pair(closeFrame(1000), "closed 1000 (absent) clean"),
        std::pair(closeFrame(3001, "seen"), "closed 3001 seen clean"),
        std::pair(frameBytes(opcode::kClose, ""), "closed 1005 (absent) clean"),
        std::pair(closeFrame(999), "closed 999 (absent) clean"),
        std::pair(frameBytes(3, ""), "closed 0 (absent) clean"),
        std::pair(std::string(), "closed 1001 Stream end encountered unclean")}) {
    OwnSocket one(ownRequest(), mainQueue);
    RawPeer peer = listener.accept();
    peer.acceptHandshake();
    EXPECT_TRUE(one.waitForEvent(mainQueue, "opened"));
    one->close();
    EXPECT_EQ(one->readyState(), WebSocketState::Closing);
    const auto frame = peer.readFrame();
    ASSERT_TRUE(frame.has_value());
    EXPECT_EQ(frame->opcode, opcode::kClose);
    EXPECT_EQ(frame->closeCode(), 1000);
    peer.send(answer);
    if (answer.empty()) peer.close();
    EXPECT_TRUE(one.waitForEnd(mainQueue));
    EXPECT_TRUE(answer.empty() || peer.readEnd());  // one close frame is all there is
    peer.close();
    EXPECT_EQ(one.eventsAfterAll(mainQueue), (Events{"opened", event}));
  }
}

TEST_F(NativeWebSocketClosing, MessagesStillArriveWhileWeClose) {
  RawPeer peer = openToPeer();
  socket->close();
  ASSERT_TRUE(peer.readFrame().has_value());
  peer.send(frameBytes(opcode::kText, "late") + frameBytes(opcode::kPing, "not answered") + closeFrame(1000));
  EXPECT_TRUE(waitForEnd());
  EXPECT_TRUE(peer.readEnd());
  peer.close();
  EXPECT_EQ(eventsAfterAll(), (Events{"opened", "text late", "closed 1000 (absent) clean"}));
}

TEST_F(NativeWebSocketClosing, ASilentPeerIsGivenTenSecondsAndADeadOneThirty) {
  EXPECT_EQ(limits.closing, Seconds(10));
  EXPECT_EQ(limits.unacknowledged, Seconds(30));
}

TEST_F(NativeWebSocketClosing, APeerThatDoesNotAnswerOurCloseIsCutOffWithoutAnEvent) {
  limits.closing = Seconds(0.05);
  RawPeer peer = openToPeer();
  socket->close();
  EXPECT_EQ(peer.readFrame()->closeCode(), 1000);
  EXPECT_TRUE(peer.readEnd());
  EXPECT_TRUE(waitFor([this] { return socket->readyState() == WebSocketState::Closed; }));
  EXPECT_EQ(eventsAfterAll(), Events{"opened"});
}

TEST_F(NativeWebSocketClosing, APeerThatDoesNotAnswerIsWaitedForOnceFromWhenOurCloseFrameHasLeft) {
  // A busy machine is late by some time, who waits twice by the whole limit: then once more, with a longer one.
  for (limits.closing = Seconds(2);; limits.closing *= 2) {
    RawPeer peer = openToPeer();
    const auto begun = std::chrono::steady_clock::now();
    socket->close();
    EXPECT_EQ(peer.readFrame()->closeCode(), 1000);
    EXPECT_TRUE(peer.readEnd());
    const Seconds waited = std::chrono::steady_clock::now() - begun;
    EXPECT_GE(waited, limits.closing);
    if (waited < limits.closing * 1.9) break;
    ASSERT_LT(limits.closing, Seconds(8)) << "twice the limit";
    delegate.events.clear();
  }
}

TEST_F(NativeWebSocketClosing, APeerThatDoesNotEndTheStreamAfterItsCloseFrameIsCutOff) {
  limits.closing = Seconds(0.05);
  RawPeer peer = openToPeer(closeFrame(1000));
  EXPECT_EQ(eventsAfterAll(), (Events{"opened", "closed 1000 (absent) clean"}));
}

TEST_F(NativeWebSocketClosing, ClosingTwiceIsClosingOnce) {
  RawPeer peer = openToPeer();
  socket->close();
  socket->close();
  EXPECT_EQ(peer.readFrame()->closeCode(), 1000);
  peer.send(closeFrame(1000));
  EXPECT_TRUE(peer.readEnd());
  peer.close();
  socket->close();
  EXPECT_EQ(eventsAfterAll(), (Events{"opened", "closed 1000 (absent) clean"}));
}

TEST_F(NativeWebSocketClosing, APeerThatTakesNothingAnyMoreIsAFailure) {
  limits.unacknowledged = Seconds(0.1);
  RawPeer peer = openToPeer();
  for (int i = 0; i < 32; ++i) send(std::string(1 << 20, 'x'));
  EXPECT_TRUE(waitForEnd());
  EXPECT_TRUE(delegate.events.back() == "failed POSIX " + std::to_string(ETIMEDOUT) ||
              delegate.events.back() == "failed OrvWebSocket 2145")
      << delegate.events.back();
  EXPECT_EQ(eventsAfterAll().size(), 2u);
}

TEST_F(NativeWebSocketClosing, APeerWhoseMachineIsGoneIsAFailureOnceSomethingIsSent) {
  const NetworkNamespace here;
  const NetworkNamespace there;
  here.connect("net0", there, "net0");
  there.ip("address add 192.0.2.2/24 dev net0\nlink set net0 up\nlink set lo up");
  here.ip("address add 192.0.2.1/24 dev net0\nlink set net0 up");
  here.waitUntilRunning("net0");
  std::optional<RawPeer> peer;
  std::unique_ptr<RawListener> remote;
  there.run([&] { remote = std::make_unique<RawListener>(true, AF_INET, "0.0.0.0"); });
  here.run([&] {
    limits.unacknowledged = Seconds(0.3);
    start(remote->url("/", "ws", "192.0.2.2"));
    peer.emplace(remote->accept());
    peer->acceptHandshake();
    ASSERT_TRUE(waitForEvent("opened"));
    there.ip("link set net0 down");
    send("PING");
    EXPECT_TRUE(waitForEnd());
    EXPECT_EQ(eventsAfterAll(), (Events{"opened", "failed POSIX " + std::to_string(ETIMEDOUT)}));
  });
}

TEST_F(NativeWebSocketClosing, ADelegateThatWasClearedHearsNothingNotEvenWhatWasQueued) {
  RawPeer peer = openToPeer();
  peer.send(frameBytes(opcode::kText, "one") + closeFrame(1000));
  ASSERT_TRUE(mainQueue.waitForQueued(2));
  socket->setDelegate(nullptr);
  peer.close();
  EXPECT_EQ(eventsAfterAll(), Events{"opened"});
}

TEST_F(NativeWebSocketClosing, AnEventGoesToTheDelegateOfTheMomentOfDelivery) {
  RawPeer peer = openToPeer();
  peer.send(frameBytes(opcode::kText, "one"));
  ASSERT_TRUE(mainQueue.waitForQueued(1));
  RecordingDelegate other;
  socket->setDelegate(&other);
  EXPECT_TRUE(waitFor([&] { return other.has("text one"); }));
  EXPECT_EQ(delegate.events, Events{"opened"});
}

TEST_F(NativeWebSocketClosing, ADetachedSocketClosesByItself) {
  RawPeer peer = openToPeer();
  socket->setDelegate(nullptr);
  socket->close();
  const std::weak_ptr<WebSocket> gone = std::exchange(socket, nullptr);
  EXPECT_EQ(peer.readFrame()->closeCode(), 1000);
  peer.send(closeFrame(1000));
  peer.close();
  EXPECT_TRUE(waitFor([&] { return gone.expired(); }));
  EXPECT_EQ(delegate.events, Events{"opened"});
}

TEST_F(NativeWebSocketClosing, ASocketNeedsNoOwnerToGoOn) {
  RawPeer peer = openToPeer();
  socket.reset();
  peer.send(frameBytes(opcode::kText, "still here"));
  EXPECT_TRUE(waitForEvent("text still here"));
  peer.send(closeFrame(1000));
  EXPECT_TRUE(waitForEnd());
}

TEST_F(NativeWebSocketClosing, WhatIsReadBehindAFailureIsNotTold) {
  Hold hold;
  limits.outgoingBytes = 1;
  request = hold.asked(request);
  RawPeer peer = openToPeer();
  peer.send(frameBytes(opcode::kText, "one"));
  hold.waitForIt();
  // The network thread reads this at once when it goes on, and looks at it after the failure.
  peer.send(frameBytes(opcode::kText, "two"));
  send(std::string(100'000, 'x'));  // more than there is room for
  hold.end();
  hold.end();
  EXPECT_TRUE(waitForEnd());
  peer.close();
  EXPECT_EQ(eventsAfterAll(), (Events{"opened", "text one", "failed OrvWebSocket 2145"}));
}

TEST_F(NativeWebSocketClosing, AProcessMayEndWithSocketsInEveryState) {
  EXPECT_EXIT(
      {
        start(listener.url());
        const OwnSocket connecting(request, mainQueue);
        RawPeer peer = listener.accept();
        RawPeer other = listener.accept();
        peer.acceptHandshake();
        other.readRequest();
        waitForEvent("opened");
        for (int i = 0; i < 1000; ++i) {
          send("in flight");
          peer.send(frameBytes(opcode::kText, "on its way"));
        }
        std::exit(0);
      },
      testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace orv::native_web_socket_closing_test
