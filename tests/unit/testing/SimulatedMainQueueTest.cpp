#include <orvnetwork/testing/SimulatedPlatform.h>

#include <gtest/gtest.h>
#include <poll.h>

#include <chrono>
#include <functional>

namespace orv::testing::simulated_main_queue_test {
namespace {

bool isReadable(int descriptor) {
  pollfd watched{descriptor, POLLIN, 0};
  return poll(&watched, 1, 0) == 1;
}

TEST(SimulatedMainQueue, IsCurrentForTheTestAndForItsOwnTasksOnly) {
  SimulatedPlatform platform;
  auto& main = platform.mainQueue();
  EXPECT_TRUE(main.isCurrent());
  std::vector<bool> seen;
  const auto look = [&] { seen.push_back(main.isCurrent()); };
  const auto drain = platform.makeBackgroundDrain(look);
  main.post(look);
  platform.settle();
  EXPECT_EQ(seen, std::vector<bool>{true});
  seen.clear();
  platform.globalQueue().post(look);
  drain->nudge();
  platform.scheduler().makeLane(LaneKind::Link, "link")->post(look);
  platform.settle();
  EXPECT_EQ(seen, (std::vector<bool>(seen.size(), false)));
  EXPECT_GE(seen.size(), 2U);
}

TEST(SimulatedMainQueue, DrainsOnlyWhatWaitedWhenItWasCalled) {
  SimulatedPlatform platform;
  auto& main = platform.mainQueue();
  std::string order;
  main.post([&] {
    order += 'a';
    main.post([&] { order += 'c'; });
  });
  main.post([&] { order += 'b'; });
  platform.globalQueue().post([&] { order += 'w'; });
  EXPECT_EQ(main.drain(), 2U);
  EXPECT_EQ(order, "ab");
  EXPECT_EQ(main.drain(), 1U);
  EXPECT_EQ(order, "abc");
  EXPECT_EQ(main.drain(), 0U);
}

TEST(SimulatedMainQueue, DrainInsideATaskRunsTheTasksLeftOver) {
  SimulatedPlatform platform;
  auto& main = platform.mainQueue();
  std::string order;
  main.post([&] {
    order += '(';
    EXPECT_EQ(main.drain(), 2U);
    order += ')';
  });
  main.post([&] { order += 'a'; });
  main.post([&] {
    order += 'b';
    EXPECT_TRUE(main.isCurrent());
  });
  EXPECT_EQ(main.drain(), 1U);
  EXPECT_EQ(order, "(ab)");
}

TEST(SimulatedMainQueue, RunsUntilStopped) {
  SimulatedPlatform platform;
  auto& main = platform.mainQueue();
  int ticks = 0;
  std::function<void()> tick = [&] {
    if (++ticks == 5) {
      main.stop();
    }
    platform.delays().runAt(platform.clock().steadyNow() + std::chrono::seconds(1), main, tick);
  };
  main.post(tick);
  main.run();
  EXPECT_EQ(ticks, 5);
  EXPECT_EQ(platform.elapsed(), Seconds(4));
}

TEST(SimulatedMainQueue, RunReturnsWhenNothingCanHappenAnyMore) {
  SimulatedPlatform platform;
  bool ran = false;
  const auto due = platform.clock().steadyNow() + std::chrono::hours(1);
  platform.delays().runAt(due, platform.globalQueue(), [&] { ran = true; });
  platform.mainQueue().run();
  EXPECT_TRUE(ran);
}

TEST(SimulatedMainQueue, StopEndsTheInnermostRun) {
  SimulatedPlatform platform;
  auto& main = platform.mainQueue();
  std::string order;
  main.post([&] {
    main.post([&] {
      order += "inner ";
      main.stop();
    });
    main.post([&] { order += "rest "; });
    main.run();
    order += "outer ";
  });
  main.run();
  EXPECT_EQ(order, "inner outer rest ");
}

TEST(SimulatedMainQueue, DescriptorIsReadableWhileTasksWait) {
  SimulatedPlatform platform;
  auto& main = platform.mainQueue();
  main.post([] {});
  const int descriptor = main.wakeUpDescriptor();
  EXPECT_TRUE(isReadable(descriptor));
  main.drain();
  EXPECT_FALSE(isReadable(descriptor));
  main.post([&] { main.post([] {}); });
  EXPECT_TRUE(isReadable(descriptor));
  main.drain();
  EXPECT_TRUE(isReadable(descriptor));
  platform.settle();
  EXPECT_FALSE(isReadable(descriptor));
  EXPECT_EQ(main.wakeUpDescriptor(), descriptor);
}

TEST(SimulatedMainQueue, CallsTheWakerEachTimeThatTasksBeginToWait) {
  SimulatedPlatform platform;
  auto& main = platform.mainQueue();
  int calls = 0;
  main.setWaker([&] { ++calls; });
  EXPECT_EQ(calls, 0);
  main.post([] {});
  main.post([] {});
  EXPECT_EQ(calls, 1);
  main.drain();
  main.post([&] { main.post([] {}); });
  EXPECT_EQ(calls, 2);
  main.drain();
  EXPECT_EQ(calls, 3) << "a task was left over";
  main.drain();
  main.setWaker({});
  main.post([] {});
  EXPECT_EQ(calls, 3);
  main.setWaker([&] { ++calls; });
  EXPECT_EQ(calls, 4) << "a task waited already";
}

TEST(SimulatedMainQueue, HeldQueueIsDrivenByTheHostAlone) {
  SimulatedPlatform platform;
  auto& main = platform.mainQueue();
  int ran = 0;
  platform.holdMainQueue(true);
  main.post([&] { ++ran; });
  platform.settle();
  EXPECT_EQ(ran, 0);
  EXPECT_EQ(main.drain(), 1U);
  EXPECT_EQ(ran, 1);
}

TEST(SimulatedMainQueueDeathTest, EndsTheProgramWhenDrainedByAWorker) {
  SimulatedPlatform platform;
  platform.globalQueue().post([&] { platform.mainQueue().drain(); });
  EXPECT_DEATH(platform.settle(), "outside the main thread");
}

}  // namespace
}  // namespace orv::testing::simulated_main_queue_test
