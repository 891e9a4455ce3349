#include <orvnetwork/data/Utf8.h>

#include <gtest/gtest.h>

#include <iterator>
#include <random>
#include <vector>

namespace orv::utf8_test {
namespace {

std::string textOf(char32_t code) {
  std::string text;
  appendUtf8(text, code);
  return text;
}

TEST(Utf8, WritesAndReadsEveryCharacter) {
  for (std::uint32_t code = 0; code <= 0x10FFFF; ++code) {
    if (code >= 0xD800 && code <= 0xDFFF) continue;
    const std::string text = textOf(code);
    const std::size_t size = code < 0x80 ? 1 : code < 0x800 ? 2 : code < 0x10000 ? 3 : 4;
    ASSERT_EQ(text.size(), size) << code;
    ASSERT_EQ(utf8SequenceLength(text), size) << code;
    ASSERT_TRUE(isUtf8(text)) << code;
    ASSERT_TRUE(utf8CodePoint(text + "x", size) == code) << code;
  }
  EXPECT_EQ(textOf(0x1F469), "\xF0\x9F\x91\xA9");
}

TEST(Utf8, RefusesWhatIsNoCharacter) {
  using namespace std::string_literals;
  for (const std::string& bytes :
       {"\x80"s, "\xBF"s, "\xC0\xAF"s, "\xC1\xBF"s, "\xE0\x9F\xBF"s, "\xF0\x8F\xBF\xBF"s, "\xED\xA0\x80"s,
        "\xF4\x90\x80\x80"s, "\xF5\x80\x80\x80"s, "\xFE"s, "\xFF"s, "\xC3"s, "\xC3("s, "\xE4\xB8"s,
        "\xE4\xB8("s, "\xF0\x9F\x91"s, "\xF0\x9F\x91("s, "\xC3\0"s}) {
    EXPECT_EQ(utf8SequenceLength(bytes), 0U);
    EXPECT_FALSE(isUtf8(bytes));
    // Wherever it stands among plain bytes that are looked at eight at a time.
    for (std::size_t before = 0; before < 20; ++before) {
      const std::string plain(before, 'x');
      EXPECT_FALSE(isUtf8(plain + bytes)) << before;
      EXPECT_FALSE(isUtf8(plain + bytes + std::string(20, 'y'))) << before;
      EXPECT_TRUE(isUtf8(plain + "文" + std::string(20, 'y'))) << before;
    }
  }
  EXPECT_EQ(utf8SequenceLength(""), 0U);
  EXPECT_TRUE(isUtf8(""));
  EXPECT_TRUE(isUtf8(std::string_view("\0\x01\x7F", 3)));
}

TEST(Utf8, FindsATextWellFormedJustWhenAllOfItsCharactersAre) {
  constexpr const char* kPieces[] = {"a",    "/",    "文",   "é",        "👩",        "\xF4\x8F\xBF\xBF",
                                     "\xC3", "\x80", "\xED", "\xE6\x96", "\xBF",     "\xF0\x9F",
                                     "\xE0", "\xA0", "\xFF", "\xED\x9F", "plain te", "eight more"};
  std::mt19937 random(5);
  int wellFormed = 0;
  for (int i = 0; i < 100'000; ++i) {
    // Most of them with nothing but whole characters.
    const std::size_t kinds = random() % 3 == 0 ? std::size(kPieces) : 6;
    std::string text(random() % 70, 'x');
    for (std::size_t left = random() % 12; left > 0; --left) text += kPieces[random() % kinds];
    std::string_view rest = text;
    while (utf8SequenceLength(rest) > 0) rest.remove_prefix(utf8SequenceLength(rest));
    ASSERT_EQ(isUtf8(text), rest.empty()) << testing::PrintToString(text);
    wellFormed += rest.empty();
  }
  EXPECT_GT(wellFormed, 50'000);
  EXPECT_LT(wellFormed, 90'000);
}

TEST(Utf8, TakesTheFrontOfATextWithoutSplittingACharacter) {
  const std::string_view text = "a文👩b";
  const std::vector<std::size_t> sizes = {0, 1, 1, 1, 4, 4, 4, 4, 8, 9, 9};
  for (std::size_t size = 0; size < sizes.size(); ++size) {
    EXPECT_EQ(utf8Front(text, size), text.substr(0, sizes[size])) << size;
  }
  EXPECT_EQ(utf8Front("\x80\x80\x80", 2), "");
}

TEST(Utf8, RepairsWhatIsNotWellFormed) {
  EXPECT_EQ(repairedUtf8(""), "");
  EXPECT_EQ(repairedUtf8("a文👩\n"), "a文👩\n");
  EXPECT_EQ(repairedUtf8("a\xFF"
                         "b\xE6\x96"),
            "a\uFFFD"
            "b\uFFFD\uFFFD");
  EXPECT_TRUE(isUtf8(repairedUtf8("\xC0\x80\xED\xA0\x80\x9B")));
}

TEST(Utf8, DropsTheCharacterThatACutWentThrough) {
  const std::string_view text = "a文👩b";
  const std::vector<std::size_t> sizes = {0, 1, 1, 1, 4, 4, 4, 4, 8, 9};
  for (std::size_t size = 0; size < sizes.size(); ++size) {
    EXPECT_EQ(withoutSplitUtf8(text.substr(0, size)), text.substr(0, sizes[size])) << size;
  }
  EXPECT_EQ(withoutSplitUtf8("ab\x80\x80\x80\x80"), "ab\x80\x80\x80\x80") << "no cut made that";
  EXPECT_EQ(withoutSplitUtf8("\x80"), "\x80");
}

}  // namespace
}  // namespace orv::utf8_test
