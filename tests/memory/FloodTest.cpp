// More messages than the main thread can take: what waits is bounded in memory, comes in its order all the same, and
// leaves nothing behind.

#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/transport/QXNotification.h>

#include <tests/memory/HeldMemory.h>
#include <tests/support/LiveLink.h>
#include <tests/support/RawPeer.h>

#include <dlfcn.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

namespace {

std::atomic<int> trims{0};

}  // namespace

/// The C library's, counted.
extern "C" int malloc_trim(std::size_t pad) {
  ++trims;
  static const auto original = reinterpret_cast<int (*)(std::size_t)>(::dlsym(RTLD_NEXT, "malloc_trim"));
  return original != nullptr ? original(pad) : 0;
}

namespace orv::flood_test {
namespace {

using namespace std::chrono_literals;
using test::RawPeer;

constexpr std::size_t kBound = std::size_t{256} << 20;

std::string pushFrame(std::size_t number, std::size_t zeros) {
  std::string text = R"({"C":"Rooms.Push.Message","v":{"number":)" + std::to_string(number) + R"(,"data":[0)";
  for (std::size_t i = 1; i < zeros; ++i) text += ",0";
  return test::frameBytes(test::opcode::kText, text + "]}}");
}

/// As small as one that waits as its text, and nearly as large as one of them can be.
std::string smallPushFrame(std::size_t number) {
  constexpr std::size_t kText = 7'000;
  return test::frameBytes(test::opcode::kText, R"({"C":"Rooms.Push.Message","v":{"number":)" +
                                                   std::to_string(number) + R"(,"data":")" +
                                                   std::string(kText, 'x') + "\"}}");
}

class Flood : public test::LiveLinkTest {
 protected:
  Flood() {
    pushes_ = NotificationCenter::defaultCenter().observe(
        std::string(QXNotificationPushOrvMessage), [this](const Notification& posted) {
          const auto& values = posted.userInfo->at("v").as_object();
          inOrder = inOrder && values.at("number").to_number<std::size_t>() == received;
          ++received;
          notifications.clear();
        });
  }

  /// Brings the link up to a peer of the test's own; the thread that is given goes on with the peer.
  template <typename Work>
  std::thread bringUpToPeer(Work work) {
    std::thread peerThread([this, work = std::move(work)] {
      RawPeer peer = listener.accept();
      peer.acceptHandshake();
      EXPECT_EQ(peer.readFrame()->payload, "PING");
      peer.send(test::frameBytes(test::opcode::kText, "PONG"));
      work(peer);
    });
    start(listener.url());
    EXPECT_TRUE(waitUntilOpen());
    return peerThread;
  }
  /// The peer's thread has sent a message.
  void countSent() {
    const std::lock_guard lock(mutex_);
    ++sent;
    moved_.notify_one();
  }
  /// Keeps the main thread busy until the peer has not been able to send on for a while.
  void standStillUntilNothingMoves() {
    std::unique_lock lock(mutex_);
    moved_.wait(lock, [this] { return sent > 0; });
    for (auto last = sent.load(); moved_.wait_for(lock, 500ms, [&] { return sent != last; });) last = sent;
  }

  void floodWithPushes(std::size_t pushes, std::string (*frame)(std::size_t number));

  test::RawListener listener;
  std::atomic<std::size_t> sent{0};
  std::size_t received = 0;
  bool inOrder = true;

 private:
  std::mutex mutex_;
  std::condition_variable moved_;
  ObserverToken pushes_;
};

/// Sends pushes to a main thread that stands still, so many that they do not fit.
void Flood::floodWithPushes(std::size_t pushes, std::string (*frame)(std::size_t number)) {
  std::thread peerThread = bringUpToPeer([this, pushes, frame](RawPeer& peer) {
    while (sent < pushes) {
      peer.send(frame(sent));
      countSent();
    }
    peer.readFrame();
  });
  const std::size_t receivedBefore = received;
  const std::size_t before = test::heldBytes();
  test::forgetMostHeld();
  standStillUntilNothingMoves();
  EXPECT_LT(sent, pushes) << "the socket is read no further than there is room";
  EXPECT_GT(test::mostHeldBytes() - before, kBound / 2);
  EXPECT_EQ(received, receivedBefore);
  EXPECT_EQ(trims, 0);
  EXPECT_TRUE(pumpUntil([&] { return received == pushes; }, 5min));
  EXPECT_TRUE(inOrder);
  EXPECT_LT(test::mostHeldBytes() - before, kBound + kBound / 8);
  EXPECT_TRUE(pumpUntil([&] { return trims > 0; })) << "what is free goes back to the system";
  EXPECT_TRUE(link.isOpen());
  link.close();
  peerThread.join();
}

TEST_F(Flood, OfPushesBeforeABusyMainThreadTakesABoundedAmountOfMemoryAndGivesItBack) {
  floodWithPushes(5'000, [](std::size_t number) { return pushFrame(number, 6'000); });
}

TEST_F(Flood, OfSmallPushesDoesSoToo) {
  floodWithPushes(60'000, smallPushFrame);
}

TEST_F(Flood, OfRepliesThatNobodyAskedForTakesABoundedAmountOfMemory) {
  constexpr std::size_t kReplies = 5'000;
  std::thread peerThread = bringUpToPeer([this](RawPeer& peer) {
    std::string text = R"({"C":"Nobody.Asked","s":"1","v":{"data":[0)";
    for (std::size_t i = 1; i < 6'000; ++i) text += ",0";
    const std::string frame = test::frameBytes(test::opcode::kText, text + "]}}");
    while (sent < kReplies) {
      peer.send(frame);
      countSent();
    }
    peer.send(pushFrame(0, 1));
    peer.readFrame();
  });
  const std::size_t before = test::heldBytes();
  test::forgetMostHeld();
  standStillUntilNothingMoves();
  ASSERT_TRUE(pumpUntil([&] { return received == 1; }, 5min));
  EXPECT_GT(test::mostHeldBytes() - before, kBound / 2);
  EXPECT_LT(test::mostHeldBytes() - before, kBound + kBound / 8);
  link.close();
  peerThread.join();
}

TEST_F(Flood, OfValuesInOneFrameIsRefusedBeforeItTakesMuchMemory) {
  const std::string large = pushFrame(0, 32'000'000);
  ASSERT_GT(large.size(), std::size_t{60} << 20);
  std::thread peerThread = bringUpToPeer([&](RawPeer& peer) {
    peer.send(large);
    peer.send(pushFrame(0, 1'000'000));
    peer.readFrame();
  });
  const std::size_t before = test::heldBytes();
  test::forgetMostHeld();
  ASSERT_TRUE(pumpUntil([&] { return received == 1; }));
  EXPECT_LT(test::mostHeldBytes() - before, kBound);
  EXPECT_EQ(countLogged("websocket parse json error! dic->"), 1u);
  EXPECT_TRUE(link.isOpen());
  link.close();
  peerThread.join();
}

}  // namespace
}  // namespace orv::flood_test
