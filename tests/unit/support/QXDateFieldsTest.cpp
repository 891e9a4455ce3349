#include <orvnetwork/support/QXDate.h>

#include <tests/support/CivilTime.h>
#include <tests/support/DateTestPlatform.h>

#include <gtest/gtest.h>

namespace orv::qx_date_fields_test {
namespace {

using orv::test::DateTestPlatform;
using orv::test::local;
using orv::test::utc;

TEST(QXDateFields, TellsTheFieldsInTheUsersZone) {
  auto& platform = DateTestPlatform::install("en_US", "Asia/Shanghai");
  const QXDate date = utc(2024, 2, 29, 17, 4, 5.999);
  EXPECT_EQ(date.year(), 2024);
  EXPECT_EQ(date.month(), 3);
  EXPECT_EQ(date.day(), 1);
  EXPECT_EQ(date.hour(), 1);
  EXPECT_EQ(date.minute(), 4);
  EXPECT_EQ(date.seconds(), 5);
  EXPECT_EQ(date.weekday(), 6);
  EXPECT_EQ(date.nthWeekday(), 1);
  platform.setZone("America/New_York");
  EXPECT_EQ(date.month(), 2);
  EXPECT_EQ(date.day(), 29);
  EXPECT_EQ(date.hour(), 12);
  EXPECT_EQ(date.nthWeekday(), 5);
}

TEST(QXDateFields, FloorsBefore1970) {
  DateTestPlatform::install();
  const QXDate date(Seconds(-0.5));
  EXPECT_EQ(date.year(), 1969);
  EXPECT_EQ(date.month(), 12);
  EXPECT_EQ(date.day(), 31);
  EXPECT_EQ(date.hour(), 23);
  EXPECT_EQ(date.minute(), 59);
  EXPECT_EQ(date.seconds(), 59);
  EXPECT_EQ(date.weekday(), 4);
  EXPECT_EQ(date.nthWeekday(), 5);
}

TEST(QXDateFields, WeekIsTheWeekOfTheMonthByTheLocalesHabits) {
  struct Row {
    int month, day;
    int us, china, britain;
  };
  auto& platform = DateTestPlatform::install();
  for (const Row& row : {Row{3, 1, 1, 1, 0}, Row{3, 3, 2, 1, 0}, Row{3, 4, 2, 2, 1}, Row{3, 31, 6, 5, 4},
                         Row{9, 1, 1, 1, 0}}) {
    const QXDate date = utc(2024, row.month, row.day, 12);
    platform.setLocale("en_US");
    EXPECT_EQ(date.week(), row.us) << row.month << "-" << row.day;
    platform.setLocale("zh_CN");
    EXPECT_EQ(date.week(), row.china) << row.month << "-" << row.day;
    platform.setLocale("en_GB");
    EXPECT_EQ(date.week(), row.britain) << row.month << "-" << row.day;
  }
}

TEST(QXDateFields, WeekdaysAreCountedFromSundayWhateverTheLocale) {
  auto& platform = DateTestPlatform::install();
  for (const char* locale : {"en_US", "zh_CN", "en_GB", "ar_EG"}) {
    platform.setLocale(locale);
    for (int day = 3; day <= 9; ++day) EXPECT_EQ(utc(2024, 3, day).weekday(), day - 2) << locale;
  }
}

TEST(QXDateFields, NthWeekdayCountsOccurrencesInTheMonth) {
  auto& platform = DateTestPlatform::install();
  for (const char* locale : {"en_US", "en_GB"}) {
    platform.setLocale(locale);
    for (int day = 1; day <= 31; ++day) EXPECT_EQ(utc(2024, 3, day).nthWeekday(), (day - 1) / 7 + 1);
  }
}

TEST(QXDateFields, DifferencesAreCutOffTowardsZero) {
  const QXDate date = utc(2024, 1, 31);
  const auto after = [&](double seconds) { return QXDate(date.since1970() + Seconds(seconds)); };
  EXPECT_EQ(after(119).minutesAfterDate(date), 1);
  EXPECT_EQ(after(-119).minutesAfterDate(date), -1);
  EXPECT_EQ(after(59.999).minutesAfterDate(date), 0);
  EXPECT_EQ(after(-59.999).minutesAfterDate(date), 0);
  EXPECT_EQ(after(120).minutesAfterDate(date), 2);
  EXPECT_EQ(after(7199).hoursAfterDate(date), 1);
  EXPECT_EQ(after(-7200).hoursAfterDate(date), -2);
  EXPECT_EQ(after(-3599).hoursAfterDate(date), 0);
  EXPECT_EQ(after(2 * 86'400 - 1).daysAfterDate(date), 1);
  EXPECT_EQ(after(-2 * 86'400).daysAfterDate(date), -2);
}

TEST(QXDateFields, BeforeIsTheNegationOfAfter) {
  const QXDate date = utc(2024, 1, 31);
  for (const double seconds : {0.0, 59.0, 119.0, -119.0, 3600.0, -90'000.5, 1e9}) {
    const QXDate other(date.since1970() + Seconds(seconds));
    EXPECT_EQ(date.minutesBeforeDate(other), -date.minutesAfterDate(other));
    EXPECT_EQ(date.hoursBeforeDate(other), -date.hoursAfterDate(other));
    EXPECT_EQ(date.daysBeforeDate(other), -date.daysAfterDate(other));
    EXPECT_EQ(date.minutesBeforeDate(other), other.minutesAfterDate(date));
  }
}

TEST(QXDateFields, CalendarDaysAreNotFixedDays) {
  DateTestPlatform::install("en_US", "America/New_York");
  const QXDate saturday = local("2024-03-09 10:00:00");
  const QXDate sunday = local("2024-03-10 10:00:00");
  EXPECT_EQ(saturday.distanceInDaysToDate(sunday), 1);
  EXPECT_EQ(saturday.distanceInDaysToDate(local("2024-03-10 09:59:59")), 0);
  EXPECT_EQ(sunday.daysAfterDate(saturday), 0);
  EXPECT_EQ(sunday.distanceInDaysToDate(saturday), -1);
  EXPECT_EQ(saturday.distanceInDaysToDate(saturday), 0);
  EXPECT_EQ(local("1969-12-01 00:00:00").distanceInDaysToDate(local("1970-03-01 00:00:00")), 90);
}

TEST(QXDateFields, CalendarDaysAreCountedTheGregorianWay) {
  auto& platform = DateTestPlatform::install("fa_IR", "UTC");
  EXPECT_EQ(utc(2024, 3, 1, 10).distanceInDaysToDate(utc(2024, 3, 20, 12, 30, 5)), 19);
  platform.setZone("Asia/Tehran");
  EXPECT_EQ(utc(2020, 1, 1).distanceInDaysToDate(utc(2021, 1, 1)), 366);
}

TEST(QXDateFields, ComponentsCountFromTheOtherDateLargestUnitsFirst) {
  DateTestPlatform::install();
  const CalendarFields fields = utc(2025, 4, 20, 12, 30, 5).componentsWithOffsetFromDate(utc(2024, 3, 1, 10));
  EXPECT_EQ(fields.year, 1);
  EXPECT_EQ(fields.month, 1);
  EXPECT_EQ(fields.weekOfMonth, 2);
  EXPECT_EQ(fields.day, 5);
  EXPECT_EQ(fields.hour, 2);
  EXPECT_EQ(fields.minute, 30);
  EXPECT_EQ(fields.second, 5);
  EXPECT_EQ(fields.weekday, 0);
  EXPECT_EQ(fields.weekdayOrdinal, 0);

  const CalendarFields backwards =
      utc(2024, 3, 1, 10).componentsWithOffsetFromDate(utc(2024, 3, 20, 12, 30, 5));
  EXPECT_EQ(backwards.weekOfMonth, -2);
  EXPECT_EQ(backwards.day, -5);
  EXPECT_EQ(backwards.second, -5);
}

TEST(QXDateFields, NearestHourRoundsTheCurrentTimeWhateverTheDate) {
  auto& platform = DateTestPlatform::install("en_US", "Asia/Shanghai");
  const QXDate any = utc(1999, 5, 6, 7, 8, 9);
  const auto nearestAt = [&](int hour, int minute, double second) {
    platform.setNow(utc(2024, 1, 31, hour, minute, second).since1970());
    return any.nearestHour();
  };
  EXPECT_EQ(nearestAt(2, 29, 59), 10);
  EXPECT_EQ(nearestAt(2, 29, 59.999), 10);
  EXPECT_EQ(nearestAt(2, 30, 0), 11);
  EXPECT_EQ(nearestAt(2, 0, 0), 10);
  EXPECT_EQ(nearestAt(15, 30, 0), 0);
}

}  // namespace
}  // namespace orv::qx_date_fields_test
