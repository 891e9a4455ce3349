#include <orvnetwork/platform/native/threads/BatchExecutor.h>

#include <tests/support/WebSocketFixture.h>

#include <any>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace orv::native_web_socket_messages_test {
namespace {

using namespace test;

class NativeWebSocketMessages : public WebSocketTest {
 protected:
  /// Another socket shares the network thread: while it gets answers, the first one could be read.
  void exchangeOnAnotherSocket(int times) {
    PumpedExecutor otherQueue;
    const OwnSocket other(ownRequest(), otherQueue);
    RawPeer otherPeer = listener.accept();
    otherPeer.acceptHandshake();
    for (int i = 0; i < times; ++i) {
      otherPeer.send(frameBytes(opcode::kPing, ""));
      ASSERT_TRUE(otherPeer.readFrame().has_value());
    }
    otherPeer.close();
    EXPECT_TRUE(other.waitForEnd(otherQueue));
  }
};

TEST_F(NativeWebSocketMessages, SendsEachTextAsOneMaskedFrame) {
  RawPeer peer = openToPeer();
  for (const std::size_t size : {0u, 1u, 125u, 126u, 65'535u, 65'536u, 200'000u}) {
    send(std::string(size, 's'));
    const auto frame = peer.readFrame();
    ASSERT_TRUE(frame.has_value());
    EXPECT_EQ(frame->opcode, opcode::kText);
    EXPECT_TRUE(frame->fin);
    EXPECT_TRUE(frame->masked);
    EXPECT_EQ(frame->payload, std::string(size, 's'));
  }
}

TEST_F(NativeWebSocketMessages, SendsNothingForNull) {
  RawPeer peer = openToPeer();
  socket->send(nullptr);
  send("after");
  EXPECT_EQ(peer.readFrame()->payload, "after");
}

TEST_F(NativeWebSocketMessages, SendsNothingBeforeItIsOpenNorAfterItWasClosed) {
  start(listener.url());
  send("too early");
  socket->sendPing("too early");
  RawPeer peer = listener.accept();
  peer.acceptHandshake();
  ASSERT_TRUE(waitForEvent("opened"));
  send("in time");
  socket->close();
  send("too late");
  socket->sendPing("too late");
  EXPECT_EQ(peer.readFrame()->payload, "in time");
  EXPECT_EQ(peer.readFrame()->opcode, opcode::kClose);
  peer.send(frameBytes(opcode::kClose, closePayload(1000)));
  EXPECT_TRUE(peer.readEnd());
}

TEST_F(NativeWebSocketMessages, WhatWaitsGoesOutInOrderBeforeTheCloseFrame) {
  RawPeer peer = openToPeer();
  constexpr int kCount = 5000;
  for (int i = 0; i < kCount; ++i) {
    if (i % 2 == 0) {
      send(std::to_string(i) + std::string(1000, '.'));
    } else {
      socket->sendPing(std::to_string(i));
    }
  }
  socket->close();
  for (int i = 0; i < kCount; ++i) {
    const auto frame = peer.readFrame();
    ASSERT_TRUE(frame.has_value());
    ASSERT_EQ(frame->opcode, i % 2 == 0 ? opcode::kText : opcode::kPing);
    ASSERT_TRUE(frame->payload.starts_with(std::to_string(i)));
  }
  EXPECT_EQ(peer.readFrame()->opcode, opcode::kClose);
}

TEST_F(NativeWebSocketMessages, MessagesOfEachThreadKeepTheirOrder) {
  RawPeer peer = openToPeer();
  constexpr int kThreads = 4;
  constexpr int kCount = 2000;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([this, thread] {
      for (int i = 0; i < kCount; ++i) send(std::to_string(thread) + " " + std::to_string(i));
    });
  }
  int next[kThreads] = {};
  for (int i = 0; i < kThreads * kCount; ++i) {
    const auto frame = peer.readFrame();
    ASSERT_TRUE(frame.has_value());
    const auto thread = static_cast<std::size_t>(frame->payload[0] - '0');
    ASSERT_EQ(frame->payload.substr(2), std::to_string(next[thread]++));
  }
  for (std::thread& thread : threads) thread.join();
}

TEST_F(NativeWebSocketMessages, ALargeMessageGoesBothWays) {
  RawPeer peer = openToPeer();
  std::string large(std::size_t{16} << 20, '\0');
  for (std::size_t i = 0; i < large.size(); ++i) large[i] = static_cast<char>('a' + i % 26);
  send(large);
  const auto frame = peer.readFrame();
  ASSERT_TRUE(frame.has_value());
  EXPECT_TRUE(frame->payload == large);
  peer.send(frameBytes(opcode::kText, large) + frameBytes(opcode::kText, "small"));
  EXPECT_TRUE(waitForEvent("text small"));
  EXPECT_TRUE(delegate.events.at(1) == "text " + large);
}

TEST_F(NativeWebSocketMessages, JoinsFragmentsAroundControlFrames) {
  RawPeer peer = openToPeer();
  peer.send(frameBytes(opcode::kText, "Mit", 0) + frameBytes(opcode::kPing, "mid") +
            frameBytes(opcode::kContinuation, "", 0) + frameBytes(opcode::kPong, "") +
            frameBytes(opcode::kContinuation, "te \xe4", 0) + frameBytes(opcode::kContinuation, "\xbd\xa0"));
  EXPECT_TRUE(waitForEvent("text Mitte \xe4\xbd\xa0"));
  EXPECT_EQ(delegate.events, (Events{"opened", "pong ", "text Mitte \xe4\xbd\xa0"}));
  const auto pong = peer.readFrame();
  EXPECT_EQ(pong->opcode, opcode::kPong);
  EXPECT_EQ(pong->payload, "mid");
}

TEST_F(NativeWebSocketMessages, TellsTextFromBytes) {
  RawPeer peer = openToPeer();
  peer.send(frameBytes(opcode::kBinary, "\xff\x01") + frameBytes(opcode::kText, "") +
            frameBytes(opcode::kBinary, ""));
  EXPECT_TRUE(waitForEvent("binary "));
  EXPECT_EQ(delegate.events, (Events{"opened", "binary \xff\x01", "text ", "binary "}));
}

TEST_F(NativeWebSocketMessages, TakesFramesByteByByte) {
  RawPeer peer = openToPeer();
  peer.sendOneByOne(frameBytes(opcode::kText, "slow") + frameBytes(opcode::kPing, "p") +
                    frameBytes(opcode::kBinary, std::string(200, 'b')) +
                    frameBytes(opcode::kClose, closePayload(4000, "slow end")));
  EXPECT_TRUE(waitForEnd());
  EXPECT_EQ(delegate.events,
            (Events{"opened", "text slow", "binary " + std::string(200, 'b'), "closed 4000 slow end clean"}));
  EXPECT_EQ(peer.readFrame()->payload, "p");
  EXPECT_EQ(peer.readFrame()->closeCode(), 1000);
}

TEST_F(NativeWebSocketMessages, TakesManyMessagesFromOnePacket) {
  std::string burst;
  Events expected{"opened"};
  for (int i = 0; i < 3000; ++i) {
    burst += frameBytes(opcode::kText, std::to_string(i));
    expected.push_back("text " + std::to_string(i));
  }
  RawPeer peer = openToPeer(burst);
  EXPECT_TRUE(waitForEvent("text 2999"));
  EXPECT_EQ(delegate.events, expected);
}

/// A main queue that takes several tasks at once, and notes how many.
class NotedBatches final : public Executor, public BatchExecutor {
 public:
  void post(Task task) override { queue.post(std::move(task)); }
  void postAll(std::vector<Task>& tasks) override {
    if (!tasks.empty()) sizes.push_back(tasks.size());
    for (Task& task : tasks) queue.post(std::move(task));
    tasks.clear();
  }

  PumpedExecutor queue;
  std::vector<std::size_t> sizes;  // the network thread's until all is over
};

TEST_F(NativeWebSocketMessages, WhatOneReadBringsIsPostedTogetherButNotWithoutBound) {
  NotedBatches batches;
  std::string burst;
  Events expected{"opened"};
  for (int i = 0; i < 100; ++i) {
    burst += frameBytes(opcode::kText, std::to_string(i));
    expected.push_back("text " + std::to_string(i));
  }
  burst += frameBytes(opcode::kClose, closePayload(1000));
  expected.emplace_back("closed 1000 (absent) clean");
  OwnSocket one(ownRequest(), batches);
  RawPeer peer = listener.accept();
  peer.acceptHandshake(burst);
  EXPECT_TRUE(one.waitForEnd(batches.queue));
  peer.close();
  EXPECT_EQ(one.eventsAfterAll(batches.queue), expected);
  EXPECT_EQ(batches.sizes, (std::vector<std::size_t>{1, 32, 32, 32, 5}));
}

TEST_F(NativeWebSocketMessages, AnswersPingsAndTellsPongsAskedForOrNot) {
  RawPeer peer = openToPeer();
  peer.send(frameBytes(opcode::kPong, "unasked") + frameBytes(opcode::kPing, "") +
            frameBytes(opcode::kPing, std::string(125, 'p')));
  EXPECT_TRUE(waitForEvent("pong unasked"));
  EXPECT_EQ(peer.readFrame()->payload, "");
  EXPECT_EQ(peer.readFrame()->payload, std::string(125, 'p'));
  socket->sendPing("");
  socket->sendPing(std::string(300, 'q'));
  auto ping = peer.readFrame();
  EXPECT_EQ(ping->opcode, opcode::kPing);
  EXPECT_EQ(ping->payload, "");
  ping = peer.readFrame();
  EXPECT_EQ(ping->payload, std::string(125, 'q'));
  peer.send(frameBytes(opcode::kPong, ping->payload));
  EXPECT_TRUE(waitForEvent("pong " + std::string(125, 'q')));
}

TEST_F(NativeWebSocketMessages, PreparesEachTextOnAnotherThreadBeforeItIsDelivered) {
  const auto thisThread = std::this_thread::get_id();
  request.prepare = [thisThread](std::string_view text) -> std::any {
    EXPECT_NE(std::this_thread::get_id(), thisThread);
    if (text == "bad") throw std::runtime_error("cannot be decoded");
    return std::any(text.size());
  };
  RawPeer peer = openToPeer(frameBytes(opcode::kText, "four") + frameBytes(opcode::kText, "bad") +
                            frameBytes(opcode::kBinary, "bytes"));
  EXPECT_TRUE(waitForEvent("binary bytes"));
  EXPECT_EQ(delegate.events, (Events{"opened", "text four", "text bad", "binary bytes"}));
  ASSERT_EQ(delegate.prepared.size(), 3u);
  EXPECT_EQ(std::any_cast<std::size_t>(delegate.prepared[0]), 4u);
  EXPECT_FALSE(delegate.prepared[1].has_value());
  EXPECT_FALSE(delegate.prepared[2].has_value());
}

TEST_F(NativeWebSocketMessages, MoreWaitingTextThanTheBoundAllowsIsAFailure) {
  limits.outgoingBytes = 1 << 20;
  RawPeer peer = openToPeer();
  send(std::string((1 << 20) + 1, 'x'));
  EXPECT_TRUE(waitForEnd());
  peer.close();
  EXPECT_EQ(eventsAfterAll(), (Events{"opened", "failed OrvWebSocket 2145"}));
}

TEST_F(NativeWebSocketMessages, IsNotReadWhileTooMuchWaitsForTheMainThread) {
  limits.undeliveredBytes = 1000;
  RawPeer peer = openToPeer();
  constexpr int kCount = 2000;
  std::string burst;
  for (int i = 0; i < kCount; ++i) burst += frameBytes(opcode::kText, std::to_string(i));
  peer.send(burst);
  ASSERT_TRUE(mainQueue.waitForQueued(5));
  exchangeOnAnotherSocket(200);
  EXPECT_LT(mainQueue.queued(), 20u);
  EXPECT_TRUE(waitForEvent("text " + std::to_string(kCount - 1)));
  EXPECT_EQ(delegate.events.size(), 1u + kCount);
}

TEST_F(NativeWebSocketMessages, AMessageThatDoesNotFitBesideThoseThatWaitIsReadOnlyInPart) {
  limits.undeliveredBytes = std::size_t{1} << 20;
  RawPeer peer = openToPeer();
  const std::string large(std::size_t{700} << 10, 'x');
  std::thread sending([&] {
    for (int i = 0; i < 4; ++i) peer.send(frameBytes(opcode::kText, std::to_string(i) + large));
  });
  ASSERT_TRUE(mainQueue.waitForQueued(1));
  exchangeOnAnotherSocket(200);
  EXPECT_EQ(mainQueue.queued(), 1u);
  EXPECT_TRUE(waitForEvent("text 3" + large));
  sending.join();
  EXPECT_EQ(delegate.events.size(), 5u);
}

TEST_F(NativeWebSocketMessages, AMessageBeyondTheBoundIsReadWhenItIsAlone) {
  limits.undeliveredBytes = 1000;
  RawPeer peer = openToPeer();
  const std::string large(std::size_t{4} << 20, 'x');
  std::thread sending([&] {
    for (const char* name : {"a", "b", "c"}) peer.send(frameBytes(opcode::kText, name + large));
  });
  EXPECT_TRUE(waitForEvent("text c" + large));
  sending.join();
  EXPECT_EQ(delegate.events, (Events{"opened", "text a" + large, "text b" + large, "text c" + large}));
}

TEST_F(NativeWebSocketMessages, WhatIsMadeOfAMessageCountsForAsLongAsItsShareIsHeld) {
  limits.undeliveredBytes = std::size_t{1} << 20;
  request.prepare = [](std::string_view text) -> std::any { return std::string(text); };
  request.sizeOfPrepared = [](const std::any&) { return std::size_t{700} << 10; };
  delegate.keepsShares = true;
  RawPeer peer = openToPeer(frameBytes(opcode::kText, "0") + frameBytes(opcode::kText, "1") +
                            frameBytes(opcode::kText, "2") + frameBytes(opcode::kText, "3"));
  EXPECT_TRUE(waitForEvent("text 1"));
  exchangeOnAnotherSocket(200);
  EXPECT_EQ(mainQueue.queued(), 0u);
  delegate.shares.clear();
  EXPECT_TRUE(waitForEvent("text 3"));
  delegate.shares.clear();
}

TEST_F(NativeWebSocketMessages, SlowPeersGetEverythingAsLongAsItFits) {
  limits.outgoingBytes = std::size_t{64} << 20;
  RawPeer peer = openToPeer();
  constexpr int kCount = 400;
  for (int i = 0; i < kCount; ++i) send(std::to_string(i) + std::string(100'000, 'x'));
  for (int i = 0; i < kCount; ++i) {
    const auto frame = peer.readFrame();
    ASSERT_TRUE(frame.has_value());
    ASSERT_TRUE(frame->payload == std::to_string(i) + std::string(100'000, 'x'));
  }
}

}  // namespace
}  // namespace orv::native_web_socket_messages_test
