#include <orvnetwork/testing/SimulatedPlatform.h>

#include <gtest/gtest.h>

namespace orv::testing::simulated_background_drain_test {
namespace {

TEST(SimulatedBackgroundDrain, RunsOnceForManyReports) {
  SimulatedPlatform platform;
  int runs = 0;
  const auto drain = platform.makeBackgroundDrain([&] { ++runs; });
  drain->nudge();
  drain->nudge();
  EXPECT_EQ(runs, 0);
  platform.settle();
  EXPECT_EQ(runs, 1);
  drain->nudge();
  platform.settle();
  EXPECT_EQ(runs, 2);
}

TEST(SimulatedBackgroundDrain, RunsAgainForAReportFromInside) {
  SimulatedPlatform platform;
  int runs = 0;
  std::unique_ptr<BackgroundDrain> drain;
  drain = platform.makeBackgroundDrain([&] {
    if (++runs < 3) {
      drain->nudge();
    }
  });
  drain->nudge();
  platform.settle();
  EXPECT_EQ(runs, 3);
}

TEST(SimulatedBackgroundDrain, RunNowRunsOnTheCallersThread) {
  SimulatedPlatform platform;
  int runs = 0;
  bool wasMain = false;
  std::unique_ptr<BackgroundDrain> drain;
  drain = platform.makeBackgroundDrain([&] {
    ++runs;
    wasMain = platform.mainQueue().isCurrent();
    drain->runNow();
  });
  drain->runNow();
  EXPECT_EQ(runs, 1) << "called from inside it does nothing";
  EXPECT_TRUE(wasMain);
}

TEST(SimulatedBackgroundDrain, DoesNothingAfterItsEnd) {
  SimulatedPlatform platform;
  int runs = 0;
  auto drain = platform.makeBackgroundDrain([&] { ++runs; });
  drain->nudge();
  drain.reset();
  platform.settle();
  EXPECT_EQ(runs, 0);
}

}  // namespace
}  // namespace orv::testing::simulated_background_drain_test
