// A caller that is held up inside the system call that writes: it has the right to write meanwhile, and what the network
// thread would do with the output, or with the socket's number, is done when the call has returned.

#include <orvnetwork/platform/native/websocket/NativeWebSocket.h>

#include "tests/fault/SystemCalls.h"
#include <tests/support/WebSocketFixture.h>

#include <fcntl.h>
#include <sys/socket.h>

#include <cerrno>
#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace orv::caller_held_up_test {
namespace {

using namespace test;

class CallerHeldUp : public WebSocketTest {
 protected:
  /// The network thread has dealt with all that had come to it before this.
  void networkThreadCameRound() {
    RawListener other;
    for (int i = 0; i < 3; ++i) {
      PumpedExecutor otherQueue;
      RecordingDelegate own;
      auto one = makeNativeWebSocket({other.url(), Seconds(60), nullptr}, otherQueue);
      one->setDelegate(&own);
      one->open();
      RawPeer peer = other.accept();
      peer.acceptHandshake(frameBytes(opcode::kClose, closePayload(1000)));
      EXPECT_TRUE(otherQueue.pumpUntil([&] { return own.ended(); }));
      EXPECT_TRUE(peer.readFrame().has_value());
      peer.close();
      const std::weak_ptr<WebSocket> gone = std::exchange(one, nullptr);
      EXPECT_TRUE(otherQueue.pumpUntil([&] { return gone.expired(); }));
    }
  }
  /// Sends a text, and does something while it is inside the system call.
  void sendWhile(const std::function<void(int socket)>& meanwhile) {
    networkThreadCameRound();  // so that nothing is under way
    bool isHeldUp = false;
    system_calls::holdUpNextSend([&](int descriptor) {
      isHeldUp = true;
      meanwhile(descriptor);
    });
    send("held up");
    EXPECT_TRUE(isHeldUp);
  }
  void expectFrame(RawPeer& peer, int kind, const std::string& payload) {
    const auto frame = peer.readFrame();
    ASSERT_TRUE(frame.has_value());
    EXPECT_EQ(frame->opcode, kind);
    EXPECT_EQ(frame->payload, payload);
  }
};

TEST_F(CallerHeldUp, WhatOthersSendMeanwhileFollows) {
  RawPeer peer = openToPeer();
  sendWhile([&](int) {
    send("left behind");
    socket->sendPing("too");
  });
  expectFrame(peer, opcode::kText, "held up");
  expectFrame(peer, opcode::kText, "left behind");
  expectFrame(peer, opcode::kPing, "too");
}

TEST_F(CallerHeldUp, APingIsAnsweredAfterwardsAndWhatFollowsItIsRead) {
  RawPeer peer = openToPeer();
  sendWhile([&](int) {
    peer.send(frameBytes(opcode::kPing, "one") + frameBytes(opcode::kPing, "two") +
              frameBytes(opcode::kText, "text"));
    networkThreadCameRound();
  });
  expectFrame(peer, opcode::kText, "held up");
  expectFrame(peer, opcode::kPong, "one");
  expectFrame(peer, opcode::kPong, "two");
  EXPECT_TRUE(waitForEvent("text text"));
  send("after");
  expectFrame(peer, opcode::kText, "after");
}

TEST_F(CallerHeldUp, APeersCloseFrameIsAnsweredAfterwards) {
  RawPeer peer = openToPeer();
  sendWhile([&](int) {
    peer.send(frameBytes(opcode::kText, "last") + frameBytes(opcode::kClose, closePayload(4000, "bye")));
    networkThreadCameRound();
  });
  expectFrame(peer, opcode::kText, "held up");
  EXPECT_EQ(peer.readFrame()->closeCode(), 1000);
  EXPECT_TRUE(peer.readEnd());
  peer.close();
  EXPECT_EQ(eventsAfterAll(), (Events{"opened", "text last", "closed 4000 bye clean"}));
}

TEST_F(CallerHeldUp, OurCloseFrameLeavesAfterwards) {
  RawPeer peer = openToPeer();
  sendWhile([&](int) {
    socket->close();
    networkThreadCameRound();
  });
  expectFrame(peer, opcode::kText, "held up");
  EXPECT_EQ(peer.readFrame()->closeCode(), 1000);
  peer.send(frameBytes(opcode::kClose, closePayload(1000)));
  EXPECT_TRUE(peer.readEnd());
  peer.close();
  EXPECT_EQ(eventsAfterAll(), (Events{"opened", "closed 1000 (absent) clean"}));
}

TEST_F(CallerHeldUp, AResetIsToldAtOnceAndTheSocketsNumberIsKeptUntilTheCallHasReturned) {
  RawPeer peer = openToPeer();
  int number = -1;
  sendWhile([&](int descriptor) {
    number = descriptor;
    peer.reset();
    EXPECT_TRUE(waitForEnd());
    networkThreadCameRound();
    EXPECT_NE(::fcntl(descriptor, F_GETFD), -1) << "another file could have it by now";
  });
  EXPECT_EQ(eventsAfterAll(), (Events{"opened", "failed POSIX " + std::to_string(ECONNRESET)}));
  EXPECT_EQ(::fcntl(number, F_GETFD), -1) << "it is closed in the end";
}

TEST_F(CallerHeldUp, TheEndOfTheStreamIsToldAfterwards) {
  RawPeer peer = openToPeer(frameBytes(opcode::kText, "last"));
  EXPECT_TRUE(waitForEvent("text last"));
  sendWhile([&](int) {
    ::shutdown(peer.descriptor(), SHUT_WR);
    networkThreadCameRound();
    EXPECT_EQ(mainQueue.queued(), 0u);
  });
  EXPECT_TRUE(waitForEnd());
  EXPECT_EQ(eventsAfterAll(), (Events{"opened", "text last", "closed 1001 Stream end encountered unclean"}));
}

TEST_F(CallerHeldUp, AWriteThatFailsSaysMoreThanTheEndOfTheStream) {
  RawPeer peer = openToPeer();
  sendWhile([&](int descriptor) {
    ::shutdown(peer.descriptor(), SHUT_WR);
    networkThreadCameRound();
    ::shutdown(descriptor, SHUT_WR);
  });
  EXPECT_TRUE(waitForEnd());
  EXPECT_EQ(eventsAfterAll(), (Events{"opened", "failed OrvWebSocket 2145"}));
}

}  // namespace
}  // namespace orv::caller_held_up_test
