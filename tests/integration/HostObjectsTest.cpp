// What the host's closures hold, on real threads: the link's own threads never end it.

#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/platform/Timer.h>
#include <orvnetwork/transport/QXRequestItem.h>

#include <devserver/DevServer.h>
#include <tests/support/HostObject.h>
#include <tests/support/LiveLink.h>
#include <tests/support/RawPeer.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace orv::host_objects_test {
namespace {

using test::HostObject;
using test::RawPeer;

class HostObjectsOnThreads : public test::LiveLinkTest {
 protected:
  std::shared_ptr<HostObject> object() { return std::make_shared<HostObject>(counts); }
  CompleteBlock completion() {
    return [held = object(), this](const auto&, bool, const json::object&) { ++ended; };
  }
  TimeoutBlock timeout() {
    return [held = object(), this](const auto&) { ++ended; };
  }
  /// Brings the link up to a server that answers the first "PING" and then reads nothing more.
  RawPeer bringUpToAPeerThatStopsReading() {
    std::optional<RawPeer> peer;
    std::thread accepting([&] {
      peer.emplace(listener.accept());
      peer->acceptHandshake();
      EXPECT_EQ(peer->readFrame()->payload, "PING");
      peer->send(test::frameBytes(test::opcode::kText, "PONG"));
    });
    start(listener.url());
    EXPECT_TRUE(waitUntilOpen());
    accepting.join();
    return std::move(*peer);
  }
  void sendLarge(int count) {
    for (int i = 0; i < count; ++i) {
      link.sendRequestItem(QXRequestItem::initWithTimeStamp_command_jsonString_completeBlock_timeoutBlock(
          i + 1, "Large", std::string(100'000, 'x'), completion(), timeout()));
    }
  }

  test::RawListener listener;
  test::HostObjectCounts counts;
  std::atomic<int> ended{0};
};

TEST_F(HostObjectsOnThreads, OfRequestsThatTheServerDoesNotReadEndWithTheirTimeOuts) {
  RawPeer peer = bringUpToAPeerThatStopsReading();
  constexpr int kRequests = 300;
  sendLarge(kRequests);
  ASSERT_TRUE(pumpUntil([&] { return ended == kRequests; }));
  EXPECT_EQ(counts.alive, 0);
  peer.reset();
  ASSERT_TRUE(pumpUntil([&] { return !link.isOpen(); }));
  EXPECT_EQ(counts.endedOnMain, 2 * kRequests);
  EXPECT_EQ(counts.endedElsewhere, 0);
}

TEST_F(HostObjectsOnThreads, OfRequestsThatWaitWhenTheLinkFailsEndOnMain) {
  RawPeer peer = bringUpToAPeerThatStopsReading();
  constexpr int kRequests = 300;
  sendLarge(kRequests);
  ASSERT_TRUE(pumpUntil([&] { return link.outstandingRequestCount() == kRequests; }));
  peer.reset();
  ASSERT_TRUE(pumpUntil([&] { return ended == kRequests; }));
  EXPECT_EQ(counts.alive, 0);
  EXPECT_EQ(counts.endedElsewhere, 0);
}

TEST_F(HostObjectsOnThreads, OfRequestsOfManyThreadsEndOnMain) {
  DevServer server;
  server.start();
  bringUp(server.url());
  constexpr int kThreads = 4;
  constexpr int kEach = 500;
  std::atomic<int> sent{0};
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([this, &sent] {
      for (int i = 0; i < kEach; ++i) {
        link.sendRequestItem(QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock(
            "Dev.Echo", json::object(), completion(), timeout()));
        ++sent;
      }
    });
  }
  EXPECT_TRUE(pumpUntil([&] { return sent == kThreads * kEach && counts.alive == 0; }));
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(counts.endedElsewhere, 0);
}

TEST_F(HostObjectsOnThreads, OfRequestsThatFindTheLinkClosedEndOnMain) {
  configure(listener.url());
  std::thread other([this] {
    for (int i = 0; i < 100; ++i) {
      QXAPIHelper::getCourseInfo_completeBlock_timeoutBlock("7", completion(), timeout());
    }
  });
  other.join();
  EXPECT_EQ(ended, 100);
  EXPECT_TRUE(pumpUntil([&] { return counts.alive == 0; }));
  EXPECT_EQ(counts.endedElsewhere, 0);
}

TEST_F(HostObjectsOnThreads, OfTimersThatAnyThreadInvalidatesEndOnMain) {
  configure(listener.url());
  std::vector<std::shared_ptr<Timer>> timers;
  for (int i = 0; i < 200; ++i) {
    timers.push_back(Timer::schedule(Seconds(0.001), i % 2 == 0, [held = object(), this] { ++ended; }));
  }
  std::thread other([&] {
    while (ended < 50) std::this_thread::yield();
    for (const auto& timer : timers) timer->invalidate();
  });
  EXPECT_TRUE(pumpUntil([&] { return counts.alive == 0; }));
  other.join();
  EXPECT_EQ(counts.endedElsewhere, 0);
}

TEST_F(HostObjectsOnThreads, OfATimerThatIsInvalidatedWhileAnotherThreadFiresItEndOnMain) {
  configure(listener.url());
  std::atomic<bool> runs{false}, isInvalidated{false};
  const auto timer = Timer::schedule(Seconds(1000), true, [held = object(), &runs, &isInvalidated] {
    runs = true;
    while (!isInvalidated) std::this_thread::yield();
  });
  std::thread other([&timer] { timer->fire(); });
  while (!runs) std::this_thread::yield();
  timer->invalidate();
  isInvalidated = true;
  other.join();
  EXPECT_TRUE(pumpUntil([&] { return counts.alive == 0; }));
  EXPECT_EQ(counts.endedElsewhere, 0);
}

}  // namespace
}  // namespace orv::host_objects_test
