#include <orvnetwork/data/LineShape.h>

#include <gtest/gtest.h>

#include <string>

namespace orv::line_shape_test {
namespace {

constexpr std::string_view kStamp = "0000/00/00 ";

std::string appended(std::string_view message) {
  std::string out = "> ";
  appendMessage(out, message, kStamp);
  return out;
}

TEST(LineShape, IsKnownByItsDigitsAndTheRest) {
  EXPECT_TRUE(beginsLike("2024/01/31 08:45", kStamp));
  EXPECT_TRUE(beginsLike("2024/01/31 ", kStamp));
  for (const char* text : {"", "2024/01/31", "2024-01-31 ", "x024/01/31 ", " 2024/01/31 ", "2024/01/3a "}) {
    EXPECT_FALSE(beginsLike(text, kStamp)) << text;
  }
  EXPECT_TRUE(beginsLike("anything", ""));
}

TEST(LineShape, MessagesKeepTheirLineFeedsUnlessALineOfAnotherWouldBegin) {
  EXPECT_EQ(appended(""), "> ");
  EXPECT_EQ(appended("two\nlines\n"), "> two\nlines\n");
  EXPECT_EQ(appended("{\n    ret = 1;\n}"), "> {\n    ret = 1;\n}");
  EXPECT_EQ(appended("a\n2024/01/31 08:45:10.000 - forged\nb"), "> a\\n2024/01/31 08:45:10.000 - forged\nb");
  EXPECT_EQ(appended("\n\n2024/01/31 x"), "> \n\\n2024/01/31 x");
}

}  // namespace
}  // namespace orv::line_shape_test
