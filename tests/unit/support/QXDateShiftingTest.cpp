#include <orvnetwork/support/QXDate.h>

#include <tests/support/CivilTime.h>
#include <tests/support/DateTestPlatform.h>

#include <gtest/gtest.h>

namespace orv::qx_date_shifting_test {
namespace {

using orv::test::DateTestPlatform;
using orv::test::local;
using orv::test::localText;
using orv::test::utc;

TEST(QXDateShifting, AMonthTooShortGivesItsLastDay) {
  DateTestPlatform::install();
  const QXDate january = local("2024-01-31 10:00:00");
  EXPECT_EQ(localText(january.dateByAddingMonths(1)), "2024-02-29 10:00:00");
  EXPECT_EQ(localText(january.dateByAddingMonths(13)), "2025-02-28 10:00:00");
  EXPECT_EQ(localText(january.dateByAddingMonths(3)), "2024-04-30 10:00:00");
  EXPECT_EQ(localText(local("2023-01-31 10:00:00").dateByAddingMonths(1)), "2023-02-28 10:00:00");
  EXPECT_EQ(localText(local("2024-03-31 10:00:00").dateBySubtractingMonths(1)), "2024-02-29 10:00:00");
  EXPECT_EQ(localText(january.dateByAddingMonths(1).dateBySubtractingMonths(1)), "2024-01-29 10:00:00");
  EXPECT_EQ(localText(january.dateByAddingMonths(-14)), "2022-11-30 10:00:00");
}

TEST(QXDateShifting, YearsKeepTheDateExceptForLeapDays) {
  DateTestPlatform::install();
  const QXDate leapDay = local("2024-02-29 10:00:00");
  EXPECT_EQ(localText(leapDay.dateByAddingYears(1)), "2025-02-28 10:00:00");
  EXPECT_EQ(localText(leapDay.dateByAddingYears(4)), "2028-02-29 10:00:00");
  EXPECT_EQ(localText(leapDay.dateBySubtractingYears(124)), "1900-02-28 10:00:00");
  EXPECT_EQ(localText(leapDay.dateBySubtractingYears(24)), "2000-02-29 10:00:00");
  EXPECT_EQ(leapDay.dateBySubtractingYears(3), leapDay.dateByAddingYears(-3));
}

TEST(QXDateShifting, DaysCrossEndsOfMonthsAndYears) {
  DateTestPlatform::install();
  EXPECT_EQ(localText(local("2024-02-28 10:00:00").dateByAddingDays(2)), "2024-03-01 10:00:00");
  EXPECT_EQ(localText(local("2023-02-28 10:00:00").dateByAddingDays(1)), "2023-03-01 10:00:00");
  EXPECT_EQ(localText(local("2024-01-01 10:00:00").dateBySubtractingDays(1)), "2023-12-31 10:00:00");
  EXPECT_EQ(localText(local("1969-12-31 23:00:00").dateByAddingDays(1)), "1970-01-01 23:00:00");
  EXPECT_EQ(localText(local("1904-03-01 00:00:00").dateBySubtractingDays(1)), "1904-02-29 00:00:00");
  EXPECT_EQ(localText(local("1900-03-01 00:00:00").dateBySubtractingDays(1)), "1900-02-28 00:00:00");
}

TEST(QXDateShifting, KeepsWhatIsBelowASecond) {
  DateTestPlatform::install("en_US", "America/New_York");
  EXPECT_EQ(utc(2024, 1, 31, 12, 0, 0.625).dateByAddingDays(60), utc(2024, 3, 31, 11, 0, 0.625));
  EXPECT_EQ(utc(1950, 1, 31, 12, 0, 0.625).dateByAddingMonths(1), utc(1950, 2, 28, 12, 0, 0.625));
  EXPECT_EQ(utc(1950, 1, 31, 12, 0, 0.625).dateByAddingYears(0), utc(1950, 1, 31, 12, 0, 0.625));
}

struct Change {
  const char* zone;
  const char* dayBefore;
  double hoursOfTheDay;
};

TEST(QXDateShifting, ADayKeepsTheLocalTimeWhere24HoursDoNot) {
  auto& platform = DateTestPlatform::install();
  for (const Change& change : {Change{"America/New_York", "2024-03-09 10:00:00", 23},
                               Change{"America/New_York", "2024-11-02 10:00:00", 25},
                               Change{"Europe/Berlin", "2024-03-30 10:00:00", 23},
                               Change{"Europe/Berlin", "2024-10-26 10:00:00", 25},
                               Change{"America/Sao_Paulo", "2018-11-03 10:00:00", 23},
                               Change{"America/Sao_Paulo", "2018-02-17 10:00:00", 25},
                               Change{"Australia/Lord_Howe", "2024-10-05 10:00:00", 23.5},
                               Change{"Australia/Lord_Howe", "2024-04-06 10:00:00", 24.5}}) {
    platform.setZone(change.zone);
    const QXDate date = local(change.dayBefore);
    const QXDate nextDay = date.dateByAddingDays(1);
    EXPECT_EQ((nextDay.since1970() - date.since1970()).count(), change.hoursOfTheDay * 3600) << change.zone;
    EXPECT_EQ(nextDay.hour(), 10) << change.zone;
    EXPECT_EQ(nextDay.dateBySubtractingDays(1), date) << change.zone;
    const QXDate after24Hours = date.dateByAddingHours(24);
    EXPECT_EQ(after24Hours.since1970() - date.since1970(), Seconds(86'400)) << change.zone;
    EXPECT_NE(localText(after24Hours), localText(nextDay)) << change.zone;
    EXPECT_EQ(date.distanceInDaysToDate(nextDay), 1) << change.zone;
    EXPECT_EQ(nextDay.daysAfterDate(date), change.hoursOfTheDay < 24 ? 0 : 1) << change.zone;
  }
}

TEST(QXDateShifting, ALocalTimeThatIsLeftOutMovesForward) {
  auto& platform = DateTestPlatform::install("en_US", "America/New_York");
  EXPECT_EQ(localText(local("2024-03-09 02:30:00").dateByAddingDays(1)), "2024-03-10 03:30:00");
  EXPECT_EQ(localText(local("2024-03-11 02:30:00").dateBySubtractingDays(1)), "2024-03-10 03:30:00");
  EXPECT_EQ(localText(local("2024-02-10 02:30:00").dateByAddingMonths(1)), "2024-03-10 03:30:00");
  EXPECT_EQ(localText(local("2023-03-10 02:30:00").dateByAddingYears(1)), "2024-03-10 03:30:00");
  platform.setZone("Europe/Berlin");
  EXPECT_EQ(localText(local("2024-03-30 02:30:00").dateByAddingDays(1)), "2024-03-31 03:30:00");
  platform.setZone("America/Sao_Paulo");
  EXPECT_EQ(localText(local("2018-11-03 00:30:00").dateByAddingDays(1)), "2018-11-04 01:30:00");
  platform.setZone("Australia/Lord_Howe");
  EXPECT_EQ(localText(local("2024-10-05 02:10:00").dateByAddingDays(1)), "2024-10-06 02:40:00");
}

TEST(QXDateShifting, TheFirstOfTwoEqualLocalTimesIsTaken) {
  auto& platform = DateTestPlatform::install("en_US", "America/New_York");
  const QXDate first = utc(2024, 11, 3, 5, 30);
  EXPECT_EQ(local("2024-11-02 01:30:00").dateByAddingDays(1), first);
  EXPECT_EQ(local("2024-11-04 01:30:00").dateBySubtractingDays(1), first);
  EXPECT_EQ(local("2024-12-03 01:30:00").dateBySubtractingMonths(1), first);
  EXPECT_EQ(local("2025-11-03 01:30:00").dateBySubtractingYears(1), first);
  // Adding nothing changes nothing.
  EXPECT_EQ(utc(2024, 11, 3, 6, 30).dateByAddingDays(0), utc(2024, 11, 3, 6, 30));
  platform.setZone("Australia/Lord_Howe");
  EXPECT_EQ(local("2024-04-08 01:45:00").dateBySubtractingDays(1), utc(2024, 4, 6, 14, 45));
}

TEST(QXDateShifting, HoursAndMinutesAreFixedSpans) {
  DateTestPlatform::install("en_US", "America/New_York");
  const QXDate date = utc(2024, 3, 10, 6, 30);  // 01:30, half an hour before the clocks go forward
  EXPECT_EQ(localText(date.dateByAddingHours(1)), "2024-03-10 03:30:00");
  EXPECT_EQ(localText(date.dateByAddingMinutes(30)), "2024-03-10 03:00:00");
  EXPECT_EQ(date.dateByAddingHours(1), date.dateByAddingMinutes(60));
  EXPECT_EQ(date.dateByAddingHours(-2), date.dateBySubtractingHours(2));
  EXPECT_EQ(date.dateBySubtractingMinutes(-5), date.dateByAddingMinutes(5));
  EXPECT_EQ(date.dateBySubtractingHours(1), utc(2024, 3, 10, 5, 30));
}

TEST(QXDateShifting, ADayBeginsAtMidnightAndEndsASecondBeforeTheNext) {
  auto& platform = DateTestPlatform::install("en_US", "Asia/Shanghai");
  const QXDate date = utc(2024, 1, 31, 0, 45, 2.75);
  EXPECT_EQ(date.dateAtStartOfDay(), utc(2024, 1, 30, 16));
  EXPECT_EQ(date.dateAtEndOfDay(), utc(2024, 1, 31, 15, 59, 59));
  EXPECT_EQ(date.dateAtStartOfDay().dateAtStartOfDay(), date.dateAtStartOfDay());
  EXPECT_EQ(date.dateAtEndOfDay().dateAtEndOfDay(), date.dateAtEndOfDay());
  EXPECT_EQ(localText(utc(1969, 12, 31, 20).dateAtStartOfDay()), "1970-01-01 00:00:00");
  platform.setZone("America/New_York");
  EXPECT_EQ(date.dateAtStartOfDay(), utc(2024, 1, 30, 5));
  EXPECT_EQ(date.dateAtEndOfDay(), utc(2024, 1, 31, 4, 59, 59));
}

TEST(QXDateShifting, DaysWithAChangeOfTheClocksHaveTheirBounds) {
  auto& platform = DateTestPlatform::install("en_US", "America/New_York");
  EXPECT_EQ(utc(2024, 3, 10, 12).dateAtStartOfDay(), utc(2024, 3, 10, 5));
  EXPECT_EQ(utc(2024, 3, 10, 12).dateAtEndOfDay(), utc(2024, 3, 11, 3, 59, 59));
  EXPECT_EQ(utc(2024, 11, 3, 12).dateAtStartOfDay(), utc(2024, 11, 3, 4));
  EXPECT_EQ(utc(2024, 11, 3, 12).dateAtEndOfDay(), utc(2024, 11, 4, 4, 59, 59));
  // The clocks skip midnight; then they go back at the end of a day, whose last hour is there twice.
  platform.setZone("America/Sao_Paulo");
  EXPECT_EQ(localText(utc(2018, 11, 4, 12).dateAtStartOfDay()), "2018-11-04 01:00:00");
  EXPECT_EQ(utc(2018, 11, 4, 12).dateAtStartOfDay(), utc(2018, 11, 4, 3));
  EXPECT_EQ(utc(2018, 2, 17, 12).dateAtEndOfDay(), utc(2018, 2, 18, 1, 59, 59));
}

TEST(QXDateShifting, DaysLongAgoKeepTheirYear) {
  DateTestPlatform::install();
  const QXDate longAgo = utc(-44, 3, 13, 10, 30);
  EXPECT_EQ(longAgo.dateAtStartOfDay(), utc(-44, 3, 13));
  EXPECT_EQ(longAgo.dateAtEndOfDay(), utc(-44, 3, 13, 23, 59, 59));
}

}  // namespace
}  // namespace orv::qx_date_shifting_test
