#include <orvnetwork/platform/native/network/Debounce.h>

#include <gtest/gtest.h>

namespace orv::debounce_test {
namespace {

using std::chrono::milliseconds;

class DebounceTest : public ::testing::Test {
 protected:
  static Debounce::Clock::time_point at(int moment) {
    return Debounce::Clock::time_point() + std::chrono::hours(1) + milliseconds(moment);
  }
  Debounce debounce_{milliseconds(100), milliseconds(500)};
};

TEST_F(DebounceTest, IsNotDueWithoutAnEvent) {
  EXPECT_FALSE(debounce_.dueAt());
  EXPECT_FALSE(debounce_.takeIfDue(at(1000)));
}

TEST_F(DebounceTest, IsDueWhenItHasBeenQuietAfterAnEvent) {
  debounce_.eventAt(at(0));
  EXPECT_FALSE(debounce_.takeIfDue(at(99)));
  EXPECT_EQ(debounce_.dueAt(), at(100));
  EXPECT_TRUE(debounce_.takeIfDue(at(100)));
  EXPECT_FALSE(debounce_.takeIfDue(at(101)));
  EXPECT_FALSE(debounce_.dueAt());
}

TEST_F(DebounceTest, EachEventPutsItOff) {
  debounce_.eventAt(at(0));
  debounce_.eventAt(at(90));
  EXPECT_FALSE(debounce_.takeIfDue(at(189)));
  EXPECT_TRUE(debounce_.takeIfDue(at(190)));
}

TEST_F(DebounceTest, ALongBurstIsCutAndTheNextOneStartsAfresh) {
  for (int moment = 0; moment <= 490; moment += 10) {
    debounce_.eventAt(at(moment));
    EXPECT_FALSE(debounce_.takeIfDue(at(moment))) << moment;
  }
  EXPECT_EQ(debounce_.dueAt(), at(500));
  EXPECT_TRUE(debounce_.takeIfDue(at(500)));
  debounce_.eventAt(at(510));
  EXPECT_EQ(debounce_.dueAt(), at(610));
}

}  // namespace
}  // namespace orv::debounce_test
