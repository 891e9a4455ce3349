#include <orvnetwork/dates/Calendar.h>
#include <orvnetwork/dates/icu/IcuPools.h>

#include <tests/support/DateTestPlatform.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace orv::calendar_test {
namespace {

using Kind = Calendar::Kind;

Calendar calendarOf(const std::string& locale, const std::string& zone = "UTC") {
  return {Kind::OfLocale, locale, zone};
}

Seconds utc(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
  using namespace std::chrono;
  return Seconds(sys_days(std::chrono::year(year) / month / day).time_since_epoch() + hours(hour) +
                 minutes(minute) + seconds(second));
}

CalendarFields civil(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
  return {.year = year, .month = month, .day = day, .hour = hour, .minute = minute, .second = second};
}

TEST(Calendar, TellsTheFieldsOfAMoment) {
  const CalendarFields fields = calendarOf("en_US", "Asia/Shanghai").fields(utc(2024, 1, 31, 0, 45, 2));
  EXPECT_EQ(fields.year, 2024);
  EXPECT_EQ(fields.month, 1);
  EXPECT_EQ(fields.day, 31);
  EXPECT_EQ(fields.hour, 8);
  EXPECT_EQ(fields.minute, 45);
  EXPECT_EQ(fields.second, 2);
  EXPECT_EQ(fields.weekday, 4);
  EXPECT_EQ(fields.weekdayOrdinal, 5);
  EXPECT_EQ(fields.weekOfMonth, 5);
  EXPECT_EQ(fields.era, 1);
}

TEST(Calendar, FloorsFractionsBefore1970) {
  const CalendarFields fields = calendarOf("en_US").fields(Seconds(-0.25));
  EXPECT_EQ(fields.year, 1969);
  EXPECT_EQ(fields.hour, 23);
  EXPECT_EQ(fields.second, 59);
}

TEST(Calendar, KnowsTheHabitsOfWeeks) {
  struct Row {
    const char* locale;
    int firstWeekday, minimalDays;
  };
  for (const Row& row :
       {Row{"en_US", 1, 1}, Row{"zh_CN", 2, 1}, Row{"zh", 2, 1}, Row{"en_CN", 2, 1}, Row{"en_GB", 2, 4},
        Row{"de_DE", 2, 4}, Row{"fr_FR", 2, 4}, Row{"ja_JP", 1, 1}, Row{"zh_TW", 1, 1}, Row{"zh_HK", 1, 1},
        Row{"en_US_POSIX", 1, 1}, Row{"zh_CN.UTF-8", 2, 1}, Row{"de_DE@euro", 2, 4}}) {
    EXPECT_EQ(calendarOf(row.locale).firstWeekday(), row.firstWeekday) << row.locale;
    EXPECT_EQ(calendarOf(row.locale).minimalDaysInFirstWeek(), row.minimalDays) << row.locale;
  }
}

TEST(Calendar, ReadsTheNamesOfNoLocaleAsEnglishOnes) {
  for (const char* name : {"C", "POSIX", "", "C.UTF-8"}) {
    EXPECT_EQ(calendarOf(name).firstWeekday(), 1) << name;
    EXPECT_EQ(calendarOf(name).minimalDaysInFirstWeek(), 1) << name;
  }
}

TEST(Calendar, CountsWeeksOfTheMonthByTheLocalesHabits) {
  struct Row {
    int month, day;
    int us, china, britain;
  };
  for (const Row& row : {Row{3, 1, 1, 1, 0}, Row{3, 3, 2, 1, 0}, Row{3, 4, 2, 2, 1}, Row{3, 31, 6, 5, 4},
                         Row{9, 1, 1, 1, 0}}) {
    const Seconds moment = utc(2024, row.month, row.day, 12);
    EXPECT_EQ(calendarOf("en_US").fields(moment).weekOfMonth, row.us) << row.month << "-" << row.day;
    EXPECT_EQ(calendarOf("zh_CN").fields(moment).weekOfMonth, row.china) << row.month << "-" << row.day;
    EXPECT_EQ(calendarOf("en_GB").fields(moment).weekOfMonth, row.britain) << row.month << "-" << row.day;
  }
}

TEST(Calendar, CountsByTheLocalesOwnCalendarUnlessToldOtherwise) {
  const Seconds moment = utc(2024, 1, 31);
  EXPECT_EQ(calendarOf("th_TH").fields(moment).year, 2567);
  EXPECT_EQ(Calendar(Kind::Gregorian, "th_TH", "UTC").fields(moment).year, 2024);
  EXPECT_EQ(calendarOf("en_US@calendar=buddhist").fields(moment).year, 2567);
  EXPECT_EQ(calendarOf("fa_IR").fields(moment).year, 1402);
}

TEST(Calendar, BuildsTheMomentOfFields) {
  EXPECT_EQ(calendarOf("en_US", "Asia/Shanghai").moment(civil(2024, 1, 31, 8, 45, 2)),
            utc(2024, 1, 31, 0, 45, 2));
  EXPECT_EQ(calendarOf("en_US").moment(civil(1883, 5, 4, 3, 2, 1)), utc(1883, 5, 4, 3, 2, 1));
  EXPECT_EQ(calendarOf("th_TH").moment(civil(2567, 1, 31)), utc(2024, 1, 31));
}

TEST(Calendar, LetsNumbersOutOfRangeRunOn) {
  EXPECT_EQ(calendarOf("en_US").moment(civil(2024, 3, 0)), utc(2024, 2, 29));
  EXPECT_EQ(calendarOf("en_US").moment(civil(2024, 13, 1)), utc(2025, 1, 1));
  EXPECT_EQ(calendarOf("en_US").moment(civil(2024, 1, 1, 0, 0, -1)), utc(2023, 12, 31, 23, 59, 59));
}

TEST(Calendar, BuildsNothingFromFieldsItCannotCount) {
  constexpr auto kHuge = std::numeric_limits<std::int64_t>::max();
  EXPECT_FALSE(calendarOf("en_US").moment({.year = kHuge, .month = 1, .day = 1}));
  EXPECT_FALSE(calendarOf("en_US").moment({.year = 2024, .month = -kHuge, .day = 1}));
  EXPECT_FALSE(calendarOf("en_US").moment({.year = 2024, .month = 1, .day = kHuge}));
  EXPECT_FALSE(calendarOf("en_US").moment({.year = 2024, .month = 1, .day = 1, .second = kHuge}));
}

TEST(Calendar, BuildsBackEveryMomentsFieldsWithTheirEra) {
  for (const char* locale : {"en_US", "th_TH", "fa_IR", "ja_JP@calendar=japanese", "zh_CN@calendar=chinese",
                             "he_IL@calendar=hebrew", "ar_SA@calendar=islamic-umalqura"}) {
    const Calendar calendar = calendarOf(locale, "Asia/Tokyo");
    for (double day = -400'000; day < 30'000; day += 1234.5) {
      const Seconds moment(day * 86'400);
      ASSERT_EQ(calendar.moment(calendar.fields(moment)), moment) << locale << " " << day;
    }
  }
}

TEST(Calendar, CountsTheDistanceLargestUnitsFirst) {
  const Calendar calendar = calendarOf("en_US");
  CalendarFields expected;
  expected.weekOfMonth = 2;
  expected.day = 5;
  expected.hour = 2;
  expected.minute = 30;
  expected.second = 5;
  EXPECT_EQ(calendar.difference(utc(2024, 3, 1, 10), utc(2024, 3, 20, 12, 30, 5)), expected);

  expected = {};
  expected.month = 1;
  expected.hour = 23;
  EXPECT_EQ(calendar.difference(utc(2024, 1, 31, 10), utc(2024, 3, 1, 9)), expected);

  expected = {};
  expected.year = 8;
  EXPECT_EQ(calendar.difference(utc(2016, 2, 29), utc(2024, 2, 29)), expected);
}

TEST(Calendar, CountsDistancesBackwardsAsNegatives) {
  const Calendar calendar = calendarOf("en_US");
  CalendarFields expected;
  expected.weekOfMonth = -2;
  expected.day = -5;
  expected.hour = -2;
  expected.minute = -30;
  expected.second = -5;
  EXPECT_EQ(calendar.difference(utc(2024, 3, 20, 12, 30, 5), utc(2024, 3, 1, 10)), expected);
}

TEST(Calendar, CountsADayByTheClockOnTheWall) {
  // Clocks went forward at 02:00 on 10 March 2024, so this day had 23 hours.
  const Calendar calendar = calendarOf("en_US", "America/New_York");
  const Seconds from = *calendar.moment(civil(2024, 3, 9, 10));
  EXPECT_EQ(calendar.daysBetween(from, *calendar.moment(civil(2024, 3, 10, 10))), 1);
  EXPECT_EQ(calendar.daysBetween(from, *calendar.moment(civil(2024, 3, 10, 9, 59))), 0);
  EXPECT_EQ(calendar.daysBetween(*calendar.moment(civil(2024, 3, 10, 10)), from), -1);
  EXPECT_EQ(calendar.daysBetween(utc(2024, 3, 1, 10), utc(2024, 3, 20, 12, 30, 5)), 19);
}

TEST(Calendar, StopsAtTheDateLimit) {
  constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
  const Calendar calendar = calendarOf("en_US", "America/New_York");
  for (const auto unit : {CalendarUnit::Year, CalendarUnit::Month, CalendarUnit::Day}) {
    EXPECT_EQ(calendar.adding(utc(2024, 1, 1), unit, kMost), kDateLimit);
    EXPECT_EQ(calendar.adding(utc(2024, 1, 1), unit, -kMost), -kDateLimit);
    EXPECT_EQ(calendar.adding(-kDateLimit, unit, kMost), kDateLimit);
  }
  EXPECT_EQ(withinDateLimit(Seconds(std::nan(""))), Seconds(0));
  EXPECT_EQ(withinDateLimit(Seconds(INFINITY)), kDateLimit);
  EXPECT_EQ(withinDateLimit(Seconds(-INFINITY)), -kDateLimit);
  EXPECT_EQ(calendar.fields(Seconds(INFINITY)), calendar.fields(kDateLimit));
}

TEST(Calendar, CountsUpToTheDateLimit) {
  const std::int64_t days = 1'388'888'888;
  const Seconds last(static_cast<double>(days) * 86'400);
  EXPECT_EQ(calendarOf("en_US").adding(-last, CalendarUnit::Day, 2 * days), last);
  EXPECT_EQ(calendarOf("en_US").daysBetween(-last, last), 2 * days);
  const Calendar newYork = calendarOf("en_US", "America/New_York");
  for (const double share : {-0.999, 0.999}) {
    EXPECT_EQ(newYork.moment(newYork.fields(share * kDateLimit)), share * kDateLimit);
  }
}

TEST(Calendar, FollowsThePlatformUnlessFixed) {
  auto& platform = test::DateTestPlatform::install("en_US", "UTC");
  const Calendar& current = Calendar::current();
  const Seconds moment = utc(2024, 3, 3, 22);  // a Sunday
  const Calendar fixed = current.fixed();
  EXPECT_EQ(current.fields(moment).hour, 22);
  EXPECT_EQ(current.fields(moment).weekOfMonth, 2);
  platform.setUser("zh_CN", "Asia/Shanghai");
  EXPECT_EQ(current.fields(moment).hour, 6);
  EXPECT_EQ(current.fields(moment).day, 4);
  EXPECT_EQ(current.firstWeekday(), 2);
  EXPECT_EQ(fixed.fields(moment).hour, 22);
  EXPECT_EQ(fixed.firstWeekday(), 1);
  EXPECT_EQ(&Calendar::current(), &current);
}

TEST(Calendar, TakesAZoneThatNobodyKnowsForUtc) {
  EXPECT_EQ(calendarOf("en_US", "No/Where").fields(utc(2024, 1, 31, 8)).hour, 8);
  EXPECT_EQ(calendarOf("en_US", "").fields(utc(2024, 1, 31, 8)).hour, 8);
  EXPECT_EQ(calendarOf("en_US", "GMT+08:00").fields(utc(2024, 1, 31, 8)).hour, 16);
}

TEST(Calendar, MakesOneEngineForSettingsThatStayTheSame) {
  const Calendar calendar = calendarOf("en_US");
  for (int i = 0; i < 100; ++i) calendar.fields(Seconds(i));
  EXPECT_EQ(calendarPool().made(), 1u);
}

TEST(Calendar, KeepsABoundedNumberOfEngines) {
  for (int i = 0; i < 60; ++i) calendarOf("en_US", "GMT+00:" + std::to_string(i)).fields(Seconds(0));
  EXPECT_EQ(calendarPool().made(), 60u);
  EXPECT_LE(calendarPool().atRest(), 16u);
}

}  // namespace
}  // namespace orv::calendar_test
