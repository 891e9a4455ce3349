#include <orvnetwork/platform/Timer.h>
#include <orvnetwork/testing/SimulatedPlatform.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <vector>

namespace orv::timer_test {
namespace {

using testing::SimulatedPlatform;

class TimerTest : public ::testing::Test {
 protected:
  SimulatedPlatform& platform = SimulatedPlatform::install();
  std::vector<double> firings;

  std::function<void()> note() {
    return [this] { firings.push_back(platform.elapsed().count()); };
  }
};

using Times = std::vector<double>;

TEST_F(TimerTest, FiresOnceAfterItsInterval) {
  const auto timer = Timer::schedule(Seconds(5), false, note());
  EXPECT_TRUE(timer->isValid());
  platform.runFor(Seconds(4.999));
  EXPECT_EQ(firings, Times{});
  platform.runFor(Seconds(10));
  EXPECT_EQ(firings, Times{5});
  EXPECT_FALSE(timer->isValid());
}

TEST_F(TimerTest, FiresAgainAndAgainOnItsGrid) {
  const auto timer = Timer::schedule(Seconds(30), true, note());
  platform.runFor(Seconds(95));
  EXPECT_EQ(firings, (Times{30, 60, 90}));
  EXPECT_TRUE(timer->isValid());
  EXPECT_EQ(timer->interval(), Seconds(30));
}

TEST_F(TimerTest, LeavesOutMissedSlotsAndKeepsTheGrid) {
  const auto timer = Timer::schedule(Seconds(10), true, note());
  platform.stall(Seconds(35));
  platform.settle();
  EXPECT_EQ(firings, Times{35});
  platform.runFor(Seconds(20));
  EXPECT_EQ(firings, (Times{35, 40, 50}));
}

TEST_F(TimerTest, DoesNotMoveWithTheWallClock) {
  const auto timer = Timer::schedule(Seconds(5), false, note());
  platform.jumpWallClock(Seconds(-86400));
  platform.runFor(Seconds(5));
  EXPECT_EQ(firings, Times{5});
}

TEST_F(TimerTest, RunsNothingAfterInvalidation) {
  const auto timer = Timer::schedule(Seconds(5), true, note());
  timer->invalidate();
  timer->invalidate();
  timer->fire();
  platform.runFor(Seconds(60));
  EXPECT_EQ(firings, Times{});
  EXPECT_FALSE(timer->isValid());
}

TEST_F(TimerTest, DropsAFiringThatWasAlreadyQueued) {
  std::shared_ptr<Timer> second;
  const auto first = Timer::schedule(Seconds(5), false, [&] { second->invalidate(); });
  second = Timer::schedule(Seconds(5), false, note());
  platform.stall(Seconds(6));
  platform.settle();
  EXPECT_EQ(firings, Times{});
}

TEST_F(TimerTest, MayInvalidateItselfInItsAction) {
  std::shared_ptr<Timer> timer;
  int count = 0;
  timer = Timer::schedule(Seconds(1), true, [&] {
    EXPECT_TRUE(timer->isValid());
    if (++count == 2) timer->invalidate();
  });
  platform.runFor(Seconds(10));
  EXPECT_EQ(count, 2);
}

TEST_F(TimerTest, FireRunsTheActionAtOnceAndSpendsAOneShotTimer) {
  const auto timer = Timer::schedule(Seconds(1), false, note());
  timer->fire();
  EXPECT_EQ(firings, Times{0});
  EXPECT_FALSE(timer->isValid());
  timer->fire();
  platform.runFor(Seconds(5));
  EXPECT_EQ(firings, Times{0});
}

TEST_F(TimerTest, FireLeavesTheScheduleOfARepeatingTimer) {
  const auto timer = Timer::schedule(Seconds(10), true, note());
  platform.runFor(Seconds(4));
  timer->fire();
  platform.runFor(Seconds(8));
  EXPECT_EQ(firings, (Times{4, 10}));
}

TEST_F(TimerTest, NeverRunsItsActionInsideItsAction) {
  std::shared_ptr<Timer> timer;
  int depth = 0;
  int deepest = 0;
  timer = Timer::schedule(Seconds(1), true, [&] {
    deepest = std::max(deepest, ++depth);
    timer->fire();
    platform.runFor(Seconds(3));
    --depth;
  });
  platform.runFor(Seconds(2));
  timer->invalidate();
  EXPECT_EQ(deepest, 1);
}

TEST_F(TimerTest, LivesWithoutBeingHeld) {
  Timer::schedule(Seconds(2), false, note());
  platform.runFor(Seconds(3));
  EXPECT_EQ(firings, Times{2});
}

TEST_F(TimerTest, TakesAnIntervalOfZeroAsTheShortestOne) {
  const auto timer = Timer::schedule(Seconds(-3), false, note());
  EXPECT_EQ(timer->interval(), Seconds(0.0001));
  platform.settle();
  EXPECT_EQ(firings, Times{});
  platform.runFor(Seconds(0.001));
  ASSERT_EQ(firings.size(), 1u);
  EXPECT_NEAR(firings[0], 0.0001, 1e-9);
}

TEST_F(TimerTest, GoesOnAfterAnActionThatThrows) {
  int count = 0;
  const auto timer = Timer::schedule(Seconds(1), true, [&] {
    ++count;
    throw std::runtime_error("planted");
  });
  platform.runFor(Seconds(3));
  EXPECT_EQ(count, 3);
  timer->invalidate();
}

TEST_F(TimerTest, LetsGoOfWhatItsActionHolds) {
  const auto held = std::make_shared<int>(1);
  const auto oneShot = Timer::schedule(Seconds(1), false, [held] { (void)*held; });
  const auto repeating = Timer::schedule(Seconds(1), true, [held] { (void)*held; });
  platform.runFor(Seconds(2));
  repeating->invalidate();
  platform.runFor(Seconds(2));
  EXPECT_EQ(held.use_count(), 1);
}

}  // namespace
}  // namespace orv::timer_test
