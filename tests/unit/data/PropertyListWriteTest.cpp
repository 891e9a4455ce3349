#include <orvnetwork/data/PropertyList.h>
#include <orvnetwork/data/PropertyListLimits.h>

#include <tests/support/ChildProgram.h>
#include <tests/support/RandomJson.h>

#include <gtest/gtest.h>

#include <bit>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>

namespace orv::property_list_write_test {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// The root element of what is written, or why there is none.
std::string written(const json::value& value) {
  const auto result = writePropertyList(value);
  if (!result) return "refused: " + result.error().description;
  const std::string_view head =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
      "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
      "<plist version=\"1.0\">\n";
  const std::string_view tail = "\n</plist>\n";
  EXPECT_TRUE(result->starts_with(head));
  EXPECT_TRUE(result->ends_with(tail));
  return result->substr(head.size(), result->size() - head.size() - tail.size());
}

json::value readBack(const json::value& value) {
  const auto text = writePropertyList(value);
  if (!text) return "not written";
  const auto result = readPropertyList(*text);
  return result ? *result : json::value(result.error().description);
}

json::value nested(std::size_t depth, json::value inside) {
  for (std::size_t i = 0; i < depth; ++i) inside = json::array{std::move(inside)};
  return inside;
}

TEST(PropertyListWrite, WritesEveryKind) {
  EXPECT_EQ(written("text"), "<string>text</string>");
  EXPECT_EQ(written(""), "<string></string>");
  EXPECT_EQ(written(-5), "<integer>-5</integer>");
  EXPECT_EQ(written(std::numeric_limits<std::int64_t>::min()), "<integer>-9223372036854775808</integer>");
  EXPECT_EQ(written(std::numeric_limits<std::uint64_t>::max()), "<integer>18446744073709551615</integer>");
  EXPECT_EQ(written(true), "<true/>");
  EXPECT_EQ(written(false), "<false/>");
  EXPECT_EQ(written(json::array()), "<array/>");
  EXPECT_EQ(written(json::object()), "<dict/>");
}

TEST(PropertyListWrite, IndentsByOneTabALevelBelowTheRoot) {
  EXPECT_EQ(written({{"list", {1, json::object{{"k", "v"}}, json::array()}}, {"flag", true}}),
            "<dict>\n"
            "\t<key>flag</key>\n"
            "\t<true/>\n"
            "\t<key>list</key>\n"
            "\t<array>\n"
            "\t\t<integer>1</integer>\n"
            "\t\t<dict>\n"
            "\t\t\t<key>k</key>\n"
            "\t\t\t<string>v</string>\n"
            "\t\t</dict>\n"
            "\t\t<array/>\n"
            "\t</array>\n"
            "</dict>");
}

TEST(PropertyListWrite, TakesADictionaryAndAnArrayAsTheyAre) {
  const json::object dictionary{{"a", 1}};
  const json::array array{"a"};
  EXPECT_EQ(writePropertyList(dictionary).value(), writePropertyList(json::value(dictionary)).value());
  EXPECT_EQ(writePropertyList(array).value(), writePropertyList(json::value(array)).value());
}

TEST(PropertyListWrite, EscapesOnlyTheThreeCharactersOfMarkup) {
  EXPECT_EQ(written(json::object{{"<&>", "a<b>&c\"d'e"}}),
            "<dict>\n\t<key>&lt;&amp;&gt;</key>\n\t<string>a&lt;b&gt;&amp;c\"d'e</string>\n</dict>");
  EXPECT_EQ(written("\n\t\r\n\x01\x7F文👩‍🏫"), "<string>\n\t\r\n\x01\x7F文👩‍🏫</string>");
  EXPECT_EQ(readBack("\n\t\r\n\x01\x7F文👩‍🏫 "), "\n\t\r\n\x01\x7F文👩‍🏫 ");
}

TEST(PropertyListWrite, WritesRealsWithSeventeenDigits) {
  EXPECT_EQ(written(1.0), "<real>1</real>");
  EXPECT_EQ(written(9.9), "<real>9.9000000000000004</real>");
  EXPECT_EQ(written(double{9.9f}), "<real>9.8999996185302734</real>");
  EXPECT_EQ(written(0.0), "<real>0.0</real>");
  EXPECT_EQ(written(-0.0), "<real>0.0</real>");
  EXPECT_EQ(written(-2.5), "<real>-2.5</real>");
  EXPECT_EQ(written(1e300), "<real>1.0000000000000001e+300</real>");
  EXPECT_EQ(written(1e-7), "<real>9.9999999999999995e-08</real>");
  EXPECT_EQ(written(std::nan("")), "<real>nan</real>");
  EXPECT_EQ(written(kInfinity), "<real>+infinity</real>");
  EXPECT_EQ(written(-kInfinity), "<real>-infinity</real>");
}

TEST(PropertyListWrite, KeepsTheKindOfAWholeReal) {
  EXPECT_TRUE(readBack(1.0).is_double());
  EXPECT_TRUE(readBack(0.0).is_double());
  EXPECT_TRUE(readBack(1e17).is_double());
  EXPECT_TRUE(readBack(1).is_int64());
}

TEST(PropertyListWrite, GivesBackNumbersThatAreNotFinite) {
  EXPECT_EQ(readBack(kInfinity), kInfinity);
  EXPECT_EQ(readBack(-kInfinity), -kInfinity);
  EXPECT_TRUE(std::isnan(readBack(std::nan("")).as_double()));
}

TEST(PropertyListWrite, GivesBackNegativeAndLargeUnsignedNumbers) {
  for (const std::int64_t number : {std::int64_t{-1}, std::numeric_limits<std::int64_t>::min()}) {
    EXPECT_EQ(readBack(number), number);
    EXPECT_TRUE(readBack(number).is_int64());
  }
  for (const std::uint64_t number : {std::uint64_t{1} << 63, std::numeric_limits<std::uint64_t>::max()}) {
    EXPECT_EQ(readBack(number), number);
    EXPECT_TRUE(readBack(number).is_uint64());
  }
  EXPECT_TRUE(readBack(std::uint64_t{5}).is_int64());
}

TEST(PropertyListWrite, SortsKeysByTheirUtf16Units) {
  const json::object dictionary{{"b", 1}, {"Ａ", 2}, {"a", 3}, {"👩", 4}, {"", 5}, {"B", 6}, {"文", 7}};
  const std::string text = written(dictionary);
  std::string keys;
  for (std::size_t at = 0; (at = text.find("<key>", at)) != std::string::npos; ++at) {
    keys += text.substr(at + 5, text.find('<', at + 1) - at - 5) + ",";
  }
  EXPECT_EQ(keys, ",B,a,b,文,👩,Ａ,");
}

TEST(PropertyListWrite, RefusesANullWhereverItIsAndNamesThePlace) {
  EXPECT_EQ(written(nullptr), "refused: the root is null, which a property list cannot hold");
  EXPECT_EQ(written({{"data", {{"list", {1, {{"name", nullptr}}}}}}}),
            "refused: data.list[1].name is null, which a property list cannot hold");
  EXPECT_EQ(written({{1, nullptr}}), "refused: [0][1] is null, which a property list cannot hold");
  const std::string longKey = std::string(59, 'k') + "文" + std::string(1000, 'x');
  EXPECT_EQ(written(json::object{{longKey, nullptr}}),
            "refused: " + std::string(59, 'k') + " is null, which a property list cannot hold");
}

TEST(PropertyListWrite, RefusesTextThatCouldNotBeReadBack) {
  EXPECT_EQ(written(json::object{{"a", json::string("x\0y", 3)}}), "refused: a holds a zero byte");
  EXPECT_EQ(written({{"a", {json::object{{json::string("x\0", 2), 1}}}}}),
            "refused: a[0] has a key that holds a zero byte");
  for (const char* text : {"\xFF", "\xC3", "\xED\xA0\x80", "\xC0\xAF", "a\xF5\x80\x80\x80"}) {
    EXPECT_EQ(written(json::object{{"a", text}}), "refused: a is not UTF-8");
    EXPECT_EQ(written(json::object{{text, 1}}), "refused: the root has a key that is not UTF-8");
  }
}

TEST(PropertyListWrite, RefusesWhatIsNestedTooDeepToBeReadBack) {
  EXPECT_EQ(readBack(nested(64, 5)), nested(64, 5));
  EXPECT_EQ(readBack(nested(63, json::object())), nested(63, json::object()));
  for (const json::value& inside :
       {json::value(5), json::value(json::array()), json::value(json::object())}) {
    EXPECT_TRUE(written(nested(65, inside)).ends_with("is nested too deep for a property list"));
  }
  EXPECT_TRUE(written(nested(64, json::object())).ends_with("is nested too deep for a property list"));
}

TEST(PropertyListWrite, RefusesWhatIsTooLargeToBeReadBack) {
  const json::value value(std::string(kMaxPropertyListSize, 'x'));
  EXPECT_EQ(written(value), "refused: the root is too large for a property list");
  EXPECT_EQ(readPropertyList("<plist><string>" + std::string(value.get_string()) + "</string></plist>")
                .error()
                .description,
            "it is too large");
}

TEST(PropertyListWrite, GivesBackRandomValues) {
  test::RandomJson random(4711);
  for (int i = 0; i < 5000; ++i) {
    const json::value value = random.value(5);
    ASSERT_TRUE(readBack(value) == value) << i << ": " << writePropertyList(value).value();
  }
}

TEST(PropertyListWrite, GivesBackEveryRealExactly) {
  std::mt19937_64 random(99);
  json::array reals{5e-324,
                    2.2250738585072009e-308,
                    2.2250738585072014e-308,
                    std::numeric_limits<double>::max(),
                    std::numeric_limits<double>::lowest(),
                    9007199254740993.0};
  while (reals.size() < 20'000) {
    const auto real = std::bit_cast<double>(random());
    if (std::isfinite(real)) reals.push_back(real);
  }
  EXPECT_TRUE(readBack(reals) == reals);
}

TEST(PropertyListWrite, TakesNoNoticeOfTheLocaleOfTheHost) {
  const std::string folder = std::getenv("HOME");
  test::ChildProgram maker("/usr/bin/localedef",
                           {"--no-archive", "-i", "de_DE", "-f", "UTF-8", folder + "/comma"});
  maker.closeInput();
  const test::ChildResult made = maker.wait();
  ASSERT_EQ(made.exitCode, 0) << made.errors;
  ASSERT_EQ(::setenv("LOCPATH", folder.c_str(), 1), 0);
  ASSERT_NE(std::setlocale(LC_ALL, "comma"), nullptr);
  char digits[16];
  std::snprintf(digits, sizeof digits, "%g", 9.5);
  ASSERT_STREQ(digits, "9,5");

  const json::value reals{9.5, -0.25, 1e300, 12345678.9};
  EXPECT_EQ(written(9.5), "<real>9.5</real>");
  EXPECT_EQ(readBack(reals), reals);
  std::snprintf(digits, sizeof digits, "%g", 9.5);
  EXPECT_STREQ(digits, "9,5") << "the host keeps its locale";
}

}  // namespace
}  // namespace orv::property_list_write_test
