#include <orvnetwork/dates/LocalTime.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/native/zones/NativeTimeZones.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

namespace orv::local_time_test {
namespace {

using namespace std::chrono_literals;

WallTime at(std::chrono::nanoseconds sinceEpoch) {
  return WallTime(sinceEpoch);
}

std::string text(const LocalTime& time) {
  char buffer[128];
  std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02d %02d:%02d:%02d.%03d %d", time.year, time.month,
                time.day, time.hour, time.minute, time.second, time.millisecond, time.weekday);
  return buffer;
}

constexpr auto kMoment = 1'706'690'702'345'999'999ns;  // 2024-01-31 08:45:02.345999999 UTC, a Wednesday

TEST(LocalTime, BreaksAMomentDown) {
  EXPECT_EQ(text(LocalTime::of(at(kMoment), "UTC")), "2024-01-31 08:45:02.345 4");
  EXPECT_EQ(text(LocalTime::of(at(0ns), "UTC")), "1970-01-01 00:00:00.000 5");
}

TEST(LocalTime, CutsMillisecondsOffAndFloorsBefore1970) {
  EXPECT_EQ(LocalTime::of(at(999'999'999ns), "UTC").millisecond, 999);
  EXPECT_EQ(text(LocalTime::of(at(-1ns), "UTC")), "1969-12-31 23:59:59.999 4");
  EXPECT_EQ(text(LocalTime::of(at(-86'400s - 1ms), "UTC")), "1969-12-30 23:59:59.999 3");
}

TEST(LocalTime, TellsSecondsFarBeyondAWallTime) {
  const auto of = [](std::int64_t seconds, const char* zone = "UTC") {
    const auto time = LocalTime::ofSeconds(seconds, zone);
    return text(time) + " " + std::to_string(time.weekday);
  };
  EXPECT_EQ(of(0), text(LocalTime::of(at(0s), "UTC")) + " 5");
  EXPECT_EQ(of(-1), text(LocalTime::of(at(-1s), "UTC")) + " 4");
  for (const std::int64_t seconds : {-9'000'000'000, -62'135'596'800 / 10, 1'706'661'902L, 9'000'000'000}) {
    EXPECT_EQ(of(seconds, "Asia/Shanghai"),
              text(LocalTime::of(at(std::chrono::seconds(seconds)), "Asia/Shanghai")) + " " +
                  std::to_string(LocalTime::of(at(std::chrono::seconds(seconds)), "Asia/Shanghai").weekday));
  }
  const auto last = LocalTime::ofSeconds(253'402'300'799, "UTC");
  EXPECT_EQ(last.year, 9999);
  EXPECT_EQ(last.month, 12);
  EXPECT_EQ(last.second, 59);
  EXPECT_EQ(last.weekday, 6);
  const auto first = LocalTime::ofSeconds(-62'167'219'200, "UTC");
  EXPECT_EQ(first.year, 0);
  EXPECT_EQ(first.month, 1);
  EXPECT_EQ(first.day, 1);
  EXPECT_EQ(LocalTime::ofSeconds(INT64_MAX, "UTC").year, 5'828'963);
  EXPECT_EQ(LocalTime::ofSeconds(INT64_MIN, "UTC").year, -5'825'024);
}

TEST(LocalTime, KnowsLeapDays) {
  EXPECT_EQ(text(LocalTime::of(at(1'709'164'800s), "UTC")), "2024-02-29 00:00:00.000 5");
  EXPECT_EQ(text(LocalTime::of(at(951'782'400s), "UTC")), "2000-02-29 00:00:00.000 3");
}

TEST(LocalTime, TakesAnotherZoneThanTheProcesssOwn) {
  setenv("TZ", "UTC0", 1);
  EXPECT_EQ(text(LocalTime::of(at(kMoment), "Asia/Shanghai")), "2024-01-31 16:45:02.345 4");
  EXPECT_EQ(text(LocalTime::of(at(kMoment), "America/New_York")), "2024-01-31 03:45:02.345 4");
  EXPECT_EQ(text(LocalTime::of(at(kMoment), "Asia/Kolkata")), "2024-01-31 14:15:02.345 4");
  EXPECT_EQ(text(LocalTime::of(at(kMoment), "GMT+08:00")), "2024-01-31 16:45:02.345 4");
  EXPECT_EQ(text(LocalTime::of(at(kMoment), "No/Where")), "2024-01-31 08:45:02.345 4");
}

TEST(LocalTime, FollowsTheProcesssZoneAsItChanges) {
  setenv("TZ", "Asia/Shanghai", 1);
  EXPECT_EQ(LocalTime::of(at(kMoment), NativeTimeZones::instance().inUse(&Console::write)->name).hour, 16);
  setenv("TZ", "Asia/Tokyo", 1);
  EXPECT_EQ(LocalTime::of(at(kMoment), NativeTimeZones::instance().inUse(&Console::write)->name).hour, 17);
}

TEST(LocalTime, GivesTheSameByBothRoads) {
  // Around both changes of a year, and long ago.
  for (const auto begin : {1'710'000'000s, 1'730'500'000s, -1'000'000'000s, 0s}) {
    for (auto moment = begin; moment < begin + 8 * 86'400s; moment += 1'799s) {
      setenv("TZ", "America/New_York", 1);
      const std::string native = text(LocalTime::of(at(moment), "America/New_York"));
      setenv("TZ", "UTC0", 1);
      ASSERT_EQ(text(LocalTime::of(at(moment), "America/New_York")), native);
    }
  }
}

TEST(LocalTime, ARuleThatThePlatformCannotNameIsNotMixedUpWithTheSystemsZone) {
  setenv("TZ", "XYZ-9ZYX-10,M3.2.0,M11.1.0", 1);
  const std::string zone = NativeTimeZones::instance().inUse(&Console::write)->name;
  unsetenv("TZ");
  const std::string expected = text(LocalTime::of(at(kMoment), zone));
  setenv("TZ", "XYZ-9ZYX-10,M3.2.0,M11.1.0", 1);
  EXPECT_EQ(text(LocalTime::of(at(kMoment), zone)), expected);
}

LocalTime date(int year, int month, int day) {
  LocalTime result;
  result.year = year;
  result.month = month;
  result.day = day;
  return result;
}

TEST(LocalTime, WeekBasedYearGoesByTheLocalesHabits) {
  struct Row {
    LocalTime date;
    int us, china, britain;
  };
  const Row rows[] = {
      {date(2023, 12, 31), 2024, 2023, 2023}, {date(2024, 12, 29), 2025, 2024, 2024},
      {date(2024, 12, 30), 2025, 2025, 2025}, {date(2024, 12, 31), 2025, 2025, 2025},
      {date(2021, 1, 1), 2021, 2021, 2020},   {date(2025, 12, 31), 2026, 2026, 2026},
      {date(2024, 6, 15), 2024, 2024, 2024},
  };
  for (const Row& row : rows) {
    const auto name = text(row.date);
    EXPECT_EQ(weekBasedYear(row.date, "en_US"), row.us) << name;
    EXPECT_EQ(weekBasedYear(row.date, "zh_CN"), row.china) << name;
    EXPECT_EQ(weekBasedYear(row.date, "en_GB"), row.britain) << name;
    EXPECT_EQ(weekBasedYear(row.date, "de_DE"), row.britain) << name;
    EXPECT_EQ(weekBasedYear(row.date, "en_US_POSIX"), row.us) << name;
  }
}

TEST(LocalTime, WeekBasedYearDiffersOnlyAroundNewYearWhateverTheHabits) {
  for (int firstWeekday = 1; firstWeekday <= 7; ++firstWeekday) {
    for (int minimalDays = 1; minimalDays <= 7; ++minimalDays) {
      for (int year = 2000; year < 2030; ++year) {
        EXPECT_EQ(weekBasedYear(date(year, 12, 25), firstWeekday, minimalDays), year);
        EXPECT_EQ(weekBasedYear(date(year, 1, 7), firstWeekday, minimalDays), year);
        EXPECT_EQ(weekBasedYear(date(year, 7, 1), firstWeekday, minimalDays), year);
      }
    }
  }
}

}  // namespace
}  // namespace orv::local_time_test
