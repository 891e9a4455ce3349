#include <orvnetwork/platform/Console.h>
#include <orvnetwork/support/QXCommonTools.h>

#include <tests/support/CivilTime.h>
#include <tests/support/DateTestPlatform.h>

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

namespace orv::qx_common_tools_time_test {
namespace {

using orv::test::DateTestPlatform;

std::int64_t utc(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
  return static_cast<std::int64_t>(test::utc(year, month, day, hour, minute, second).since1970().count());
}

TEST(QXCommonToolsTime, WritesATimeInTheUsersZone) {
  auto& platform = DateTestPlatform::install("en_US", "Asia/Shanghai");
  EXPECT_EQ(QXCommonTools::getTimeString(utc(2024, 1, 31, 0, 45, 2)), "2024-01-31 08:45:02");
  EXPECT_EQ(QXCommonTools::getTimeString(-1), "1970-01-01 07:59:59");
  platform.setZone("America/New_York");
  EXPECT_EQ(QXCommonTools::getTimeString(utc(2024, 1, 31, 0, 45, 2)), "2024-01-30 19:45:02");
  platform.setLocale("C");
  EXPECT_EQ(QXCommonTools::getTimeString(100 * 86'400), "1970-04-10 19:00:00");
}

TEST(QXCommonToolsTime, WritesTheYearOfTheWeek) {
  struct Row {
    std::int64_t seconds;
    const char *us, *china, *britain;
  };
  auto& platform = DateTestPlatform::install();
  for (const Row& row :
       {Row{utc(2023, 12, 31), "2024-12-31 00:00:00", "2023-12-31 00:00:00", "2023-12-31 00:00:00"},
        Row{utc(2024, 12, 29), "2025-12-29 00:00:00", "2024-12-29 00:00:00", "2024-12-29 00:00:00"},
        Row{utc(2024, 12, 31), "2025-12-31 00:00:00", "2025-12-31 00:00:00", "2025-12-31 00:00:00"},
        Row{utc(2021, 1, 1), "2021-01-01 00:00:00", "2021-01-01 00:00:00", "2020-01-01 00:00:00"}}) {
    platform.setLocale("en_US");
    EXPECT_EQ(QXCommonTools::getTimeString(row.seconds), row.us);
    platform.setLocale("zh_CN");
    EXPECT_EQ(QXCommonTools::getTimeString(row.seconds), row.china);
    platform.setLocale("en_GB");
    EXPECT_EQ(QXCommonTools::getTimeString(row.seconds), row.britain);
  }
}

TEST(QXCommonToolsTime, TimesAtTheEndOfTheNumbersDoNoHarm) {
  DateTestPlatform::install();
  for (const auto seconds :
       {std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max()}) {
    EXPECT_NE(QXCommonTools::getTimeString(seconds), "");
    EXPECT_NE(QXCommonTools::getMessageTime(seconds), "");
    EXPECT_NE(QXCommonTools::getMMSSFromSS(seconds), "");
  }
}

TEST(QXCommonToolsTime, WritesASpanAsHoursMinutesAndSeconds) {
  EXPECT_EQ(QXCommonTools::getMMSSFromSS(0), "00:00:00");
  EXPECT_EQ(QXCommonTools::getMMSSFromSS(59), "00:00:59");
  EXPECT_EQ(QXCommonTools::getMMSSFromSS(60), "00:01:00");
  EXPECT_EQ(QXCommonTools::getMMSSFromSS(3600), "01:00:00");
  EXPECT_EQ(QXCommonTools::getMMSSFromSS(3723), "01:02:03");
  EXPECT_EQ(QXCommonTools::getMMSSFromSS(360'000), "100:00:00");
  EXPECT_EQ(QXCommonTools::getMMSSFromSS(-61), "00:-1:-1");
  EXPECT_EQ(QXCommonTools::getMMSSFromSS(-3600), "-1:00:00");
  EXPECT_EQ(QXCommonTools::getMMSSFromSS(-43'199), "-11:-59:-59");
}

TEST(QXCommonToolsTime, TellsThePlatformsTime) {
  auto& platform = DateTestPlatform::install();
  platform.setNow(Seconds(1'706'690'702.345));
  EXPECT_EQ(QXCommonTools::getTimeNow(), 1'706'690'702);
  EXPECT_EQ(QXCommonTools::getHSTimeNow(), 1'706'690'702'345);
  platform.setNow(Seconds(1'706'690'702.9999));
  EXPECT_EQ(QXCommonTools::getTimeNow(), 1'706'690'702);
  EXPECT_EQ(QXCommonTools::getHSTimeNow(), 1'706'690'702'999);
}

TEST(QXCommonToolsTime, BothTimesNowAgreeOnTheSecond) {
  auto& platform = DateTestPlatform::install();
  for (int i = 0; i < 5000; ++i) {
    platform.setNow(Seconds(1'706'690'702 + i * 0.997));
    ASSERT_EQ(QXCommonTools::getHSTimeNow() / 1000, QXCommonTools::getTimeNow());
  }
}

TEST(QXCommonToolsTime, ComparesTextsByTheValueOfTheirNumbers) {
  EXPECT_TRUE(QXCommonTools::isString_equalToString("same", "same"));
  EXPECT_TRUE(QXCommonTools::isString_equalToString("", ""));
  EXPECT_TRUE(QXCommonTools::isString_equalToString("a1", "a01"));
  EXPECT_TRUE(QXCommonTools::isString_equalToString("1.0", "1.00"));
  EXPECT_TRUE(QXCommonTools::isString_equalToString("007", "7"));
  EXPECT_FALSE(QXCommonTools::isString_equalToString("A", "a"));
  EXPECT_FALSE(QXCommonTools::isString_equalToString("1.10", "1.9"));
  EXPECT_FALSE(QXCommonTools::isString_equalToString("1", "1a"));
  EXPECT_FALSE(QXCommonTools::isString_equalToString("1,000", "1000"));
  EXPECT_FALSE(QXCommonTools::isString_equalToString("", "0"));
}

class MessageTime : public ::testing::Test {
 protected:
  void setNow(std::int64_t seconds) { platform_.setNow(Seconds(static_cast<double>(seconds))); }
  DateTestPlatform& platform_ = DateTestPlatform::install("zh_CN", "Asia/Shanghai");
  const std::int64_t now_ = utc(2024, 1, 31, 0, 5);  // 08:05 local

  void SetUp() override { setNow(now_); }
};

TEST_F(MessageTime, OfTodayIsTheTimeAlone) {
  EXPECT_EQ(QXCommonTools::getMessageTime(now_), "08:05");
  EXPECT_EQ(QXCommonTools::getMessageTime(now_ - 8 * 3600), "00:05");
  EXPECT_EQ(QXCommonTools::getMessageTime(now_ + 10 * 3600), "18:05");
}

TEST_F(MessageTime, OfYesterdaySaysSo) {
  EXPECT_EQ(QXCommonTools::getMessageTime(now_ - 23 * 3600), "昨天 09:05");
  EXPECT_EQ(QXCommonTools::getMessageTime(utc(2024, 1, 29, 16)), "昨天 00:00");
  EXPECT_EQ(QXCommonTools::getMessageTime(utc(2024, 1, 30, 15, 59, 59)), "昨天 23:59");
}

TEST_F(MessageTime, OfEveryOtherDayHasItsDate) {
  setNow(utc(2024, 1, 30, 16, 30));  // 00:30 on the 31st
  EXPECT_EQ(QXCommonTools::getMessageTime(utc(2024, 1, 30, 16, 30) - 25 * 3600), "2024-01-29 23:30");
  setNow(now_);
  EXPECT_EQ(QXCommonTools::getMessageTime(utc(2024, 1, 29, 15, 59)), "2024-01-29 23:59");
  EXPECT_EQ(QXCommonTools::getMessageTime(utc(2023, 1, 31, 0, 5)), "2023-01-31 08:05");
  // A later day is no exception, not even tomorrow.
  EXPECT_EQ(QXCommonTools::getMessageTime(utc(2024, 1, 31, 16)), "2024-02-01 00:00");
}

TEST_F(MessageTime, TakesThePlainYearAtNewYear) {
  platform_.setLocale("en_US");
  setNow(utc(2024, 12, 31));
  EXPECT_EQ(QXCommonTools::getMessageTime(utc(2024, 12, 29)), "2024-12-29 08:00");
}

TEST_F(MessageTime, YesterdayIsTheDateOf24HoursAgo) {
  // The clocks went forward in the night to the 10th: 24 hours before 00:30 on the 11th it was the 9th.
  platform_.setUser("en_US", "America/New_York");
  setNow(utc(2024, 3, 11, 4, 30));
  EXPECT_EQ(QXCommonTools::getMessageTime(utc(2024, 3, 10, 16)), "2024-03-10 12:00");
  EXPECT_EQ(QXCommonTools::getMessageTime(utc(2024, 3, 10, 4, 30)), "昨天 23:30");
}

TEST_F(MessageTime, FollowsTheUsersZone) {
  platform_.setZone("UTC");
  EXPECT_EQ(QXCommonTools::getMessageTime(now_ - 3600), "昨天 23:05");
}

class ConsoleLines {
 public:
  ConsoleLines() {
    Console::setSink([this](std::string_view line) { lines.emplace_back(line); });
  }
  ~ConsoleLines() { Console::setSink({}); }
  std::vector<std::string> lines;
};

TEST(QXCommonToolsJson, WritesDictionariesAndArraysIndented) {
  const ConsoleLines console;
  EXPECT_EQ(QXCommonTools::DataTOjsonString(json::object{{"key", 4}, {"路", "a/b"}}),
            "{\n  \"key\" : 4,\n  \"路\" : \"a\\/b\"\n}");
  EXPECT_EQ(QXCommonTools::DataTOjsonString(json::array{1, nullptr}), "[\n  1,\n  null\n]");
  EXPECT_TRUE(console.lines.empty());
}

TEST(QXCommonToolsJson, TellsTheConsoleWhatCannotBeWritten) {
  const Object unwritable[] = {json::object{{"x", std::numeric_limits<double>::quiet_NaN()}},
                               json::array{std::numeric_limits<double>::infinity()},
                               "text",
                               7,
                               nullptr,
                               json::object{{"bad", "\xff"}}};
  for (const Object& value : unwritable) {
    const ConsoleLines console;
    EXPECT_FALSE(QXCommonTools::DataTOjsonString(value));
    ASSERT_EQ(console.lines.size(), 1u);
    EXPECT_TRUE(console.lines[0].starts_with("Got an error: ")) << console.lines[0];
    EXPECT_GT(console.lines[0].size(), std::string_view("Got an error: ").size());
  }
}

}  // namespace
}  // namespace orv::qx_common_tools_time_test
