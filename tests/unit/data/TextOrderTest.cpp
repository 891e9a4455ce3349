#include <orvnetwork/data/TextOrder.h>

#include <gtest/gtest.h>

#include <string>

namespace orv::text_order_test {
namespace {

TEST(TextOrder, FollowsUtf16CodeUnits) {
  // Ascending by UTF-16 code units; U+1F600 is D83D DE00 there.
  const std::string ascending[] = {"",       "A",      "AB",      "B",          "a",
                                   "\u00E9", "\u4E2D", "\uD7A3",  "\U0001F600", "\U0010FFFD",
                                   "\uE000", "\uFF21", "\uFF21b", "\uFFFD"};
  for (std::size_t i = 0; i < std::size(ascending); ++i) {
    for (std::size_t j = 0; j < std::size(ascending); ++j) {
      EXPECT_EQ(precedesByUtf16Units(ascending[i], ascending[j]), i < j) << i << " " << j;
    }
  }
}

TEST(TextOrder, LooksAtTheFirstCharacterThatDiffers) {
  EXPECT_TRUE(precedesByUtf16Units("x\U0001F600", "x\uE000"));
  EXPECT_TRUE(precedesByUtf16Units("\U0001F600z", "\uE000a"));
  EXPECT_TRUE(precedesByUtf16Units("\uFF21\U0001F600", "\uFF21\uE000"));
}

}  // namespace
}  // namespace orv::text_order_test
