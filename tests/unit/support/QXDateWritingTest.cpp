#include <orvnetwork/support/QXDate.h>

#include <tests/support/CivilTime.h>
#include <tests/support/DateTestPlatform.h>

#include <gtest/gtest.h>

#include <vector>

namespace orv::qx_date_writing_test {
namespace {

using orv::test::DateTestPlatform;
using orv::test::local;
using orv::test::localText;
using orv::test::utc;

const QXDate& moment() {
  static const QXDate date = utc(2024, 1, 31, 0, 45, 2.75);
  return date;
}

TEST(QXDateWriting, WritesAPatternInTheUsersLocaleAndZone) {
  auto& platform = DateTestPlatform::install("en_US", "Asia/Shanghai");
  EXPECT_EQ(moment().stringWithFormat("yyyy-MM-dd HH:mm:ss.SSS"), "2024-01-31 08:45:02.750");
  EXPECT_EQ(moment().stringWithFormat("yyMMdd"), "240131");
  EXPECT_EQ(moment().stringWithFormat("EEEE"), "Wednesday");
  platform.setUser("zh_CN", "America/New_York");
  EXPECT_EQ(moment().stringWithFormat("yyyy-MM-dd HH:mm:ss EEEE"), "2024-01-30 19:45:02 星期二");
  EXPECT_EQ(moment().stringWithFormat(""), "");
}

TEST(QXDateWriting, WritesTheYearOfTheWeekWhereAskedTo) {
  auto& platform = DateTestPlatform::install("en_US", "UTC");
  EXPECT_EQ(utc(2024, 12, 31).stringWithFormat("YYYY-MM-dd"), "2025-12-31");
  EXPECT_EQ(utc(2024, 12, 29).stringWithFormat("YYYY-MM-dd"), "2025-12-29");
  platform.setLocale("zh_CN");
  EXPECT_EQ(utc(2024, 12, 29).stringWithFormat("YYYY-MM-dd"), "2024-12-29");
  EXPECT_EQ(utc(2021, 1, 1).stringWithFormat("YYYY-MM-dd"), "2021-01-01");
  platform.setLocale("en_GB");
  EXPECT_EQ(utc(2021, 1, 1).stringWithFormat("YYYY-MM-dd"), "2020-01-01");
}

struct Styled {
  std::string name, text, expected;
};

std::vector<Styled> everyStyle(const QXDate& date) {
  const auto in = [&](DateStyle day, DateStyle time) {
    return DateFormat::withStyles(day, time).format(date.since1970());
  };
  using enum DateStyle;
  return {{"short", date.shortString(), in(Short, Short)},
          {"short time", date.shortTimeString(), in(None, Short)},
          {"short date", date.shortDateString(), in(Short, None)},
          {"medium", date.mediumString(), in(Medium, Medium)},
          {"medium time", date.mediumTimeString(), in(None, Medium)},
          {"medium date", date.mediumDateString(), in(Medium, None)},
          {"long", date.longString(), in(Long, Long)},
          {"long time", date.longTimeString(), in(None, Long)},
          {"long date", date.longDateString(), in(Long, None)}};
}

TEST(QXDateWriting, NamesTheStyles) {
  auto& platform = DateTestPlatform::install();
  for (const char* locale : {"en_US", "zh_CN", "de_DE", "ar_EG"}) {
    platform.setUser(locale, "Asia/Shanghai");
    for (const Styled& row : everyStyle(moment())) EXPECT_EQ(row.text, row.expected) << locale << row.name;
  }
}

TEST(QXDateWriting, WritesStylesInTheUsersWords) {
  auto& platform = DateTestPlatform::install("en_US", "Asia/Shanghai");
  EXPECT_EQ(moment().shortDateString(), "1/31/24");
  EXPECT_EQ(moment().mediumDateString(), "Jan 31, 2024");
  EXPECT_EQ(moment().longDateString(), "January 31, 2024");
  EXPECT_EQ(moment().longTimeString(), "8:45:02\u202fAM GMT+8");
  EXPECT_EQ(moment().stringWithDateStyle_timeStyle(DateStyle::Short, DateStyle::Medium),
            "1/31/24, 8:45:02\u202fAM");
  EXPECT_EQ(moment().stringWithDateStyle_timeStyle(DateStyle::None, DateStyle::None), "");
  platform.setLocale("zh_CN");
  EXPECT_EQ(moment().shortString(), "2024/1/31 08:45");
  EXPECT_EQ(moment().mediumString(), "2024年1月31日 08:45:02");
  EXPECT_EQ(moment().longString(), "2024年1月31日 GMT+8 08:45:02");
}

TEST(QXDateWriting, CutsADateDownToItsLocalMidnight) {
  auto& platform = DateTestPlatform::install("en_US", "Asia/Shanghai");
  EXPECT_EQ(moment().dateWithYMD(), utc(2024, 1, 30, 16));
  EXPECT_EQ(moment().dateWithYMD().dateWithYMD(), utc(2024, 1, 30, 16));
  platform.setZone("America/New_York");
  EXPECT_EQ(localText(moment().dateWithYMD()), "2024-01-30 00:00:00");
  EXPECT_EQ(utc(1912, 4, 15, 12).dateWithYMD(), utc(1912, 4, 15, 5));
  // The clocks skip midnight here.
  platform.setZone("America/Sao_Paulo");
  EXPECT_EQ(utc(2018, 11, 4, 15).dateWithYMD(), utc(2018, 11, 4, 3));
  EXPECT_EQ(localText(utc(2018, 11, 4, 15).dateWithYMD()), "2018-11-04 01:00:00");
}

TEST(QXDateWriting, CutsADateDownInEveryCalendar) {
  auto& platform = DateTestPlatform::install();
  for (const char* locale : {"en_US", "zh_CN", "ar_EG", "th_TH", "fa_IR", "zh_CN@calendar=chinese"}) {
    platform.setUser(locale, "Asia/Shanghai");
    EXPECT_EQ(moment().dateWithYMD(), utc(2024, 1, 30, 16)) << locale;
  }
}

TEST(QXDateWriting, CutsADateDownToWhatAPatternKeeps) {
  DateTestPlatform::install("en_US", "Asia/Shanghai");
  EXPECT_EQ(moment().dateWithFormatter("yyyy-MM-dd HH:mm:ss.SSS"), moment());
  EXPECT_EQ(moment().dateWithFormatter("yyyy-MM-dd HH:mm:ss"), utc(2024, 1, 31, 0, 45, 2));
  EXPECT_EQ(moment().dateWithFormatter("yyyy-MM-dd HH"), utc(2024, 1, 31, 0));
  EXPECT_EQ(moment().dateWithFormatter("yyyy-MM"), utc(2023, 12, 31, 16));
  EXPECT_EQ(moment().dateWithFormatter("yyyy"), utc(2023, 12, 31, 16));
  EXPECT_EQ(moment().dateWithFormatter("HH:mm"), utc(2000, 1, 1, 0, 45));
  EXPECT_FALSE(moment().dateWithFormatter(""));
  EXPECT_FALSE(moment().dateWithFormatter("n"));
}

TEST(QXDateWriting, TakesTheFirstOfTwoEqualLocalTimes) {
  DateTestPlatform::install("en_US", "America/New_York");
  const QXDate first = utc(2024, 11, 3, 5, 30);
  const QXDate second = utc(2024, 11, 3, 6, 30);
  EXPECT_EQ(localText(first), localText(second));
  EXPECT_EQ(second.dateWithFormatter("yyyy-MM-dd HH:mm:ss"), first);
  EXPECT_EQ(second.dateWithFormatter("yyyy-MM-dd HH:mm:ss zzz"), second);
}

}  // namespace
}  // namespace orv::qx_date_writing_test
