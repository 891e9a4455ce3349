#include <orvnetwork/testing/SimulatedPlatform.h>

#include <gtest/gtest.h>

#include <thread>

namespace orv::testing::scheduler_test {
namespace {

TEST(Scheduler, RunsATaskOfAnotherLaneFromInsideATask) {
  SimulatedPlatform platform;
  std::string order;
  platform.mainQueue().post([&] {
    order += '(';
    platform.globalQueue().post([&] { order += 'w'; });
    platform.settle();
    order += ')';
  });
  platform.settle();
  EXPECT_EQ(order, "(w)");
}

TEST(Scheduler, NeverRunsTwoTasksOfOneThreadAtOnce) {
  SimulatedPlatform platform;
  const auto lane = platform.scheduler().makeLane(LaneKind::Background, "thread");
  std::string order;
  lane->post([&] {
    order += '(';
    platform.settle();
    order += ')';
  });
  lane->post([&] { order += 'a'; });
  platform.settle();
  EXPECT_EQ(order, "()a");
}

TEST(Scheduler, DoesNotRunMainTasksBehindAWorkerThatWaitsInsideMain) {
  SimulatedPlatform platform;
  std::string order;
  platform.mainQueue().post([&] {
    platform.globalQueue().post([&] {
      order += 'w';
      platform.mainQueue().post([&] { order += 'm'; });
      platform.settle();
      order += 'x';
    });
    platform.settle();
    order += '!';
  });
  platform.settle();
  EXPECT_EQ(order, "wxm!");
}

TEST(Scheduler, LetsWorkerTasksOverlap) {
  SimulatedPlatform platform;
  std::string order;
  platform.globalQueue().post([&] {
    order += '(';
    platform.settle();
    order += ')';
  });
  platform.globalQueue().post([&] { order += 'w'; });
  platform.settle();
  EXPECT_EQ(order, "(w)");
}

TEST(Scheduler, DestroysATaskBeforeTheNextOneRuns) {
  SimulatedPlatform platform;
  const auto token = std::make_shared<int>(0);
  long seen = 0;
  platform.mainQueue().post([token] {});
  platform.mainQueue().post([&] { seen = token.use_count(); });
  platform.settle();
  EXPECT_EQ(seen, 1);
}

TEST(Scheduler, SurvivesALaneThatGoesWithItsLastTask) {
  SimulatedPlatform platform;
  bool ran = false;
  auto lane = platform.scheduler().makeLane(LaneKind::Link, "short-lived");
  auto* raw = lane.get();
  raw->post([&ran, owner = std::move(lane)] { ran = true; });
  platform.settle();
  EXPECT_TRUE(ran);
}

TEST(SchedulerDeathTest, EndsTheProgramWhenASecondThreadPosts) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  SimulatedPlatform platform;
  EXPECT_DEATH(std::thread([&] { platform.mainQueue().post([] {}); }).join(), "runs on one");
}

TEST(Scheduler, KnowsThatASecondThreadIsNotMain) {
  SimulatedPlatform platform;
  bool isMain = true;
  std::thread([&] { isMain = platform.mainQueue().isCurrent(); }).join();
  EXPECT_FALSE(isMain);
}

}  // namespace
}  // namespace orv::testing::scheduler_test
