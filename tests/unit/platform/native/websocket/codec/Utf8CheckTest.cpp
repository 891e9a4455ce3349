#include <orvnetwork/data/Utf8.h>
#include <orvnetwork/platform/native/websocket/codec/Utf8Check.h>

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <string_view>

namespace orv::utf8_check_test {
namespace {

/// The bytes beside which the rules of a character's bytes change.
constexpr std::array<int, 26> kEdges = {0x00, 0x41, 0x7f, 0x80, 0x8f, 0x90, 0x9f, 0xa0, 0xbf,
                                        0xc0, 0xc1, 0xc2, 0xdf, 0xe0, 0xe1, 0xec, 0xed, 0xee,
                                        0xef, 0xf0, 0xf1, 0xf3, 0xf4, 0xf5, 0xf8, 0xff};

/// Whether some text of at most three more bytes makes this one right.
bool canBecomeUtf8(std::string text, int more = 3) {
  if (isUtf8(text)) return true;
  if (more == 0) return false;
  for (const int next : {0x80, 0x90, 0xa0, 0xbf}) {
    text.push_back(static_cast<char>(next));
    if (canBecomeUtf8(text, more - 1)) return true;
    text.pop_back();
  }
  return false;
}

TEST(Utf8Check, SaysNoExactlyWhenNothingCanMakeItRight) {
  std::string text;
  int good = 0, bad = 0;
  for (const int first : kEdges) {
    for (const int second : kEdges) {
      for (const int third : kEdges) {
        text = {static_cast<char>(first), static_cast<char>(second), static_cast<char>(third)};
        Utf8Check check;
        bool goesOn = true;
        for (std::size_t size = 1; size <= text.size() && goesOn; ++size) {
          const std::string begun = text.substr(0, size);
          goesOn = check.goOn(begun);
          ASSERT_EQ(goesOn, canBecomeUtf8(begun)) << first << " " << second << " " << third << ", " << size;
          if (goesOn) {
            ASSERT_EQ(check.isWhole(begun), isUtf8(begun));
          }
        }
        ++(goesOn ? good : bad);
      }
    }
  }
  EXPECT_GT(good, 500);
  EXPECT_GT(bad, 500);
}

TEST(Utf8Check, LooksAtTheSecondByteOfACharacterWhereItIsCut) {
  for (const std::string_view text : {"\xe0\x9f", "\xed\xa0", "\xf0\x8f", "\xf4\x90"}) {
    Utf8Check check;
    EXPECT_TRUE(check.goOn(text.substr(0, 1)));
    EXPECT_FALSE(check.goOn(text));
  }
}

TEST(Utf8Check, BeginsAgain) {
  Utf8Check check;
  EXPECT_TRUE(check.goOn("abc\xe5"));
  check.restart();
  EXPECT_TRUE(check.goOn("d"));
  EXPECT_TRUE(check.isWhole("d"));
}

}  // namespace
}  // namespace orv::utf8_check_test
