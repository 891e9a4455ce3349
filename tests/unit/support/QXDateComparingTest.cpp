#include <orvnetwork/support/QXDate.h>

#include <tests/support/CivilTime.h>
#include <tests/support/DateTestPlatform.h>

#include <gtest/gtest.h>

namespace orv::qx_date_comparing_test {
namespace {

using orv::test::DateTestPlatform;
using orv::test::local;
using orv::test::utc;

/// The user's clock shows this local time.
DateTestPlatform& at(const char* localTime, const char* zone = "Asia/Shanghai",
                     const char* locale = "en_US") {
  auto& platform = DateTestPlatform::install(locale, zone);
  platform.setNow(local(localTime).since1970());
  return platform;
}

QXDate day(const char* date) {
  return local(std::string(date) + " 12:00:00");
}

TEST(QXDateComparing, IgnoresTheTimeOfDay) {
  at("2024-01-31 08:45:02");
  EXPECT_TRUE(local("2024-01-31 00:00:00").isEqualToDateIgnoringTime(local("2024-01-31 23:59:59")));
  EXPECT_FALSE(local("2024-01-31 23:59:59").isEqualToDateIgnoringTime(local("2024-02-01 00:00:00")));
  EXPECT_FALSE(day("2024-01-31").isEqualToDateIgnoringTime(day("2023-01-31")));
  EXPECT_FALSE(day("2024-01-31").isEqualToDateIgnoringTime(day("2024-03-31")));
}

TEST(QXDateComparing, CountsDaysInTheUsersZone) {
  auto& platform = at("2024-01-31 08:45:02");
  const QXDate evening = utc(2024, 1, 30, 20);
  const QXDate morning = utc(2024, 1, 31, 2);
  EXPECT_TRUE(evening.isEqualToDateIgnoringTime(morning));
  platform.setZone("UTC");
  EXPECT_FALSE(evening.isEqualToDateIgnoringTime(morning));
}

TEST(QXDateComparing, KnowsTodayTomorrowAndYesterday) {
  at("2024-02-29 23:59:59");
  EXPECT_TRUE(local("2024-02-29 00:00:00").isToday());
  EXPECT_FALSE(local("2024-03-01 00:00:00").isToday());
  EXPECT_TRUE(local("2024-03-01 00:00:00").isTomorrow());
  EXPECT_TRUE(local("2024-03-01 23:59:59").isTomorrow());
  EXPECT_FALSE(local("2024-03-02 00:00:00").isTomorrow());
  EXPECT_TRUE(local("2024-02-28 00:00:00").isYesterday());
  EXPECT_FALSE(local("2024-02-27 23:59:59").isYesterday());
  EXPECT_FALSE(local("2024-02-29 00:00:00").isYesterday());
}

TEST(QXDateComparing, TomorrowIsTheCalendarsNextDayAcrossAChangeOfTheClocks) {
  // 24 hours before 00:30 on this day is 23:30 two days earlier.
  at("2024-03-11 00:30:00", "America/New_York");
  EXPECT_TRUE(local("2024-03-10 12:00:00").isYesterday());
  EXPECT_FALSE(local("2024-03-09 23:30:00").isYesterday());
}

TEST(QXDateComparing, FollowsTheClock) {
  auto& platform = at("2024-01-31 08:45:02");
  const QXDate date = day("2024-01-31");
  EXPECT_TRUE(date.isToday());
  platform.setNow(day("2024-02-01").since1970());
  EXPECT_TRUE(date.isYesterday());
  platform.setNow(day("2024-01-30").since1970());
  EXPECT_TRUE(date.isTomorrow());
}

TEST(QXDateComparing, SameWeekIsTheSameNumberInTheMonthLessThanAWeekApart) {
  at("2024-03-06 12:00:00");
  // Sunday to Saturday of one week.
  EXPECT_TRUE(day("2024-03-03").isSameWeekAsDate(day("2024-03-09")));
  EXPECT_TRUE(day("2024-03-09").isSameWeekAsDate(day("2024-03-03")));
  // Six days apart on both sides of where a week begins.
  EXPECT_FALSE(day("2024-03-04").isSameWeekAsDate(day("2024-03-10")));
  // The first week of March and that of April.
  EXPECT_FALSE(day("2024-03-01").isSameWeekAsDate(day("2024-04-01")));
  // One week, but the end of a month lies inside.
  EXPECT_FALSE(day("2024-02-29").isSameWeekAsDate(day("2024-03-01")));
}

TEST(QXDateComparing, AWholeWeekApartIsAnotherWeek) {
  auto& platform = at("2024-03-06 12:00:00");
  const QXDate date = day("2024-03-06");
  EXPECT_TRUE(date.isSameWeekAsDate(date));
  EXPECT_FALSE(date.isSameWeekAsDate(QXDate(date.since1970() + Seconds(604'800))));
  // Up to the last second of the week.
  platform.setLocale("en_GB");
  const QXDate monday = local("2024-03-04 00:00:00");
  EXPECT_TRUE(monday.isSameWeekAsDate(QXDate(monday.since1970() + Seconds(604'799))));
  EXPECT_FALSE(monday.isSameWeekAsDate(QXDate(monday.since1970() + Seconds(604'800))));
  EXPECT_FALSE(monday.isSameWeekAsDate(QXDate(monday.since1970() - Seconds(1))));
}

TEST(QXDateComparing, TheWeekIsTheLocales) {
  auto& platform = at("2024-03-06 12:00:00");
  const QXDate sunday = day("2024-03-03");
  const QXDate monday = day("2024-03-04");
  EXPECT_TRUE(sunday.isSameWeekAsDate(monday));
  platform.setLocale("zh_CN");
  EXPECT_FALSE(sunday.isSameWeekAsDate(monday));
  platform.setLocale("en_GB");
  EXPECT_FALSE(sunday.isSameWeekAsDate(monday));
  // Week 0 of March.
  EXPECT_TRUE(day("2024-03-01").isSameWeekAsDate(sunday));
}

TEST(QXDateComparing, KnowsThisNextAndLastWeek) {
  at("2024-03-13 12:00:00");  // a Wednesday
  EXPECT_TRUE(day("2024-03-10").isThisWeek());
  EXPECT_TRUE(day("2024-03-16").isThisWeek());
  EXPECT_FALSE(day("2024-03-17").isThisWeek());
  EXPECT_TRUE(day("2024-03-17").isNextWeek());
  EXPECT_TRUE(day("2024-03-23").isNextWeek());
  EXPECT_FALSE(day("2024-03-24").isNextWeek());
  EXPECT_TRUE(day("2024-03-03").isLastWeek());
  EXPECT_TRUE(day("2024-03-09").isLastWeek());
  EXPECT_FALSE(day("2024-03-02").isLastWeek());
  EXPECT_FALSE(day("2024-03-13").isNextWeek());
}

TEST(QXDateComparing, ComparesMonthsWithTheirYears) {
  at("2024-01-31 08:45:02");
  EXPECT_TRUE(day("2024-01-01").isSameMonthAsDate(day("2024-01-31")));
  EXPECT_FALSE(day("2024-01-31").isSameMonthAsDate(day("2024-02-01")));
  EXPECT_FALSE(day("2024-01-31").isSameMonthAsDate(day("2023-01-31")));
}

TEST(QXDateComparing, KnowsThisNextAndLastMonth) {
  at("2024-01-31 08:45:02");  // a month later is 29 February
  EXPECT_TRUE(day("2024-01-01").isThisMonth());
  EXPECT_TRUE(day("2024-02-01").isNextMonth());
  EXPECT_TRUE(local("2024-02-29 23:59:59").isNextMonth());
  EXPECT_FALSE(day("2024-03-01").isNextMonth());
  EXPECT_TRUE(local("2023-12-31 23:59:59").isLastMonth());
  EXPECT_FALSE(day("2023-01-15").isLastMonth());
  EXPECT_FALSE(day("2024-12-15").isLastMonth());
}

TEST(QXDateComparing, KnowsThisNextAndLastYear) {
  at("2024-02-29 08:45:02");
  EXPECT_TRUE(day("2024-12-31").isSameYearAsDate(day("2024-01-01")));
  EXPECT_FALSE(day("2024-12-31").isSameYearAsDate(day("2025-01-01")));
  EXPECT_TRUE(day("2024-01-01").isThisYear());
  EXPECT_FALSE(day("2025-01-01").isThisYear());
  EXPECT_TRUE(local("2023-12-31 23:59:59").isLastYear());
  EXPECT_TRUE(day("2023-01-01").isLastYear());
  EXPECT_FALSE(local("2022-12-31 23:59:59").isLastYear());
  EXPECT_TRUE(local("2025-01-01 00:00:00").isNextYear());
  EXPECT_TRUE(day("2025-12-31").isNextYear());
  EXPECT_FALSE(day("2026-01-01").isNextYear());
  EXPECT_FALSE(day("2024-06-01").isNextYear());
}

TEST(QXDateComparing, ComparesMoments) {
  const QXDate date = utc(2024, 1, 31);
  const QXDate later = utc(2024, 1, 31, 0, 0, 0.001);
  EXPECT_TRUE(date.isEarlierThanDate(later));
  EXPECT_FALSE(date.isLaterThanDate(later));
  EXPECT_TRUE(later.isLaterThanDate(date));
  EXPECT_FALSE(later.isEarlierThanDate(date));
  EXPECT_FALSE(date.isEarlierThanDate(date));
  EXPECT_FALSE(date.isLaterThanDate(date));
  EXPECT_TRUE(utc(1969, 12, 31).isEarlierThanDate(utc(1970, 1, 1)));
}

TEST(QXDateComparing, KnowsFutureAndPast) {
  auto& platform = DateTestPlatform::install();
  platform.setNow(Seconds(1000));
  EXPECT_TRUE(QXDate(Seconds(1000.5)).isInFuture());
  EXPECT_FALSE(QXDate(Seconds(1000.5)).isInPast());
  EXPECT_TRUE(QXDate(Seconds(999.5)).isInPast());
  EXPECT_FALSE(QXDate(Seconds(1000)).isInFuture());
  EXPECT_FALSE(QXDate(Seconds(1000)).isInPast());
}

TEST(QXDateComparing, SaturdayAndSundayAreTheWeekendWhateverTheLocaleSays) {
  auto& platform = at("2024-01-31 08:45:02");
  for (const char* locale : {"en_US", "ar_EG", "fa_IR", "he_IL", "zh_CN"}) {  // Friday is free in some
    platform.setLocale("en_US");
    const QXDate dates[] = {day("2024-03-03"), day("2024-03-04"), day("2024-03-05"), day("2024-03-06"),
                            day("2024-03-07"), day("2024-03-08"), day("2024-03-09")};
    platform.setLocale(locale);
    for (const QXDate& date : dates) {
      const bool expected = date == dates[0] || date == dates[6];
      EXPECT_EQ(date.isTypicallyWeekend(), expected) << locale;
      EXPECT_EQ(date.isTypicallyWorkday(), !expected) << locale;
    }
  }
}

}  // namespace
}  // namespace orv::qx_date_comparing_test
