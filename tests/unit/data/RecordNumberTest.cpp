#include <orvnetwork/data/RecordNumber.h>

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <vector>

namespace orv::record_number_test {
namespace {

using namespace std::string_view_literals;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

json::value jsonText(std::string_view text) {
  return json::value(json::string_view(text.data(), text.size()));
}

RecordNumber numberOf(std::string_view text) {
  return RecordNumber(jsonText(text));
}

struct TextRow {
  std::string_view text;
  double real;
  std::int64_t whole;
  bool flag;
};

const TextRow kTextRows[] = {
    // Without a point: an integer at the front.
    {"12abc", 12, 12, true},
    {"abc", 0, 0, false},
    {"", 0, 0, false},
    {"1e3", 1, 1, true},
    {" 7 ", 7, 7, true},
    {"\t\n5", 5, 5, true},
    {"\v\f\r5", 5, 5, true},
    {"+5", 5, 5, true},
    {"-5", -5, -5, true},
    {"--5", 0, 0, false},
    {"+-5", 0, 0, false},
    {"- 5", 0, 0, false},
    {"0x10", 0, 0, false},
    {"010", 10, 10, true},
    {"1,234", 1, 1, true},
    {"nan", 0, 0, false},
    {"inf", 0, 0, false},
    {"infinity", 0, 0, false},
    {"-0", 0, 0, false},
    {"\uFF11\uFF12", 0, 0, false},
    {"9223372036854775807", 9223372036854775807.0, INT64_MAX, true},
    {"9223372036854775808", 9223372036854775807.0, INT64_MAX, true},
    {"18446744073709551615", 9223372036854775807.0, INT64_MAX, true},
    {"999999999999999999999999", 9223372036854775807.0, INT64_MAX, true},
    {"-9223372036854775808", -9223372036854775808.0, INT64_MIN, true},
    {"-9223372036854775809", -9223372036854775808.0, INT64_MIN, true},
    // With a point anywhere: a real at the front.
    {"1.5", 1.5, 1, true},
    {".5", 0.5, 0, true},
    {"-1.9", -1.9, -1, true},
    {"3.7", 3.7, 3, true},
    {"1.5e3", 1500, 1500, true},
    {"1.e3", 1000, 1000, true},
    {"1e3.", 1000, 1000, true},
    {"1.5e", 1.5, 1, true},
    {"0x1.8", 1.5, 1, true},
    {"-0x1.8", -1.5, -1, true},
    {"0x10.", 16, 16, true},
    {" \t+1.5xyz", 1.5, 1, true},
    {"1.2.3", 1.2, 1, true},
    {"12 apples.", 12, 12, true},
    {"apples.", 0, 0, false},
    {".", 0, 0, false},
    {"0.0", 0, 0, false},
    {"-0.", 0, 0, false},
    {"1.0e-400", 0, 0, false},
    {"1,5.", 1, 1, true},
    {"9007199254740993.", 9007199254740992.0, 9007199254740992, true},
    {"\uFF11.\uFF12", 0, 0, false},
    // What is not finite is no number.
    {"nan.", 0, 0, false},
    {"-nan.", 0, 0, false},
    {"nan(1.5)", 0, 0, false},
    {"inf.", 0, 0, false},
    {"-inf.", 0, 0, false},
    {"infinity.", 0, 0, false},
    {"1e400.", 0, 0, false},
    {"-1e400.", 0, 0, false},
    // Words, exactly as they are.
    {"TRUE", 1, 1, true},
    {"True", 1, 1, true},
    {"true", 1, 1, true},
    {"YES", 1, 1, true},
    {"Yes", 1, 1, true},
    {"yes", 1, 1, true},
    {"FALSE", 0, 0, false},
    {"False", 0, 0, false},
    {"false", 0, 0, false},
    {"NO", 0, 0, false},
    {"No", 0, 0, false},
    {"no", 0, 0, false},
    {"NIL", 0, 0, false},
    {"Nil", 0, 0, false},
    {"nil", 0, 0, false},
    {"NULL", 0, 0, false},
    {"Null", 0, 0, false},
    {"null", 0, 0, false},
    {"(NULL)", 0, 0, false},
    {"(Null)", 0, 0, false},
    {"(null)", 0, 0, false},
    {"<NULL>", 0, 0, false},
    {"<Null>", 0, 0, false},
    {"<null>", 0, 0, false},
    {"tRUE", 0, 0, false},
    {"y", 0, 0, false},
    {"Y", 0, 0, false},
    {"on", 0, 0, false},
    {"t", 0, 0, false},
    {"yES", 0, 0, false},
    {" true", 0, 0, false},
    {"true ", 0, 0, false},
    // A zero byte ends a number, and takes its meaning from a word.
    {"12\00034"sv, 12, 12, true},
    {"12\000.5"sv, 12, 12, true},
    {"1.5\0009"sv, 1.5, 1, true},
    {"\00012"sv, 0, 0, false},
    {"true\000"sv, 0, 0, false},
};

void expectRows() {
  for (const TextRow& row : kTextRows) {
    const RecordNumber number = numberOf(row.text);
    EXPECT_EQ(number.asDouble(), row.real) << row.text;
    EXPECT_EQ(number.asInt64(), row.whole) << row.text;
    EXPECT_EQ(number.asUint64(), static_cast<std::uint64_t>(row.whole)) << row.text;
    EXPECT_EQ(number.asInt32(), static_cast<std::int32_t>(row.whole)) << row.text;
    EXPECT_EQ(number.asFloat(), static_cast<float>(row.real)) << row.text;
    EXPECT_EQ(number.asBool(), row.flag) << row.text;
  }
}

TEST(RecordNumber, TextsStandForTheNumberAtTheirFrontOrForWhatTheyMean) {
  expectRows();
}

TEST(RecordNumber, TheLocaleOfTheProcessHasNoSay) {
  // A locale with a decimal comma, made in the test's own home.
  const std::string home = std::getenv("HOME");
  ASSERT_EQ(std::system(("localedef --no-archive -i de_DE -f UTF-8 '" + home + "/de_DE.UTF-8'").c_str()), 0)
      << "localedef and its sources come with the package locales";
  ::setenv("LOCPATH", home.c_str(), 1);
  ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
  ASSERT_STREQ(std::localeconv()->decimal_point, ",");
  ASSERT_EQ(std::strtod("1,5", nullptr), 1.5);
  expectRows();
}

TEST(RecordNumber, NullDictionariesAndArraysStandForNoneWhichIsZero) {
  for (const json::value& value : {json::value(nullptr), json::value(json::object{{"a", 1}}),
                                   json::value(json::array{1, 2}), jsonText("null")}) {
    const RecordNumber number(value);
    EXPECT_EQ(number.asInt64(), 0);
    EXPECT_EQ(number.asUint64(), 0u);
    EXPECT_EQ(number.asInt32(), 0);
    EXPECT_EQ(number.asDouble(), 0);
    EXPECT_EQ(number.asFloat(), 0);
    EXPECT_FALSE(number.asBool());
  }
}

TEST(RecordNumber, FlagsAreOneAndZero) {
  const RecordNumber yes(json::value(true));
  EXPECT_EQ(yes.asInt64(), 1);
  EXPECT_EQ(yes.asUint64(), 1u);
  EXPECT_EQ(yes.asInt32(), 1);
  EXPECT_EQ(yes.asDouble(), 1);
  EXPECT_EQ(yes.asFloat(), 1);
  EXPECT_TRUE(yes.asBool());
  const RecordNumber no(json::value(false));
  EXPECT_EQ(no.asInt64(), 0);
  EXPECT_EQ(no.asDouble(), 0);
  EXPECT_FALSE(no.asBool());
}

TEST(RecordNumber, Signed64FieldsLoseTheFractionAndHoldToTheRange) {
  const std::vector<std::pair<json::value, std::int64_t>> rows = {
      {3.7, 3},
      {-3.7, -3},
      {0.9, 0},
      {INT64_MAX, INT64_MAX},
      {INT64_MIN, INT64_MIN},
      {UINT64_MAX, -1},
      {9223372036854775808u, INT64_MIN},
      {0x1p63, INT64_MAX},
      {1e20, INT64_MAX},
      {-0x1p63, INT64_MIN},
      {-1e20, INT64_MIN},
      {kInfinity, INT64_MAX},
      {-kInfinity, INT64_MIN},
      {kNan, 0},
      {jsonText("9223372036854775808."), INT64_MAX},
      {jsonText("-1.0e20"), INT64_MIN},
  };
  for (const auto& [value, expected] : rows) EXPECT_EQ(RecordNumber(value).asInt64(), expected) << value;
}

TEST(RecordNumber, Unsigned64FieldsWrapWhatIsNegative) {
  const std::vector<std::pair<json::value, std::uint64_t>> rows = {
      {-1, UINT64_MAX},
      {INT64_MIN, 9223372036854775808u},
      {UINT64_MAX, UINT64_MAX},
      {3.7, 3},
      {-1.5, UINT64_MAX},
      {-0.5, 0},
      {0x1p63, 9223372036854775808u},
      {18446744073709549568.0, 18446744073709549568u},
      // What needs more than 64 bits is held to the signed range.
      {0x1p64, static_cast<std::uint64_t>(INT64_MAX)},
      {1e30, static_cast<std::uint64_t>(INT64_MAX)},
      {-1e30, 9223372036854775808u},
      {kNan, 0},
      // So are integer texts, of whatever length.
      {jsonText("18446744073709551615"), static_cast<std::uint64_t>(INT64_MAX)},
      {jsonText("-1"), UINT64_MAX},
      {jsonText("18446744073709549568."), 18446744073709549568u},
  };
  for (const auto& [value, expected] : rows) EXPECT_EQ(RecordNumber(value).asUint64(), expected) << value;
}

TEST(RecordNumber, Signed32FieldsTakeTheLow32Bits) {
  const std::vector<std::pair<json::value, std::int32_t>> rows = {
      {5000000000, 705032704},
      {4294967296, 0},
      {4294967295, -1},
      {2147483648, INT32_MIN},
      {-2147483649, INT32_MAX},
      {-1, -1},
      {UINT64_MAX, -1},
      {5e9, 705032704},
      {-3.7, -3},
      {1e20, -1},
      {jsonText("5000000000"), 705032704},
      {jsonText("5000000000.5"), 705032704},
  };
  for (const auto& [value, expected] : rows) EXPECT_EQ(RecordNumber(value).asInt32(), expected) << value;
}

TEST(RecordNumber, FloatFieldsRoundAndTakeZeroForWhatDoesNotFit) {
  constexpr float kLargest = std::numeric_limits<float>::max();
  const std::vector<std::pair<json::value, float>> rows = {
      {0.1, 0.1f},
      {9.9, 9.9f},
      {16777217, 16777216.0f},
      {UINT64_MAX, 18446744073709551616.0f},
      {static_cast<double>(kLargest), kLargest},
      {3.4028235e38, kLargest},  // the shortest text of the largest one
      {-3.4028235e38, -kLargest},
      {3.4028236e38, 0},
      {1e39, 0},
      {-1e39, 0},
      {1e-60, 0},
      {kInfinity, 0},
      {kNan, 0},
      {jsonText("1e39."), 0},
  };
  for (const auto& [value, expected] : rows) EXPECT_EQ(RecordNumber(value).asFloat(), expected) << value;
}

TEST(RecordNumber, DoubleFieldsTakeZeroForWhatIsNotFinite) {
  const std::vector<std::pair<json::value, double>> rows = {
      {0.1, 0.1},      {1e308, 1e308}, {INT64_MIN, -0x1p63}, {UINT64_MAX, 0x1p64}, {kInfinity, 0},
      {-kInfinity, 0}, {kNan, 0},
  };
  for (const auto& [value, expected] : rows) EXPECT_EQ(RecordNumber(value).asDouble(), expected) << value;
}

TEST(RecordNumber, FlagFieldsAreTrueForAnythingButZero) {
  const std::vector<std::pair<json::value, bool>> rows = {
      {0, false},
      {0.0, false},
      {-0.0, false},
      {1, true},
      {2, true},
      {-1, true},
      {256, true},
      {std::int64_t{1} << 32, true},
      {INT64_MIN, true},
      {UINT64_MAX, true},
      {0.5, true},
      {1e-300, true},
      {jsonText("0.5"), true},
      {jsonText("256"), true},
      {jsonText("0"), false},
  };
  for (const auto& [value, expected] : rows) EXPECT_EQ(RecordNumber(value).asBool(), expected) << value;
}

}  // namespace
}  // namespace orv::record_number_test
