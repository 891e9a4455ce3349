#include <orvnetwork/dates/icu/IcuPools.h>
#include <orvnetwork/support/QXDate.h>

#include <tests/support/CivilTime.h>
#include <tests/support/DateTestPlatform.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace orv::qx_date_making_test {
namespace {

using orv::test::DateTestPlatform;
using orv::test::local;
using orv::test::localText;
using orv::test::utc;

constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
constexpr auto kLeast = std::numeric_limits<std::int64_t>::min();

/// America/New_York, an hour before the clocks go forward.
DateTestPlatform& beforeTheChange() {
  auto& platform = DateTestPlatform::install("en_US", "America/New_York");
  platform.setNow(utc(2024, 3, 10, 6, 0, 0.5).since1970());  // 01:00:00.5
  return platform;
}

TEST(QXDateMaking, NowIsThePlatformsClock) {
  auto& platform = DateTestPlatform::install();
  platform.setNow(Seconds(1'706'690'702.25));
  EXPECT_EQ(QXDate::now(), QXDate(Seconds(1'706'690'702.25)));
  EXPECT_EQ(QXDate(WallTime(std::chrono::milliseconds(1250))).since1970(), Seconds(1.25));
}

TEST(QXDateMaking, DaysFromNowKeepTheLocalTime) {
  beforeTheChange();
  EXPECT_EQ(QXDate::dateWithDaysFromNow(1), utc(2024, 3, 11, 5, 0, 0.5));
  EXPECT_EQ(QXDate::dateWithDaysBeforeNow(1), utc(2024, 3, 9, 6, 0, 0.5));
  EXPECT_EQ(QXDate::dateWithDaysFromNow(-1), QXDate::dateWithDaysBeforeNow(1));
  EXPECT_EQ(QXDate::dateTomorrow(), QXDate::dateWithDaysFromNow(1));
  EXPECT_EQ(QXDate::dateYesterday(), QXDate::dateWithDaysBeforeNow(1));
  EXPECT_EQ(QXDate::dateWithDaysFromNow(0), QXDate::now());
}

TEST(QXDateMaking, HoursAndMinutesFromNowAreFixedSpans) {
  beforeTheChange();
  EXPECT_EQ(QXDate::dateWithHoursFromNow(24), utc(2024, 3, 11, 6, 0, 0.5));
  EXPECT_EQ(localText(QXDate::dateWithHoursFromNow(24)), "2024-03-11 02:00:00");
  EXPECT_EQ(QXDate::dateWithHoursBeforeNow(7), utc(2024, 3, 9, 23, 0, 0.5));
  EXPECT_EQ(QXDate::dateWithMinutesFromNow(90), utc(2024, 3, 10, 7, 30, 0.5));
  EXPECT_EQ(QXDate::dateWithMinutesBeforeNow(90), utc(2024, 3, 10, 4, 30, 0.5));
  EXPECT_EQ(QXDate::dateWithMinutesFromNow(-90), QXDate::dateWithMinutesBeforeNow(90));
}

TEST(QXDateMaking, ReadsATextInTheUsersZone) {
  auto& platform = DateTestPlatform::install("en_US", "Asia/Shanghai");
  EXPECT_EQ(QXDate::date_WithFormat("2024-01-31 08:05:06", "yyyy-MM-dd HH:mm:ss"), utc(2024, 1, 31, 0, 5, 6));
  platform.setZone("America/New_York");
  EXPECT_EQ(QXDate::date_WithFormat("2024-01-31 08:05:06", "yyyy-MM-dd HH:mm:ss"),
            utc(2024, 1, 31, 13, 5, 6));
  EXPECT_EQ(QXDate::date_WithFormat("31 January 2024", "d MMMM yyyy"), utc(2024, 1, 31, 5));
  platform.setLocale("zh_CN");
  EXPECT_FALSE(QXDate::date_WithFormat("31 January 2024", "d MMMM yyyy"));
}

TEST(QXDateMaking, IsAbsentForATextThatDoesNotMatch) {
  DateTestPlatform::install();
  EXPECT_FALSE(QXDate::date_WithFormat("2024-02-30", "yyyy-MM-dd"));
  EXPECT_FALSE(QXDate::date_WithFormat("2024-01-31 and more", "yyyy-MM-dd"));
  EXPECT_FALSE(QXDate::date_WithFormat("", "yyyy-MM-dd"));
  EXPECT_FALSE(QXDate::date_WithFormat("2024-01-31", ""));
}

TEST(QXDateMaking, HasOneCalendarThatFollowsTheUser) {
  auto& platform = DateTestPlatform::install("en_US", "UTC");
  const Calendar& calendar = QXDate::currentCalendar();
  EXPECT_EQ(&calendar, &QXDate::currentCalendar());
  EXPECT_EQ(calendar.firstWeekday(), 1);
  platform.setUser("en_GB", "Asia/Shanghai");
  EXPECT_EQ(calendar.firstWeekday(), 2);
  EXPECT_EQ(calendar.fields(Seconds(0)).hour, 8);
}

TEST(QXDateMaking, StopsAtTheDateLimit) {
  DateTestPlatform::install();
  EXPECT_EQ(QXDate(Seconds(INFINITY)).since1970(), kDateLimit);
  EXPECT_EQ(QXDate(Seconds(std::nan(""))).since1970(), Seconds(0));
  for (const std::int64_t amount : {kMost, kLeast}) {
    const Seconds later = amount > 0 ? kDateLimit : -kDateLimit;
    EXPECT_EQ(QXDate::dateWithDaysFromNow(amount).since1970(), later);
    EXPECT_EQ(QXDate::dateWithDaysBeforeNow(amount).since1970(), -later);
    EXPECT_EQ(QXDate::dateWithHoursFromNow(amount).since1970(), later);
    EXPECT_EQ(QXDate::dateWithHoursBeforeNow(amount).since1970(), -later);
    EXPECT_EQ(QXDate::dateWithMinutesFromNow(amount).since1970(), later);
    EXPECT_EQ(QXDate::dateWithMinutesBeforeNow(amount).since1970(), -later);
    EXPECT_EQ(QXDate::now().dateByAddingYears(amount).since1970(), later);
    EXPECT_EQ(QXDate::now().dateBySubtractingYears(amount).since1970(), -later);
    EXPECT_EQ(QXDate::now().dateByAddingMonths(amount).since1970(), later);
    EXPECT_EQ(QXDate::now().dateBySubtractingMonths(amount).since1970(), -later);
  }
}

TEST(QXDateMaking, LeavesTheCalendarEngineAloneUntilItIsNeeded) {
  DateTestPlatform::install("zh_CN", "Asia/Shanghai");
  const QXDate now = QXDate::now();
  const QXDate later = now.dateByAddingHours(5).dateByAddingMinutes(7);
  EXPECT_EQ(later.minutesAfterDate(now), 307);
  EXPECT_TRUE(later.isInFuture());
  EXPECT_TRUE(now.isEarlierThanDate(later));
  EXPECT_EQ(QXDate::dateWithHoursFromNow(5), later.dateBySubtractingMinutes(7));
  EXPECT_EQ(&QXDate::currentCalendar(), &Calendar::current());
  EXPECT_EQ(calendarPool().made() + dateFormatPool().made(), 0u);
  EXPECT_EQ(now.hour(), 16);
  EXPECT_EQ(calendarPool().made(), 1u);
}

}  // namespace
}  // namespace orv::qx_date_making_test
