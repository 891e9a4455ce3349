#include <orvnetwork/data/ZoneRules.h>

#include <tests/support/ZoneFileBytes.h>

#include <gtest/gtest.h>

#include <limits>

namespace orv::zone_rules_test {
namespace {

using test::ZoneFileBytes;

constexpr std::int64_t kHour = 3600;

std::int64_t utc(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
  using namespace std::chrono;
  const sys_seconds moment =
      sys_days(std::chrono::year(year) / month / day) + hours(hour) + minutes(minute) + seconds(second);
  return moment.time_since_epoch().count();
}

ZoneRules ruled(std::string_view rule) {
  const ZoneRulesResult read = ZoneRules::ofRule(rule);
  EXPECT_TRUE(read.rules) << read.error.text();
  return read.rules.value_or(ZoneRules());
}

ZoneRules filed(const ZoneFileBytes& file) {
  const ZoneRulesResult read = ZoneRules::ofZoneFile(file.bytes());
  EXPECT_TRUE(read.rules) << read.error.text();
  return read.rules.value_or(ZoneRules());
}

/// Whether the rules change to an offset (in hours) at a moment, and not a second before.
testing::AssertionResult changesTo(const ZoneRules& rules, std::int64_t moment, double hours) {
  const double before = rules.at(moment - 1).seconds / 3600.0;
  const double after = rules.at(moment).seconds / 3600.0;
  if (before != after && after == hours) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << before << " before, " << after << " from then on";
}

TEST(ZoneRules, AreThoseOfUtcToBeginWith) {
  EXPECT_EQ(ZoneRules().at(utc(2024, 7, 1)), ZoneOffset());
  EXPECT_EQ(ZoneRules().momentOf(utc(2024, 7, 1)), utc(2024, 7, 1));
  EXPECT_EQ(ZoneRules().onlyOffset(), ZoneOffset());
}

TEST(ZoneRules, MayBeOneOffset) {
  const ZoneRules rules = ZoneRules::ofOffset(-12'600);
  EXPECT_EQ(rules.at(0).seconds, -12'600);
  EXPECT_EQ(rules.momentOf(0), 12'600);
  EXPECT_EQ(rules.onlyOffset()->seconds, -12'600);
  EXPECT_EQ(ZoneRules::ofOffset(1'000'000).at(0).seconds, 26 * kHour);
  EXPECT_EQ(ZoneRules::ofOffset(-1'000'000).at(0).seconds, -26 * kHour);
}

TEST(ZoneRules, ARuleCountsWestOfGreenwichAsPositive) {
  for (const auto& [rule, offset] :
       std::vector<std::pair<const char*, std::int64_t>>{{"CST-8", 8 * kHour},
                                                         {"EST5", -5 * kHour},
                                                         {"XYZ+11", -11 * kHour},
                                                         {"UTC0", 0},
                                                         {"<+0330>-3:30", 12'600},
                                                         {"<-03>3", -3 * kHour},
                                                         {"LMT-1:02:03", 3723},
                                                         {"ABC-24", 24 * kHour},
                                                         {"ABC-008", 8 * kHour}}) {
    EXPECT_EQ(ruled(rule).onlyOffset(), ZoneOffset({static_cast<std::int32_t>(offset), false})) << rule;
  }
}

TEST(ZoneRules, ARuleChangesOnItsDays) {
  const ZoneRules newYork = ruled("EST5EDT,M3.2.0,M11.1.0");
  EXPECT_TRUE(changesTo(newYork, utc(2024, 3, 10, 7), -4));
  EXPECT_TRUE(changesTo(newYork, utc(2024, 11, 3, 6), -5));
  EXPECT_TRUE(newYork.at(utc(2024, 7, 1)).isDaylight);
  EXPECT_FALSE(newYork.at(utc(2024, 1, 1)).isDaylight);
  EXPECT_FALSE(newYork.onlyOffset());
  // The last Sunday, at a time of its own.
  const ZoneRules berlin = ruled("CET-1CEST,M3.5.0,M10.5.0/3");
  EXPECT_TRUE(changesTo(berlin, utc(2024, 3, 31, 1), 2));
  EXPECT_TRUE(changesTo(berlin, utc(2024, 10, 27, 1), 1));
  // Where summer goes over New Year.
  const ZoneRules sydney = ruled("AEST-10AEDT,M10.1.0,M4.1.0/3");
  EXPECT_TRUE(changesTo(sydney, utc(2024, 10, 5, 16), 11));
  EXPECT_TRUE(changesTo(sydney, utc(2024, 4, 6, 16), 10));
  // Half an hour more.
  const ZoneRules lordHowe = ruled("<+1030>-10:30<+11>-11,M10.1.0,M4.1.0");
  EXPECT_TRUE(changesTo(lordHowe, utc(2024, 10, 5, 15, 30), 11));
  EXPECT_TRUE(changesTo(lordHowe, utc(2024, 4, 6, 15), 10.5));
}

TEST(ZoneRules, ARuleMayCountTheDaysOfTheYear) {
  const ZoneRules withoutLeapDay = ruled("AAA0BBB,J60/0,J300/0");
  EXPECT_TRUE(changesTo(withoutLeapDay, utc(2023, 3, 1), 1));
  EXPECT_TRUE(changesTo(withoutLeapDay, utc(2024, 3, 1), 1));
  EXPECT_TRUE(changesTo(withoutLeapDay, utc(2024, 10, 26, 23), 0));
  const ZoneRules fromZero = ruled("AAA0BBB,59/0,300/0");
  EXPECT_TRUE(changesTo(fromZero, utc(2023, 3, 1), 1));
  EXPECT_TRUE(changesTo(fromZero, utc(2024, 2, 29), 1));
}

TEST(ZoneRules, ARuleMayUseHoursBeyondItsDay) {
  const ZoneRules nuuk = ruled("<-02>2<-01>,M3.5.0/-1,M10.5.0/0");
  EXPECT_TRUE(changesTo(nuuk, utc(2024, 3, 31, 1), -1));
  EXPECT_TRUE(changesTo(nuuk, utc(2024, 10, 27, 1), -2));
  const ZoneRules late = ruled("IST-2IDT,M3.4.4/26,M10.5.0");
  EXPECT_TRUE(changesTo(late, utc(2024, 3, 29, 0), 3));
}

TEST(ZoneRules, ARuleMayTellOfAWinterTime) {
  const ZoneRules dublin = ruled("IST-1GMT0,M10.5.0,M3.5.0/1");
  EXPECT_EQ(dublin.at(utc(2024, 7, 1)), ZoneOffset({3600, false}));
  EXPECT_EQ(dublin.at(utc(2024, 1, 1)), ZoneOffset({0, true}));
  EXPECT_TRUE(changesTo(dublin, utc(2024, 3, 31, 1), 1));
}

TEST(ZoneRules, ARuleWithoutDaysKeepsToThoseOfTheUnitedStates) {
  for (const char* rule : {"AAA5BBB", "AAA5BBB4", "AAA5BBB,"}) {
    EXPECT_TRUE(changesTo(ruled(rule), utc(2024, 3, 10, 7), -4)) << rule;
    EXPECT_TRUE(changesTo(ruled(rule), utc(2024, 11, 3, 6), -5)) << rule;
  }
}

TEST(ZoneRules, ASummerMayLastAllYear) {
  const ZoneRules rules = ruled("AAA5BBB,0/0,J365/25");
  for (std::int64_t moment = utc(2023, 12, 30); moment < utc(2025, 1, 3); moment += 1800) {
    ASSERT_EQ(rules.at(moment).seconds, -4 * kHour) << moment;
  }
}

TEST(ZoneRules, ARuleHoldsForEver) {
  const ZoneRules rules = ruled("CET-1CEST,M3.5.0,M10.5.0/3");
  EXPECT_TRUE(changesTo(rules, utc(1970, 3, 29, 1), 2));
  EXPECT_TRUE(changesTo(rules, utc(2370, 3, 29, 1), 2));
  EXPECT_TRUE(changesTo(rules, utc(2371, 3, 28, 1), 2));
  EXPECT_TRUE(changesTo(rules, utc(2400, 3, 26, 1), 2));
  EXPECT_TRUE(changesTo(rules, utc(9999, 10, 31, 1), 1));
  // The calendar repeats itself after 400 years.
  constexpr std::int64_t kCycle = std::int64_t{146'097} * 86'400;
  for (std::int64_t moment = utc(2024, 1, 1); moment < utc(2025, 1, 1); moment += 86'400) {
    for (const std::int64_t cycles : {1, 2, 7, 3'000'000}) {
      ASSERT_EQ(rules.at(moment + cycles * kCycle), rules.at(moment)) << moment << " " << cycles;
      ASSERT_EQ(rules.momentOf(moment + cycles * kCycle), rules.momentOf(moment) + cycles * kCycle);
    }
  }
}

TEST(ZoneRules, WhatComesBefore1970IsLikeItsBeginning) {
  for (const std::int64_t moment : {utc(1969, 7, 1), utc(1900, 1, 1), utc(-5000, 7, 1)}) {
    EXPECT_EQ(ruled("CET-1CEST,M3.5.0,M10.5.0/3").at(moment), ZoneOffset({3600, false})) << moment;
    EXPECT_EQ(ruled("AEST-10AEDT,M10.1.0,M4.1.0/3").at(moment), ZoneOffset({11 * 3600, true})) << moment;
  }
  EXPECT_EQ(ruled("AEST-10AEDT,M10.1.0,M4.1.0/3").momentOf(utc(1969, 7, 1)), utc(1969, 6, 30, 13));
}

TEST(ZoneRules, RefusesWhatIsNoRule) {
  for (const char* text : {"",
                           "C",
                           "AB3",
                           "CST",
                           "8",
                           "CST-8:",
                           "CST-8x",
                           "CST-25",
                           "CST-99",
                           "CST-8:60",
                           "<+05-5",
                           "<+5>-5",
                           "CST--8",
                           "CST- 8",
                           " CST-8",
                           "CST-8 ",
                           "CST-8\n",
                           "EST5E",
                           "EST5EDT,M3.2.0",
                           "EST5EDT,M3.2.0,",
                           "EST5EDT,M3.2.0,M11.1.0,",
                           "EST5EDT,M3.2.0,M11.1.0x",
                           "EST5EDT,M0.2.0,M11.1.0",
                           "EST5EDT,M13.2.0,M11.1.0",
                           "EST5EDT,M3.6.0,M11.1.0",
                           "EST5EDT,M3.0.0,M11.1.0",
                           "EST5EDT,M3.2.7,M11.1.0",
                           "EST5EDT,M3.2,M11.1.0",
                           "EST5EDT,J0,J5",
                           "EST5EDT,J366,J5",
                           "EST5EDT,366,5",
                           "EST5EDT,M3.2.0/168,M11.1.0",
                           "EST5EDT,M3.2.0/,M11.1.0",
                           "EST5EDT4;M3.2.0,M11.1.0",
                           "CST-0008",
                           "No/Where",
                           "Asia/Shanghai",
                           "TZif"}) {
    const ZoneRulesResult read = ZoneRules::ofRule(text);
    EXPECT_FALSE(read.rules) << text;
    EXPECT_EQ(read.error.domain, kZoneRulesErrorDomain) << text;
    EXPECT_EQ(read.error.description, "not a zone rule: " + std::string(text));
  }
  EXPECT_FALSE(ZoneRules::ofRule(std::string_view("CST-8\0", 6)).rules);
}

TEST(ZoneRules, TakesTheFirstOfTwoEqualLocalTimes) {
  const ZoneRules rules = ruled("EST5EDT,M3.2.0,M11.1.0");
  const std::int64_t change = utc(2024, 11, 3, 6);  // 02:00 became 01:00
  EXPECT_EQ(rules.momentOf(utc(2024, 11, 3, 1)), change - kHour);
  EXPECT_EQ(rules.momentOf(utc(2024, 11, 3, 1, 59, 59)), change - 1);
  EXPECT_EQ(rules.momentOf(utc(2024, 11, 3, 2)), change + kHour);
}

TEST(ZoneRules, MovesALocalTimeForwardThatIsLeftOut) {
  const ZoneRules rules = ruled("EST5EDT,M3.2.0,M11.1.0");
  const std::int64_t change = utc(2024, 3, 10, 7);  // 02:00 became 03:00
  EXPECT_EQ(rules.momentOf(utc(2024, 3, 10, 1, 59, 59)), change - 1);
  EXPECT_EQ(rules.momentOf(utc(2024, 3, 10, 2)), change);
  EXPECT_EQ(rules.momentOf(utc(2024, 3, 10, 2, 30)), change + kHour / 2);
  EXPECT_EQ(rules.momentOf(utc(2024, 3, 10, 3)), change);
}

TEST(ZoneRules, StopsWhereNumbersEnd) {
  constexpr auto kLast = std::numeric_limits<std::int64_t>::max();
  for (const char* rule : {"CST-8", "EST5EDT,M3.2.0,M11.1.0"}) {
    const ZoneRules rules = ruled(rule);
    for (const std::int64_t moment : {kLast, -kLast, -kLast - 1}) {
      EXPECT_EQ(rules.at(moment), rules.at(moment / 2)) << rule;
      EXPECT_EQ(rules.momentOf(moment), rules.momentOf(moment / 2)) << rule;
    }
  }
}

ZoneFileBytes smallFile() {
  ZoneFileBytes file;
  file.kinds = {{1000, true}, {-500, false}, {3600, false}, {7200, true}};
  file.moments = {-100, 0, 200};
  file.kindNumbers = {2, 3, 2};
  return file;
}

TEST(ZoneRules, AFileTellsItsChanges) {
  for (const char version : {'\0', '2', '3', '4', '9'}) {
    ZoneFileBytes file = smallFile();
    file.version = version;
    const ZoneRules rules = filed(file);
    // Before the first change: the first kind that is no summer time.
    EXPECT_EQ(rules.at(-1'000'000), ZoneOffset({-500, false}));
    EXPECT_EQ(rules.at(-101), ZoneOffset({-500, false}));
    EXPECT_EQ(rules.at(-100), ZoneOffset({3600, false}));
    EXPECT_EQ(rules.at(0), ZoneOffset({7200, true}));
    EXPECT_EQ(rules.at(199), ZoneOffset({7200, true}));
    EXPECT_EQ(rules.at(200), ZoneOffset({3600, false}));
    EXPECT_EQ(rules.at(utc(9999, 7, 1)), ZoneOffset({3600, false}));
  }
}

TEST(ZoneRules, AFileWithoutAnythingButSummerTimesBeginsWithTheFirst) {
  ZoneFileBytes file;
  file.kinds = {{1000, true}, {2000, true}};
  EXPECT_EQ(filed(file).at(0), ZoneOffset({1000, true}));
}

TEST(ZoneRules, TheRuleOfAFileHoldsFromItsLastChangeOn) {
  ZoneFileBytes file;
  file.kinds = {{600, false}, {3600, false}, {7200, true}};
  file.moments = {utc(2000, 3, 26, 1), utc(2000, 10, 29, 1)};
  file.kindNumbers = {2, 1};
  file.rule = "CET-1CEST,M3.5.0,M10.5.0/3";
  const ZoneRules rules = filed(file);
  EXPECT_EQ(rules.at(utc(1999, 7, 1)).seconds, 600);
  EXPECT_TRUE(changesTo(rules, utc(2000, 10, 29, 1), 1));
  EXPECT_TRUE(changesTo(rules, utc(2001, 3, 25, 1), 2));
  EXPECT_TRUE(changesTo(rules, utc(2400, 10, 29, 1), 1));
  EXPECT_TRUE(changesTo(rules, utc(2401, 3, 25, 1), 2));
  EXPECT_TRUE(changesTo(rules, utc(7999, 3, 28, 1), 2));
  EXPECT_EQ(rules.at(-utc(7999, 7, 1)).seconds, 600);
}

TEST(ZoneRules, TheRuleOfAFileWithoutChangesHoldsAlone) {
  ZoneFileBytes file;
  file.rule = "CET-1CEST,M3.5.0,M10.5.0/3";
  EXPECT_TRUE(changesTo(filed(file), utc(1970, 3, 29, 1), 2));
  EXPECT_EQ(filed(file).at(0), ZoneOffset({3600, false}));
  file.rule = "CET-1";
  EXPECT_EQ(filed(file).onlyOffset(), ZoneOffset({3600, false}));
}

TEST(ZoneRules, ARuleThatDoesNotChangeMayEndTheChangesOfAFile) {
  ZoneFileBytes file = smallFile();
  file.rule = "XYZ-3";
  EXPECT_EQ(filed(file).at(199).seconds, 7200);
  EXPECT_EQ(filed(file).at(200).seconds, 3 * kHour);
  EXPECT_EQ(filed(file).at(utc(2900, 1, 1)).seconds, 3 * kHour);
}

TEST(ZoneRules, LeapSecondsOfAFileAreTakenOutOfItsMoments) {
  ZoneFileBytes file = smallFile();
  file.moments = {-100, 1000, 2002};
  // The clock of such a file shows a second more from 500 on, and two more from 1500 on.
  file.leaps = {{500, 1}, {1500, 2}};
  const ZoneRules rules = filed(file);
  EXPECT_TRUE(changesTo(rules, -100, 1));
  EXPECT_TRUE(changesTo(rules, 999, 2));
  EXPECT_TRUE(changesTo(rules, 2000, 1));
}

TEST(ZoneRules, ChangesThatFollowEachOtherCloselyAreAllThere) {
  ZoneFileBytes file;
  file.kinds = {{0, false}, {7200, false}, {3600, false}};
  file.moments = {100'000, 100'600};  // forward by two hours, and back by one ten minutes later
  file.kindNumbers = {1, 2};
  const ZoneRules rules = filed(file);
  EXPECT_EQ(rules.momentOf(99'999), 99'999);
  EXPECT_EQ(rules.momentOf(100'000), 100'000);
  EXPECT_EQ(rules.momentOf(107'200), 100'000);
  EXPECT_EQ(rules.momentOf(107'799), 100'599);
  EXPECT_EQ(rules.momentOf(107'800), 104'200);
}

}  // namespace
}  // namespace orv::zone_rules_test
