#include <orvnetwork/data/TerminalText.h>

#include <gtest/gtest.h>

namespace orv::terminal_text_test {
namespace {

TEST(TerminalText, ShowsWhatControlsATerminalByItsNumber) {
  EXPECT_EQ(printable("a\x1b[2J\x07\x08\x7f\t\rz"), R"(a\u001b[2J\u0007\u0008\u007f\u0009\u000dz)");
  EXPECT_EQ(printable("\u0080\u009f"), R"(\u0080\u009f)");
  EXPECT_EQ(printable(std::string_view("\0\x1f", 2)), R"(\u0000\u001f)");
}

TEST(TerminalText, ShowsWhatTurnsTheDirectionOfWritingByItsNumber) {
  EXPECT_EQ(printable("\u061c\u200e\u200f\u202a\u202e\u2066\u2069"),
            R"(\u061c\u200e\u200f\u202a\u202e\u2066\u2069)");
  EXPECT_EQ(printable("\u200d\u2027\u202f\u2065\u206a"), "\u200d\u2027\u202f\u2065\u206a")
      << "their neighbours";
}

TEST(TerminalText, ShowsSeparatorsOfLinesAndParagraphsByTheirNumbers) {
  EXPECT_EQ(printable("a\u2028b\u2029c"), R"(a\u2028b\u2029c)");
}

TEST(TerminalText, LeavesPlainTextAndLineFeeds) {
  EXPECT_EQ(printable("plain ~ 文字\n\n👩é\u00a0"), "plain ~ 文字\n\n👩é\u00a0");
  EXPECT_EQ(printable(""), "");
}

TEST(TerminalText, ShowsBytesThatAreNoUtf8ByTheirNumbers) {
  EXPECT_EQ(printable("\xff\x9b"
                      "1m\xe6\x96"),
            R"(\xff\x9b1m\xe6\x96)");
}

}  // namespace
}  // namespace orv::terminal_text_test
