#include <orvnetwork/data/Utf8.h>

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <string_view>

namespace orv::utf8_blocks_test {
namespace {

/// The bytes beside which the rules of a character's bytes change.
constexpr std::array<int, 26> kEdges = {0x00, 0x41, 0x7f, 0x80, 0x8f, 0x90, 0x9f, 0xa0, 0xbf,
                                        0xc0, 0xc1, 0xc2, 0xdf, 0xe0, 0xe1, 0xec, 0xed, 0xee,
                                        0xef, 0xf0, 0xf1, 0xf3, 0xf4, 0xf5, 0xf8, 0xff};

void expectBoth(std::string_view text, bool isGood) {
  EXPECT_EQ(isUtf8(text), isGood) << ::testing::PrintToString(text);
  EXPECT_EQ(detail::isUtf8ByCharacters(text), isGood) << ::testing::PrintToString(text);
}

TEST(Utf8Blocks, TakesEachCharacterThatThereIsAndNoOther) {
  for (unsigned code = 0; code <= 0x1fffff; code += code < 0x3000 ? 1 : 61) {
    std::string text;
    if (code < 0x80) {
      text = {static_cast<char>(code)};
    } else if (code < 0x800) {
      text = {static_cast<char>(0xc0 | code >> 6), static_cast<char>(0x80 | (code & 0x3f))};
    } else if (code < 0x10000) {
      text = {static_cast<char>(0xe0 | code >> 12), static_cast<char>(0x80 | (code >> 6 & 0x3f)),
              static_cast<char>(0x80 | (code & 0x3f))};
    } else {
      text = {static_cast<char>(0xf0 | code >> 18), static_cast<char>(0x80 | (code >> 12 & 0x3f)),
              static_cast<char>(0x80 | (code >> 6 & 0x3f)), static_cast<char>(0x80 | (code & 0x3f))};
    }
    expectBoth(text, code < 0x110000 && (code < 0xd800 || code > 0xdfff));
  }
}

TEST(Utf8Blocks, BothWaysSayTheSameOfAllNeighboursWhereverTheyLieInABlock) {
  int good = 0, bad = 0;
  for (const int first : kEdges) {
    for (const int second : kEdges) {
      for (const int third : kEdges) {
        for (const int fourth : kEdges) {
          const std::string four = {static_cast<char>(first), static_cast<char>(second),
                                    static_cast<char>(third), static_cast<char>(fourth)};
          const bool isGood = detail::isUtf8ByCharacters(four);
          ++(isGood ? good : bad);
          const std::size_t place = static_cast<std::size_t>(first + second + third + fourth) % 34;
          std::string text(place, 'x');
          text += four;
          ASSERT_EQ(isUtf8(text), isGood) << ::testing::PrintToString(four) << " at " << place;
          text.append(20, 'y');
          ASSERT_EQ(isUtf8(text), isGood) << ::testing::PrintToString(four) << " at " << place;
        }
      }
    }
  }
  EXPECT_GT(good, 1000);
  EXPECT_GT(bad, 1000);
}

TEST(Utf8Blocks, ACharacterThatLacksItsEndIsFoundAtEachEndOfABlock) {
  for (const std::string& part :
       {std::string("\xc2"), std::string("\xe4\xbb"), std::string("\xf0\x9f\x98")}) {
    for (std::size_t size = 0; size < 70; ++size) {
      expectBoth(std::string(size, 'x') + part, false);
      expectBoth(std::string(size, 'x') + part + std::string(40, 'x'), false);
      expectBoth(std::string(size, 'x') + part + "\xc2\x80", false);
    }
  }
}

TEST(Utf8Blocks, OneBadByteInAnyPlaceIsFound) {
  std::string text;
  while (text.size() < 300) text += "ab\xc2\xb5\xe4\xbb\xa3\xf0\x9f\x98\x8a";
  expectBoth(text, true);
  for (std::size_t place = 0; place < text.size(); ++place) {
    std::string broken = text;
    broken[place] = '\xff';
    expectBoth(broken, false);
  }
}

}  // namespace
}  // namespace orv::utf8_blocks_test
