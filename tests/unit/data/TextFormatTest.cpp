#include <orvnetwork/data/TextFormat.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <vector>

namespace school {

struct Pupil {
  std::string name;
};
std::string describe(const Pupil& pupil) {
  return "<Pupil " + pupil.name + ">";
}

}  // namespace school

namespace orv::text_format_test {
namespace {

// What a format accepts is decided when it is compiled, so these are checked there too.
template <char conversion, typename T>
constexpr bool takes = detail::slotTakes(conversion, detail::argumentKind<T>());

static_assert(takes<'@', std::string> && takes<'@', std::string_view> && takes<'@', const char*>);
static_assert(takes<'@', char[4]> && takes<'@', OptionalString> && takes<'@', Object> && takes<'@', Error>);
static_assert(takes<'@', json::value> && takes<'@', json::object> && takes<'@', json::array>);
static_assert(takes<'@', std::optional<json::object>> && takes<'@', const json::value*>);
static_assert(takes<'@', school::Pupil> && takes<'@', std::shared_ptr<const school::Pupil>>);
static_assert(!takes<'@', int> && !takes<'@', bool> && !takes<'@', double> && !takes<'@', std::vector<int>>);
static_assert(!takes<'@', const void*> && !takes<'@', std::optional<int>>);
static_assert(takes<'s', std::string_view> && takes<'s', const char*> && !takes<'s', OptionalString>);
static_assert(!takes<'s', json::value> && !takes<'s', int>);
static_assert(takes<'d', int> && takes<'d', bool> && takes<'d', unsigned> && takes<'d', short>);
static_assert(!takes<'d', std::int64_t> && !takes<'d', double> && !takes<'d', std::string>);
static_assert(takes<'l', std::int64_t> && takes<'l', int> && takes<'u', std::uint64_t> && takes<'u', int>);
static_assert(!takes<'l', double> && !takes<'u', const char*>);

constexpr char conversionOf(std::string_view text) {
  return detail::nextSlot(text, 0).conversion;
}
static_assert(conversionOf("%@") == '@' && conversionOf("x%s") == 's' && conversionOf("%%") == '%');
static_assert(conversionOf("%ld") == 'l' && conversionOf("%02ld") == 'l' && conversionOf("%lu") == 'u');
static_assert(conversionOf("%") == 0 && conversionOf("%f") == 0 && conversionOf("%l") == 0);
static_assert(conversionOf("% d") == 0 && conversionOf("%2d") == 0 && conversionOf("%0d") == 0);
static_assert(conversionOf("%02@") == 0 && conversionOf("%02%") == 0 && conversionOf("%099d") == 0);

template <typename... Args>
constexpr detail::FormatProblem problemOf(std::string_view text) {
  constexpr std::array<detail::ArgumentKind, sizeof...(Args)> kinds{detail::argumentKind<Args>()...};
  return detail::findProblem(text, kinds);
}
using enum detail::FormatProblem;
static_assert(problemOf<>("") == None && problemOf<>("100%%") == None);
static_assert(problemOf<int, std::string>("%d of %@") == None);
static_assert(problemOf<>("%@") == TooFewArguments && problemOf<int>("%d%d") == TooFewArguments);
static_assert(problemOf<int>("x") == TooManyArguments && problemOf<int, int>("%d%%") == TooManyArguments);
static_assert(problemOf<int>("%@") == WrongArgument && problemOf<int, int>("%d%s") == WrongArgument);
static_assert(problemOf<double>("%f") == MalformedSlot && problemOf<int>("%d 5%") == MalformedSlot);

TEST(TextFormat, FillsObjectSlotsWithText) {
  EXPECT_EQ(formatText("%@.%@", "2.3.1", std::string("57")), "2.3.1.57");
  EXPECT_EQ(formatText("[%@]", std::string_view("a\0b", 3)), std::string("[a\0b]", 5));
  EXPECT_EQ(formatText("拉取：%@", "标题"), "拉取：标题");
  EXPECT_EQ(formatText("%@", OptionalString("x")), "x");
  EXPECT_EQ(formatText("%@", "100%@"), "100%@");
}

TEST(TextFormat, WritesNullForWhatIsAbsent) {
  const char* noText = nullptr;
  EXPECT_EQ(formatText("%@", OptionalString()), "(null)");
  EXPECT_EQ(formatText("%@", Object()), "(null)");
  EXPECT_EQ(formatText("%@", json::value(nullptr)), "(null)");
  EXPECT_EQ(formatText("%@", std::optional<json::object>()), "(null)");
  EXPECT_EQ(formatText("%@ %s", noText, noText), "(null) (null)");
  EXPECT_EQ(formatText("%@", std::shared_ptr<school::Pupil>()), "(null)");
  EXPECT_EQ(formatText("%@", static_cast<const json::value*>(nullptr)), "(null)");
}

TEST(TextFormat, FillsIntegerSlots) {
  EXPECT_EQ(formatText("%d %ld %lu", -7, std::int64_t{-8}, std::uint64_t{9}), "-7 -8 9");
  EXPECT_EQ(formatText("%ld %ld", INT64_MIN, INT64_MAX), "-9223372036854775808 9223372036854775807");
  EXPECT_EQ(formatText("%lu %lu", UINT64_MAX, -1), "18446744073709551615 18446744073709551615");
  EXPECT_EQ(formatText("%ld", UINT64_MAX), "18446744073709551615");
  EXPECT_EQ(formatText("%d%d", true, false), "10");
}

TEST(TextFormat, PadsWithZeros) {
  EXPECT_EQ(formatText("%02ld:%02d", 5, 100), "05:100");
  EXPECT_EQ(formatText("%02ld %03ld %05d", -1, -1, -42), "-1 -01 -0042");
}

TEST(TextFormat, WritesPercentSignsAndTextsWithoutSlots) {
  EXPECT_EQ(formatText("100%%"), "100%");
  EXPECT_EQ(formatText("%%@%%%@", "x"), "%@%x");
  EXPECT_EQ(formatText(""), "");
  EXPECT_EQ(formatText("plain"), "plain");
}

TEST(TextFormat, FillsTextSlots) {
  EXPECT_EQ(formatText("%s %d, %@", "routine", 138, "why"), "routine 138, why");
}

TEST(TextFormat, AsksATypeToDescribeItself) {
  const school::Pupil pupil{"Ann"};
  EXPECT_EQ(formatText("%@", pupil), "<Pupil Ann>");
  EXPECT_EQ(formatText("%@ %@", std::make_shared<school::Pupil>(pupil), &pupil), "<Pupil Ann> <Pupil Ann>");
  EXPECT_EQ(formatText("%@", std::optional(pupil)), "<Pupil Ann>");
}

TEST(TextFormat, DescribesErrors) {
  EXPECT_EQ(formatText("%@", Error{"OrvJson", 3840, "no value at byte 0"}),
            "OrvJson 3840: no value at byte 0");
}

TEST(TextFormat, DescribesSingleValuesPlainly) {
  EXPECT_EQ(formatText("%@", json::value("a b\"é")), "a b\"é");
  EXPECT_EQ(formatText("%@ %@ %@", json::value(7), json::value(68.32), json::value(true)),
            "7 68.31999999999999 1");
  EXPECT_EQ(formatText("%@", Object("x y")), "x y");
  EXPECT_EQ(formatText("%@", Object(1.0)), "1");
}

TEST(TextFormat, DescribesDictionariesWithSortedKeys) {
  const json::object object = {{"zoo", "plain1"}, {"a b", "two words"}, {"Z", 5},
                               {"yes", true},     {"no", false},        {"none", nullptr},
                               {"real", 1.5},     {"empty", ""},        {"id", -1}};
  EXPECT_EQ(describe(object),
            "{\n"
            "    Z = 5;\n"
            "    \"a b\" = \"two words\";\n"
            "    empty = \"\";\n"
            "    id = \"-1\";\n"
            "    no = 0;\n"
            "    none = \"<null>\";\n"
            "    real = \"1.5\";\n"
            "    yes = 1;\n"
            "    zoo = plain1;\n"
            "}");
}

TEST(TextFormat, DescribesNestedDictionariesAndArrays) {
  const json::value value = {{"v", {{"ret", 0}, {"list", {1, "x y", {{"k", "v"}}}}}}, {"c", "User.Get"}};
  EXPECT_EQ(formatText("%@", value),
            "{\n"
            "    c = \"User.Get\";\n"
            "    v = {\n"
            "        list = (\n"
            "            1,\n"
            "            \"x y\",\n"
            "            {\n"
            "                k = v;\n"
            "            }\n"
            "        );\n"
            "        ret = 0;\n"
            "    };\n"
            "}");
  EXPECT_EQ(describe(json::object()), "{\n}");
  EXPECT_EQ(describe(json::array()), "(\n)");
}

TEST(TextFormat, EscapesTextInsideDictionaries) {
  json::object object;
  object["文"] = "é😀";
  object["line"] = "a\nb\t\"c\"\\\r\x01\x7F";
  object["bytes"] = "\xFF";
  EXPECT_EQ(describe(object),
            "{\n"
            "    bytes = \"\\377\";\n"
            "    line = \"a\\nb\\t\\\"c\\\"\\\\\\r\\001\\177\";\n"
            "    \"\\U6587\" = \"\\U00e9\\Ud83d\\Ude00\";\n"
            "}");
}

TEST(TextFormat, CutsVeryLongDescriptionsAndSaysSo) {
  const json::object object = {{"k", json::string(100'000, 'x')}};
  const std::string whole = "{\n    k = " + std::string(100'000, 'x') + ";\n}";
  EXPECT_EQ(describe(object), whole.substr(0, kMaxDescriptionSize) + "…(cut)");
  const json::object fits = {{"k", json::string(kMaxDescriptionSize - 13, 'x')}};
  EXPECT_EQ(describe(fits).size(), kMaxDescriptionSize);
  EXPECT_EQ(describe(fits).back(), '}');
}

TEST(TextFormat, DoesNotCutText) {
  const std::string text(200'000, 'x');
  EXPECT_EQ(formatText("%@", text).size(), text.size());
}

TEST(TextFormat, LeavesOutWhatIsNestedVeryDeep) {
  for (const bool inArrays : {false, true}) {
    json::value value = inArrays ? json::value(json::array()) : json::value(json::object());
    for (int level = 1; level < 5'000; ++level) {
      json::array array;
      json::object object;
      if (inArrays) {
        array.push_back(std::move(value));
      } else {
        object["k"] = std::move(value);
      }
      value = inArrays ? json::value(std::move(array)) : json::value(std::move(object));
      if (level == 63) {
        EXPECT_EQ(describe(value).find("..."), std::string::npos);
      }
    }
    const std::string text = formatText("%@", value);
    EXPECT_NE(text.find(inArrays ? "    (...)\n" : "    k = {...};\n"), std::string::npos);
    EXPECT_EQ(std::count(text.begin(), text.end(), inArrays ? '(' : '{'), 65);
  }
}

}  // namespace
}  // namespace orv::text_format_test
