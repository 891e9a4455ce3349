#include <orvnetwork/data/LooseRead.h>

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdlib>
#include <limits>

namespace orv::loose_read_test {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

struct TextRow {
  std::string_view text;
  std::int32_t int32;
  std::int64_t int64;
  double real;
  bool flag;
};

constexpr std::string_view kTwentyFourNines = "999999999999999999999999";
constexpr std::string_view kMinusTwentyFourNines = "-999999999999999999999999";

const TextRow kTextRows[] = {
    {"12abc", 12, 12, 12, true},
    {"abc", 0, 0, 0, false},
    {"", 0, 0, 0, false},
    {"1.5", 1, 1, 1.5, true},
    {".5", 0, 0, 0.5, false},
    {"1e3", 1, 1, 1000, true},
    {" 7 ", 7, 7, 7, true},
    {"\t\n7", 7, 7, 7, true},
    {"+5", 5, 5, 5, true},
    {"-5", -5, -5, -5, true},
    {"--5", 0, 0, 0, false},
    {"++5", 0, 0, 0, false},
    {"- 5", 0, 0, 0, false},
    {"0x10", 0, 0, 0, false},
    {"99999999999", INT32_MAX, 99999999999, 99999999999.0, true},
    {"-99999999999", INT32_MIN, -99999999999, -99999999999.0, true},
    {"2147483647", INT32_MAX, 2147483647, 2147483647.0, true},
    {"2147483648", INT32_MAX, 2147483648, 2147483648.0, true},
    {"-2147483648", INT32_MIN, -2147483648, -2147483648.0, true},
    {"-2147483649", INT32_MIN, -2147483649, -2147483649.0, true},
    {"9223372036854775807", INT32_MAX, INT64_MAX, 9223372036854775807.0, true},
    {"9223372036854775808", INT32_MAX, INT64_MAX, 9223372036854775808.0, true},
    {"-9223372036854775808", INT32_MIN, INT64_MIN, -9223372036854775808.0, true},
    {kTwentyFourNines, INT32_MAX, INT64_MAX, 1e24, true},
    {kMinusTwentyFourNines, INT32_MIN, INT64_MIN, -1e24, true},
    {"YES", 0, 0, 0, true},
    {"yes", 0, 0, 0, true},
    {"Y", 0, 0, 0, true},
    {"true", 0, 0, 0, true},
    {"TRUE", 0, 0, 0, true},
    {"t", 0, 0, 0, true},
    {"Tea", 0, 0, 0, true},
    {" yes", 0, 0, 0, true},
    {"NO", 0, 0, 0, false},
    {"false", 0, 0, 0, false},
    {"f", 0, 0, 0, false},
    {"n", 0, 0, 0, false},
    {"on", 0, 0, 0, false},
    {"0", 0, 0, 0, false},
    {"-0", 0, 0, 0, false},
    {"000", 0, 0, 0, false},
    {"01", 1, 1, 1, true},
    {"+000009", 9, 9, 9, true},
    {" 2", 2, 2, 2, true},
    {"+t", 0, 0, 0, false},
    {"0t", 0, 0, 0, false},
    {"nan", 0, 0, 0, false},
    {"inf", 0, 0, 0, false},
    {"-inf", 0, 0, 0, false},
    {"1,234", 1, 1, 1, true},
    {"1e400", 1, 1, kInfinity, true},
    {"-1e400", -1, -1, -kInfinity, true},
    {"1e-400", 1, 1, 0, true},
    {"2e3.12", 2, 2, 2000, true},
    {"1.2.3.4", 1, 1, 1.2, true},
    {"12.e4", 12, 12, 120000, true},
    {"5.", 5, 5, 5, true},
    {".", 0, 0, 0, false},
    {"-.5", 0, 0, -0.5, false},
    {"1e", 1, 1, 1, true},
    {"1e+", 1, 1, 1, true},
    {"1e-2x", 1, 1, 0.01, true},
    {"e5", 0, 0, 0, false},
    {"  ", 0, 0, 0, false},
};

TEST(LooseRead, ReadsText) {
  for (const TextRow& row : kTextRows) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(int32FromText(row.text), row.int32);
    EXPECT_EQ(int64FromText(row.text), row.int64);
    EXPECT_EQ(doubleFromText(row.text), row.real);
    EXPECT_EQ(boolFromText(row.text), row.flag);
    const json::value value(json::string_view(row.text.data(), row.text.size()));
    EXPECT_EQ(looseInt32(&value), row.int32);
    EXPECT_EQ(looseInt64(&value), row.int64);
    EXPECT_EQ(looseDouble(&value), row.real);
    EXPECT_EQ(looseBool(&value), row.flag);
    EXPECT_EQ(looseString(&value), std::string(row.text));
  }
}

TEST(LooseRead, ReadsNumbersAndBooleans) {
  struct Row {
    json::value value;
    std::int32_t int32;
    std::int64_t int64;
    double real;
    bool flag;
  };
  const Row rows[] = {
      {0, 0, 0, 0, false},
      {7, 7, 7, 7, true},
      {-1, -1, -1, -1, true},
      {4294967296, 0, 4294967296, 4294967296.0, true},
      {3000000000, -1294967296, 3000000000, 3000000000.0, true},
      {3e9, -1294967296, 3000000000, 3e9, true},
      {INT64_MIN, 0, INT64_MIN, -9223372036854775808.0, true},
      {UINT64_MAX, -1, -1, 18446744073709551615.0, true},
      {1.9, 1, 1, 1.9, true},
      {-1.9, -1, -1, -1.9, true},
      {0.5, 0, 0, 0.5, true},
      {-0.0, 0, 0, 0, false},
      {1e300, -1, INT64_MAX, 1e300, true},
      {-1e300, 0, INT64_MIN, -1e300, true},
      {true, 1, 1, 1, true},
      {false, 0, 0, 0, false},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(::testing::Message() << row.value);
    EXPECT_EQ(looseInt32(&row.value), row.int32);
    EXPECT_EQ(looseInt64(&row.value), row.int64);
    EXPECT_EQ(looseDouble(&row.value), row.real);
    EXPECT_EQ(looseBool(&row.value), row.flag);
    EXPECT_EQ(looseString(&row.value), std::nullopt);
    EXPECT_EQ(looseObject(&row.value), nullptr);
  }
}

TEST(LooseRead, ReadsAbsenceNullAndContainersAsNothing) {
  const json::value null = nullptr;
  const json::value array = {1, 2};
  const json::value object = {{"a", 1}};
  for (const json::value* value : {static_cast<const json::value*>(nullptr), &null, &array, &object}) {
    EXPECT_EQ(looseInt32(value), 0);
    EXPECT_EQ(looseInt64(value), 0);
    EXPECT_EQ(looseDouble(value), 0);
    EXPECT_FALSE(looseBool(value));
    EXPECT_EQ(looseString(value), std::nullopt);
    EXPECT_EQ(looseStringView(value), std::nullopt);
  }
  EXPECT_EQ(looseObject(&object), &object.get_object());
  EXPECT_EQ(looseArray(&array), &array.get_array());
  EXPECT_EQ(looseObject(&array), nullptr);
  EXPECT_EQ(looseArray(&object), nullptr);
  EXPECT_EQ(looseObject(nullptr), nullptr);
  EXPECT_EQ(looseArray(nullptr), nullptr);
}

TEST(LooseRead, FindsMembersAndMissesQuietly) {
  const json::object object = {{"v", {{"ret", 0}}}, {"n", nullptr}};
  EXPECT_EQ(member(looseObject(member(object, "v")), "ret"), &object.at("v").at("ret"));
  EXPECT_TRUE(member(object, "n")->is_null());
  EXPECT_EQ(member(object, "absent"), nullptr);
  EXPECT_EQ(member(looseObject(member(object, "n")), "x"), nullptr);
}

TEST(LooseRead, TextKeepsZeroBytes) {
  const json::value value(json::string_view("a\0b", 3));
  EXPECT_EQ(looseString(&value), std::string("a\0b", 3));
}

TEST(LooseRead, TruncatesRealsTowardZeroWithinSixtyFourBits) {
  EXPECT_EQ(truncateToInt64(1.999), 1);
  EXPECT_EQ(truncateToInt64(-1.999), -1);
  EXPECT_EQ(truncateToInt64(9007199254740993.0), 9007199254740992);
  EXPECT_EQ(truncateToInt64(9223372036854774784.0), 9223372036854774784);
  EXPECT_EQ(truncateToInt64(9223372036854775808.0), INT64_MAX);
  EXPECT_EQ(truncateToInt64(-9223372036854775808.0), INT64_MIN);
  EXPECT_EQ(truncateToInt64(-9223372036854777856.0), INT64_MIN);
  EXPECT_EQ(truncateToInt64(kInfinity), INT64_MAX);
  EXPECT_EQ(truncateToInt64(-kInfinity), INT64_MIN);
  EXPECT_EQ(truncateToInt64(std::nan("")), 0);
}

TEST(LooseRead, WritesTheTextOfNumbers) {
  const std::pair<json::value, const char*> rows[] = {
      {1.0, "1"},
      {0.0, "0"},
      {-0.0, "-0"},
      {9.9, "9.9"},
      {0.1, "0.1"},
      {0.57, "0.57"},
      {19.99, "19.99"},
      {1706661902.345, "1706661902.345"},
      {68.32, "68.31999999999999"},
      {99.99, "99.98999999999999"},
      {98.4, "98.40000000000001"},
      {1e15, "1000000000000000"},
      {1e16, "1e+16"},
      {1e21, "1e+21"},
      {42, "42"},
      {INT64_MIN, "-9223372036854775808"},
      {UINT64_MAX, "18446744073709551615"},
      {true, "1"},
      {false, "0"},
  };
  for (const auto& [value, text] : rows) {
    EXPECT_EQ(textOfNumber(value), text);
  }
  EXPECT_EQ(textOfNumber(0.1f), "0.1");
  EXPECT_EQ(textOfNumber(9.9f), "9.9");
  EXPECT_EQ(textOfNumber(16777216.0f), "1.677722e+07");
  EXPECT_EQ(textOfNumber(1e9f), "1e+09");
  EXPECT_EQ(textOfNumber(1e-5), "1e-05");
  for (const json::value& value :
       {json::value(nullptr), json::value("1"), json::value{1}, json::value{{"a", 1}}}) {
    EXPECT_EQ(textOfNumber(value), std::nullopt);
  }
}

TEST(LooseRead, DoesNotDependOnTheLocale) {
  // A locale with a decimal comma, made in the test's own home.
  const std::string home = std::getenv("HOME");
  ASSERT_EQ(std::system(("localedef --no-archive -i de_DE -f UTF-8 '" + home + "/de_DE.UTF-8'").c_str()), 0)
      << "localedef and its sources come with the package locales";
  ::setenv("LOCPATH", home.c_str(), 1);
  ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
  ASSERT_STREQ(std::localeconv()->decimal_point, ",");
  EXPECT_EQ(doubleFromText("1.5"), 1.5);
  EXPECT_EQ(doubleFromText("1,5"), 1);
  EXPECT_EQ(textOfNumber(1.5), "1.5");
}

}  // namespace
}  // namespace orv::loose_read_test
