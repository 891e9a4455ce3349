#include <orvnetwork/data/TimeZone.h>
#include <orvnetwork/data/ZoneRules.h>
#include <orvnetwork/platform/SerialQueue.h>
#include <orvnetwork/platform/Timer.h>
#include <orvnetwork/testing/SimulatedPlatform.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <iterator>
#include <set>
#include <stdexcept>
#include <string_view>

namespace orv::testing::simulated_platform_test {
namespace {

using Trace = std::vector<std::string>;

/// A little of everything, with the order in which it ran.
Trace runWorkload(SimulatedPlatform& platform) {
  Trace trace;
  const auto say = [&trace](std::string what) { return [&trace, what] { trace.push_back(what); }; };
  const auto serial = SerialQueue::make("serial", platform.globalQueue());
  const auto drain = platform.makeBackgroundDrain(say("drain"));
  for (int i = 0; i < 5; ++i) {
    const auto n = std::to_string(i);
    platform.mainQueue().post(say("main" + n));
    platform.globalQueue().post(say("worker" + n));
    serial->post(say("serial" + n));
    drain->nudge();
    platform.delays().runAt(platform.clock().steadyNow() + std::chrono::milliseconds(i % 2),
                            platform.mainQueue(), say("delayed" + n));
  }
  platform.runFor(Seconds(1));
  return trace;
}

Trace workloadOfSeed(std::uint64_t seed) {
  SimulatedPlatform platform(seed);
  return runWorkload(platform);
}

Trace only(const Trace& trace, std::string_view prefix) {
  Trace kept;
  std::ranges::copy_if(trace, std::back_inserter(kept),
                       [&](const auto& item) { return item.starts_with(prefix); });
  return kept;
}

TEST(SimulatedPlatform, RunsTheSameOrderForTheSameSeed) {
  for (std::uint64_t seed = 1; seed <= 50; ++seed) {
    SimulatedPlatform first(seed);
    SimulatedPlatform second(seed);
    EXPECT_EQ(runWorkload(first), runWorkload(second)) << "seed " << seed;
    EXPECT_EQ(first.orderHash(), second.orderHash()) << "seed " << seed;
    EXPECT_EQ(first.stepsRun(), second.stepsRun()) << "seed " << seed;
    EXPECT_EQ(first.random(), second.random()) << "seed " << seed;
  }
}

TEST(SimulatedPlatform, InterleavesQueuesDifferentlyForOtherSeeds) {
  std::set<Trace> traces;
  std::set<std::string> firstTasks;
  for (std::uint64_t seed = 1; seed <= 50; ++seed) {
    const auto trace = workloadOfSeed(seed);
    traces.insert(trace);
    firstTasks.insert(trace.front());
  }
  EXPECT_GE(traces.size(), 45U);
  EXPECT_TRUE(firstTasks.contains("main0"));
  EXPECT_TRUE(firstTasks.contains("worker0"));
  EXPECT_TRUE(firstTasks.contains("drain"));
}

TEST(SimulatedPlatform, StartsTheTasksOfOneQueueInTheOrderPosted) {
  for (std::uint64_t seed = 1; seed <= 50; ++seed) {
    const auto trace = workloadOfSeed(seed);
    EXPECT_EQ(only(trace, "main"), (Trace{"main0", "main1", "main2", "main3", "main4"}));
    EXPECT_EQ(only(trace, "worker"), (Trace{"worker0", "worker1", "worker2", "worker3", "worker4"}));
    EXPECT_EQ(only(trace, "serial"), (Trace{"serial0", "serial1", "serial2", "serial3", "serial4"}));
    EXPECT_EQ(only(trace, "delayed"), (Trace{"delayed0", "delayed2", "delayed4", "delayed1", "delayed3"}));
  }
}

TEST(SimulatedPlatform, NeverRunsAPostedTaskInsideThePost) {
  SimulatedPlatform platform;
  bool ran = false;
  platform.mainQueue().post([&] { ran = true; });
  platform.globalQueue().post([&] { ran = true; });
  platform.delays().runAt(platform.clock().steadyNow(), platform.mainQueue(), [&] { ran = true; });
  EXPECT_FALSE(ran);
  EXPECT_TRUE(platform.step());
  platform.settle();
  EXPECT_TRUE(ran);
  EXPECT_FALSE(platform.step());
}

TEST(SimulatedPlatform, MovesTimeOnlyWhenTold) {
  SimulatedPlatform platform;
  const auto steady = platform.clock().steadyNow();
  const auto wall = platform.clock().wallNow();
  platform.mainQueue().post([] {});
  platform.settle();
  EXPECT_EQ(platform.clock().steadyNow(), steady);
  platform.runFor(Seconds(2.5));
  EXPECT_EQ(platform.clock().steadyNow() - steady, std::chrono::milliseconds(2500));
  EXPECT_EQ(platform.clock().wallNow() - wall, std::chrono::milliseconds(2500));
  EXPECT_EQ(platform.elapsed(), Seconds(2.5));
}

TEST(SimulatedPlatform, ShowsEachDelayedTaskTheMomentAtWhichItWasDue) {
  SimulatedPlatform platform;
  const auto start = platform.clock().steadyNow();
  std::vector<std::int64_t> seen;
  for (const int milliseconds : {700, 300, 300, 1000, 1001}) {
    platform.delays().runAt(start + std::chrono::milliseconds(milliseconds), platform.globalQueue(), [&] {
      seen.push_back((platform.clock().steadyNow() - start) / std::chrono::milliseconds(1));
    });
  }
  EXPECT_DOUBLE_EQ(platform.nextDueIn()->count(), 0.3);
  platform.runFor(Seconds(1));
  EXPECT_EQ(seen, (std::vector<std::int64_t>{300, 300, 700, 1000}));
  EXPECT_DOUBLE_EQ(platform.nextDueIn()->count(), 0.001);
}

TEST(SimulatedPlatform, RunsWhatATaskSchedulesWithinTheSameSpan) {
  SimulatedPlatform platform;
  int rounds = 0;
  std::function<void()> again = [&] {
    ++rounds;
    platform.delays().runAt(platform.clock().steadyNow() + std::chrono::seconds(1), platform.mainQueue(),
                            again);
  };
  platform.mainQueue().post(again);
  platform.runFor(Seconds(10));
  EXPECT_EQ(rounds, 11);
}

TEST(SimulatedPlatform, ForgetsACancelledDelayedTask) {
  SimulatedPlatform platform;
  int runs = 0;
  const auto now = platform.clock().steadyNow();
  const auto later =
      platform.delays().runAt(now + std::chrono::seconds(1), platform.mainQueue(), [&] { ++runs; });
  const auto due = platform.delays().runAt(now, platform.mainQueue(), [&] { ++runs; });
  const auto kept = platform.delays().runAt(now, platform.mainQueue(), [&] { runs += 10; });
  platform.delays().cancel(later);
  platform.delays().cancel(due);
  platform.delays().cancel(due);
  platform.runFor(Seconds(2));
  EXPECT_EQ(runs, 10);
  platform.delays().cancel(kept);
  EXPECT_FALSE(platform.nextDueIn());
}

TEST(SimulatedPlatform, RunUntilStopsAtTheMomentWhenItIsTrue) {
  SimulatedPlatform platform;
  bool rang = false;
  const auto due = platform.clock().steadyNow() + std::chrono::seconds(3);
  platform.delays().runAt(due, platform.mainQueue(), [&] { rang = true; });
  EXPECT_FALSE(platform.runUntil([&] { return rang; }, Seconds(2)));
  EXPECT_EQ(platform.elapsed(), Seconds(2));
  EXPECT_TRUE(platform.runUntil([&] { return rang; }, Seconds(2)));
  EXPECT_EQ(platform.elapsed(), Seconds(3));
}

TEST(SimulatedPlatform, MovesTheWallClockAlone) {
  SimulatedPlatform platform;
  const auto wall = platform.clock().wallNow();
  const auto steady = platform.clock().steadyNow();
  platform.jumpWallClock(Seconds(-3600));
  EXPECT_EQ(platform.clock().wallNow() - wall, -std::chrono::hours(1));
  EXPECT_EQ(platform.clock().steadyNow(), steady);
  platform.setWallTime(WallTime(std::chrono::seconds(5)));
  platform.runFor(Seconds(1));
  EXPECT_EQ(platform.clock().wallNow(), WallTime(std::chrono::seconds(6)));
}

TEST(SimulatedPlatform, LetsTimePassWhileNothingRuns) {
  SimulatedPlatform platform;
  int runs = 0;
  const auto due = platform.clock().steadyNow() + std::chrono::seconds(1);
  platform.delays().runAt(due, platform.mainQueue(), [&] { ++runs; });
  platform.stall(Seconds(5));
  EXPECT_EQ(runs, 0);
  EXPECT_EQ(platform.elapsed(), Seconds(5));
  platform.settle();
  EXPECT_EQ(runs, 1);
}

TEST(SimulatedPlatform, TellsOfALivelockWithTheBusyQueue) {
  SimulatedPlatform platform;
  std::function<void()> forever = [&] { platform.globalQueue().post(forever); };
  forever();
  try {
    platform.settle(1000);
    FAIL() << "no livelock was told";
  } catch (const std::runtime_error& error) {
    EXPECT_STREQ(error.what(),
                 "livelock: 1000 tasks ran at one moment and more are ready; waiting: workers=1");
  }
  EXPECT_EQ(platform.stepsRun(), 1000U);
}

TEST(SimulatedPlatform, SettlesWhenExactlyAsManyTasksAsTheLimitWereReady) {
  SimulatedPlatform platform;
  for (int i = 0; i < 10; ++i) {
    platform.mainQueue().post([] {});
  }
  EXPECT_NO_THROW(platform.settle(10));
}

TEST(SimulatedPlatform, GoesOnAfterATaskThatThrows) {
  SimulatedPlatform platform;
  bool ran = false;
  platform.globalQueue().post([] { throw std::runtime_error("on purpose"); });
  platform.globalQueue().post([&] { ran = true; });
  platform.settle();
  EXPECT_TRUE(ran);
  EXPECT_TRUE(platform.mainQueue().isCurrent());
}

TEST(SimulatedPlatform, GivesScriptedRandomNumbersFirst) {
  SimulatedPlatform platform(7);
  SimulatedPlatform same(7);
  platform.queueRandom({5, 0xFFFFFFFF});
  EXPECT_EQ(platform.random(), 5U);
  EXPECT_EQ(platform.random(), 0xFFFFFFFFU);
  EXPECT_EQ(platform.random(), same.random());
  SimulatedPlatform other(8);
  EXPECT_NE(platform.random(), other.random());
}

TEST(SimulatedPlatform, KeepsHeldQueuesWaiting) {
  SimulatedPlatform platform;
  Trace trace;
  platform.mainQueue().post([&] { trace.push_back("main"); });
  platform.globalQueue().post([&] { trace.push_back("worker"); });
  platform.holdMainQueue(true);
  platform.holdGlobalQueue(true);
  platform.runFor(Seconds(1));
  EXPECT_TRUE(trace.empty());
  platform.holdGlobalQueue(false);
  platform.settle();
  EXPECT_EQ(trace, Trace{"worker"});
  platform.holdMainQueue(false);
  platform.settle();
  EXPECT_EQ(trace, (Trace{"worker", "main"}));
}

TEST(SimulatedPlatform, TellsLocaleAndZoneAsSet) {
  SimulatedPlatform platform;
  EXPECT_EQ(platform.localeName(), "en_US_POSIX");
  EXPECT_EQ(platform.timeZoneName(), "UTC");
  platform.setLocale("zh_CN");
  platform.setTimeZone("Asia/Shanghai");
  EXPECT_EQ(platform.localeName(), "zh_CN");
  EXPECT_EQ(platform.timeZoneName(), "Asia/Shanghai");
}

TEST(SimulatedPlatform, ItsZoneIsTheTestsAlone) {
  SimulatedPlatform platform;
  constexpr std::int64_t kSummer = 1'720'000'000;
  const auto offset = [&] { return platform.timeZone()->rules.at(kSummer).seconds; };
  setenv("TZ", "Asia/Tokyo", 1);
  EXPECT_EQ(offset(), 0);
  platform.setTimeZone("America/New_York");
  EXPECT_EQ(offset(), -4 * 3600);
  platform.setTimeZone("XYZ-9ZYX-10,M3.2.0,M11.1.0");
  EXPECT_EQ(offset(), 10 * 3600);
  platform.setTimeZone(std::make_shared<const TimeZone>(TimeZone{"Here", ZoneRules::ofOffset(1234)}));
  EXPECT_EQ(offset(), 1234);
  EXPECT_EQ(platform.timeZoneName(), "Here");
}

TEST(SimulatedPlatform, RunsTheLibrarysTimersOnItsClockWhenInstalled) {
  auto& platform = SimulatedPlatform::install(3);
  EXPECT_EQ(&Platform::current(), &platform);
  std::vector<double> rings;
  const auto timer = Timer::schedule(Seconds(30), true, [&] { rings.push_back(platform.elapsed().count()); });
  platform.runFor(Seconds(95));
  EXPECT_EQ(rings, (std::vector<double>{30, 60, 90}));
  platform.jumpWallClock(Seconds(1e6));
  platform.settle();
  EXPECT_EQ(rings.size(), 3U);
  platform.stall(Seconds(70));
  platform.settle();
  EXPECT_EQ(rings, (std::vector<double>{30, 60, 90, 165}));
  timer->invalidate();
  platform.runFor(Seconds(1000));
  EXPECT_EQ(rings.size(), 4U);
}

TEST(SimulatedPlatform, CannotBeInstalledTwice) {
  SimulatedPlatform::install();
  EXPECT_THROW(SimulatedPlatform::install(), std::logic_error);
}

TEST(SimulatedPlatform, FreesWhatStillWaitsAtItsEnd) {
  const auto token = std::make_shared<int>(0);
  {
    SimulatedPlatform platform;
    const auto queue = SerialQueue::make("serial", platform.globalQueue());
    queue->post([token] {});
    platform.mainQueue().post([token] {});
    platform.delays().runAt(platform.clock().steadyNow() + std::chrono::hours(1), platform.mainQueue(),
                            [token] {});
    EXPECT_EQ(token.use_count(), 4);
  }
  EXPECT_EQ(token.use_count(), 1);
}

}  // namespace
}  // namespace orv::testing::simulated_platform_test
