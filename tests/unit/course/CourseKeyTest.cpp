#include <orvnetwork/course/detail/CourseKey.h>

#include <gtest/gtest.h>

#include <limits>

namespace orv::course_key_test {
namespace {

TEST(CourseKey, IsTheRoomInDecimal) {
  EXPECT_EQ(courseKey(0), "0");
  EXPECT_EQ(courseKey(123456), "123456");
  EXPECT_EQ(courseKey(-5), "-5");
  EXPECT_EQ(courseKey(std::numeric_limits<std::int64_t>::max()), "9223372036854775807");
  EXPECT_EQ(courseKey(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
}

TEST(CourseKey, GivesTheRoomBack) {
  for (const std::int64_t room :
       {std::int64_t{0}, std::int64_t{7}, std::int64_t{-7}, std::numeric_limits<std::int64_t>::max(),
        std::numeric_limits<std::int64_t>::min()}) {
    EXPECT_EQ(roomIDOfKey(courseKey(room)), room);
  }
}

TEST(CourseKey, OfAForeignListReadsAsItsLeadingInteger) {
  EXPECT_EQ(roomIDOfKey("12abc"), 12);
  EXPECT_EQ(roomIDOfKey("007"), 7);
  EXPECT_EQ(roomIDOfKey("abc"), 0);
  EXPECT_EQ(roomIDOfKey(""), 0);
  EXPECT_EQ(roomIDOfKey("99999999999999999999"), std::numeric_limits<std::int64_t>::max());
}

TEST(CourseKey, StandsBehindAPrefixInTheQueue) {
  EXPECT_EQ(localQueueKey("12"), "l-12");
  EXPECT_EQ(cloudQueueKey("12"), "c-12");
  EXPECT_EQ(courseKeyOfQueueKey("l-12"), "12");
  EXPECT_EQ(courseKeyOfQueueKey("c-12"), "12");
}

TEST(CourseKey, LosesTheSignOfANegativeRoomInTheQueue) {
  EXPECT_EQ(cloudQueueKey(courseKey(-5)), "c--5");
  EXPECT_EQ(courseKeyOfQueueKey("c--5"), "5");
}

TEST(CourseKey, OfAnEntryWithoutADashIsTheEntry) {
  EXPECT_EQ(courseKeyOfQueueKey("12"), "12");
  EXPECT_EQ(courseKeyOfQueueKey(""), "");
  EXPECT_EQ(courseKeyOfQueueKey("l-"), "");
}

}  // namespace
}  // namespace orv::course_key_test
