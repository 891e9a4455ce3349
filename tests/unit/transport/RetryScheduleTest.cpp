#include <orvnetwork/transport/RetrySchedule.h>

#include <gtest/gtest.h>

namespace orv::retry_schedule_test {
namespace {

TEST(RetrySchedule, TriesAtOnceThenAfterFiveThenFifteenThenEveryThirtySeconds) {
  EXPECT_EQ(retryStepAfter(0), RetryStep::Immediate);
  EXPECT_EQ(retryStepAfter(1), RetryStep::First);
  EXPECT_EQ(retryStepAfter(2), RetryStep::Second);
  EXPECT_EQ(retryStepAfter(3), RetryStep::Loop);
  EXPECT_EQ(retryStepAfter(1000000), RetryStep::Loop);
  EXPECT_EQ(kAutoReconnectTimeout_First, 5.0);
  EXPECT_EQ(kAutoReconnectTimeout_Second, 15.0);
  EXPECT_EQ(kAutoReconnectTimeout_Loop, 30.0);
}

}  // namespace
}  // namespace orv::retry_schedule_test
