#include <orvnetwork/data/NumericCompare.h>

#include <gtest/gtest.h>

#include <string>

namespace orv::numeric_compare_test {
namespace {

using std::string_view_literals::operator""sv;

struct Row {
  std::string_view left;
  std::string_view right;
};

TEST(NumericCompare, CallsTextsEqualWhoseNumbersHaveTheSameValue) {
  for (const auto& [left, right] :
       {Row{"a1", "a01"}, Row{"x1y2", "x01y002"}, Row{"1.0", "1.00"}, Row{"007", "7"}, Row{"-1", "-01"},
        Row{"", ""}, Row{"0", "000"}, Row{"same", "same"}, Row{"课程007", "课程7"}}) {
    EXPECT_TRUE(compareNumerically(left, right) == 0) << left << " " << right;
    EXPECT_TRUE(compareNumerically(right, left) == 0) << left << " " << right;
  }
}

TEST(NumericCompare, OrdersByTheFirstDifference) {
  for (const auto& [less, greater] :
       {Row{"1.9", "1.10"}, Row{"1,000", "1000"}, Row{"1", "1a"}, Row{"A", "a"}, Row{"a2", "a10"},
        Row{"a", "b1"}, Row{"", "0"}, Row{"a", "a0"}, Row{"9", "a"}, Row{"/", "0"}, Row{"a01b2", "a1b3"},
        Row{"a 1", "a1"}, Row{"-1", "1"}}) {
    EXPECT_TRUE(compareNumerically(less, greater) < 0) << less << " " << greater;
    EXPECT_TRUE(compareNumerically(greater, less) > 0) << less << " " << greater;
  }
}

TEST(NumericCompare, TakesOnlyAsciiDigitsForNumbers) {
  EXPECT_TRUE(compareNumerically("１", "1") != 0);
  EXPECT_TRUE(compareNumerically("２", "１０") > 0);
  EXPECT_TRUE(compareNumerically("٣", "3") != 0);
}

TEST(NumericCompare, ComparesNumbersOfAnyLength) {
  const std::string zeros(1000, '0');
  EXPECT_TRUE(compareNumerically("18446744073709551616", "0") > 0);
  EXPECT_TRUE(compareNumerically("18446744073709551616", "18446744073709551615") > 0);
  EXPECT_TRUE(compareNumerically(zeros + "5", "5") == 0);
  EXPECT_TRUE(compareNumerically("1" + zeros, "9" + zeros) < 0);
  EXPECT_TRUE(compareNumerically("1" + zeros, "99") > 0);
}

TEST(NumericCompare, ComparesEverythingElseLiterally) {
  EXPECT_TRUE(compareNumerically("\u00e9", "e\u0301") != 0);  // one letter, and a letter with its accent
  EXPECT_TRUE(compareNumerically("é", "z") > 0);
  EXPECT_TRUE(compareNumerically("a\0b"sv, "a\0c"sv) < 0);
  EXPECT_TRUE(compareNumerically("a\0"sv, "a"sv) > 0);
  EXPECT_TRUE(compareNumerically("\xff", "a") > 0);
}

}  // namespace
}  // namespace orv::numeric_compare_test
