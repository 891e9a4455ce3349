#include <orvnetwork/course/detail/KeyList.h>
#include <orvnetwork/course/detail/PageRepeats.h>

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

namespace orv::page_repeats_test {
namespace {

TEST(PageRepeats, WaitsTwiceAsLongEachTimeUpToThirtySeconds) {
  PageRepeats repeats;
  std::vector<double> pauses;
  for (int merge = 0; merge < 9; ++merge) {
    pauses.push_back(repeats.pauseBefore(1, 0).count());
    repeats.merged(1, 0, false);
  }
  EXPECT_EQ(pauses, (std::vector<double>{0, 1, 2, 4, 8, 16, 30, 30, 30}));
}

TEST(PageRepeats, WaitsForNoOtherPageAndNoOtherList) {
  PageRepeats repeats;
  repeats.merged(2, 1, false);
  EXPECT_EQ(repeats.pauseBefore(2, 1), Seconds(1));
  EXPECT_EQ(repeats.pauseBefore(3, 1), Seconds(0));
  EXPECT_EQ(repeats.pauseBefore(2, 2), Seconds(0));
  repeats.merged(2, 1, false);
  repeats.merged(3, 1, false);
  EXPECT_EQ(repeats.pauseBefore(2, 1), Seconds(0));
  EXPECT_EQ(repeats.pauseBefore(3, 1), Seconds(1)) << "the first time";
}

TEST(PageRepeats, BeginsAnewAfterAChange) {
  PageRepeats repeats;
  for (int merge = 0; merge < 5; ++merge) repeats.merged(1, 0, false);
  repeats.merged(1, 0, true);
  EXPECT_EQ(repeats.pauseBefore(1, 0), Seconds(0));
  repeats.merged(1, 0, false);
  EXPECT_EQ(repeats.pauseBefore(1, 0), Seconds(1));
  repeats.reset();
  EXPECT_EQ(repeats.pauseBefore(1, 0), Seconds(0));
}

TEST(PageRepeats, LetsOneWaitAtATime) {
  PageRepeats repeats;
  const auto first = repeats.wait();
  ASSERT_TRUE(first);
  EXPECT_FALSE(repeats.wait());
  EXPECT_TRUE(repeats.endWait(*first));
  EXPECT_FALSE(repeats.endWait(*first));
  const auto second = repeats.wait();
  ASSERT_TRUE(second);
  EXPECT_FALSE(repeats.endWait(*first));
  repeats.cancelWait();
  EXPECT_FALSE(repeats.endWait(*second));
  EXPECT_TRUE(repeats.wait());
}

TEST(PageView, IsOfThePageAndOneCourseAroundIt) {
  KeyList list;
  for (int room = 0; room < 100; ++room) list.append(std::to_string(room));
  EXPECT_EQ(PageView(list, 1).keys.size(), 31u);
  EXPECT_EQ(PageView(list, 2).keys.size(), 32u);
  EXPECT_EQ(PageView(list, 2).keys.front(), "29");
  EXPECT_EQ(PageView(list, 2).keys.back(), "60");
  EXPECT_EQ(PageView(list, 4).keys.size(), 11u);
  EXPECT_EQ(PageView(list, 5).keys.size(), 0u);
  EXPECT_EQ(PageView(list, -3), PageView(list, 1));
  EXPECT_EQ(PageView(list, std::numeric_limits<std::int64_t>::max()).keys.size(), 0u);
  const PageView before(list, 2);
  list.append("100");
  EXPECT_NE(PageView(list, 2), before) << "the list is longer";
}

}  // namespace
}  // namespace orv::page_repeats_test
