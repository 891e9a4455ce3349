#include <orvnetwork/support/QXDate.h>

#include <tests/support/ChildProgram.h>
#include <tests/support/DateTestPlatform.h>

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace orv::qx_date_peer_test {
namespace {

using orv::test::DateTestPlatform;

constexpr std::string_view kText = "yyyy-MM-dd'T'HH:mm:ss";

/// What an independent calendar says of a date: values by their names.
class PeerCase {
 public:
  explicit PeerCase(const std::string& line) : line_(line) {
    std::istringstream words(line);
    std::string name, value;
    while (words >> name >> value) values_[name] = value;
  }
  const std::string& text(const std::string& name) const { return values_.at(name); }
  std::int64_t number(const std::string& name) const { return std::stoll(text(name)); }
  QXDate date(const std::string& name) const { return QXDate(Seconds(static_cast<double>(number(name)))); }
  const std::string& line() const { return line_; }

 private:
  std::string line_;
  std::map<std::string, std::string> values_;
};

std::vector<PeerCase> casesOfPeer(int seed, int count) {
  test::ChildProgram peer("/usr/bin/python3", {"-B", ORV_TEST_SOURCE_DIR "/support/calendar_peer.py",
                                               std::to_string(seed), std::to_string(count)});
  peer.closeInput();
  const test::ChildResult result = peer.wait(std::chrono::seconds(100));
  EXPECT_EQ(result.exitCode, 0) << result.errors;
  std::vector<PeerCase> cases;
  std::istringstream lines(result.output);
  for (std::string line; std::getline(lines, line);) cases.emplace_back(line);
  return cases;
}

/// Goes through `count` cases, each in the zone that it names.
template <typename Check>
void forEachCase(int seed, int count, const Check& check) {
  auto& platform = DateTestPlatform::install("en_US", "UTC");
  const std::vector<PeerCase> cases = casesOfPeer(seed, count);
  ASSERT_EQ(cases.size(), static_cast<std::size_t>(count));
  for (const PeerCase& each : cases) {
    SCOPED_TRACE(each.line());
    platform.setUser("en_US", each.text("zone"));
    ASSERT_NO_FATAL_FAILURE(check(each, each.date("second"), platform));
  }
}

TEST(QXDatePeer, AgreesOnFieldsAndBoundsOfDays) {
  forEachCase(11, 3000, [](const PeerCase& expected, const QXDate& date, DateTestPlatform&) {
    ASSERT_EQ(date.year(), expected.number("year"));
    ASSERT_EQ(date.month(), expected.number("month"));
    ASSERT_EQ(date.day(), expected.number("day"));
    ASSERT_EQ(date.hour(), expected.number("hour"));
    ASSERT_EQ(date.minute(), expected.number("minute"));
    ASSERT_EQ(date.seconds(), expected.number("seconds"));
    ASSERT_EQ(date.weekday(), expected.number("weekday"));
    ASSERT_EQ(date.nthWeekday(), expected.number("nthWeekday"));
    ASSERT_EQ(date.dateAtStartOfDay(), expected.date("startOfDay"));
    ASSERT_EQ(date.dateAtEndOfDay(), expected.date("endOfDay"));
    ASSERT_EQ(date.dateWithYMD(), expected.date("startOfDay"));
  });
}

TEST(QXDatePeer, AgreesOnWeeksOfThreeHabits) {
  forEachCase(12, 3000, [](const PeerCase& expected, const QXDate& date, DateTestPlatform& platform) {
    for (const std::string locale : {"en_US", "zh_CN", "en_GB"}) {
      platform.setLocale(locale);
      ASSERT_EQ(date.week(), expected.number("week" + locale.substr(3))) << locale;
      ASSERT_EQ(std::stoll(date.stringWithFormat("YYYY")), expected.number("yearOfWeek" + locale.substr(3)))
          << locale;
    }
  });
}

TEST(QXDatePeer, AgreesOnTextBothWays) {
  forEachCase(13, 3000, [](const PeerCase& expected, const QXDate& date, DateTestPlatform&) {
    ASSERT_EQ(date.stringWithFormat(kText), expected.text("text"));
    ASSERT_EQ(QXDate::date_WithFormat(expected.text("someText"), kText), expected.date("someMoment"));
  });
}

TEST(QXDatePeer, AgreesOnCalendarArithmetic) {
  forEachCase(14, 3000, [](const PeerCase& expected, const QXDate& date, DateTestPlatform&) {
    ASSERT_EQ(date.dateByAddingDays(expected.number("days")), expected.date("plusDays"));
    ASSERT_EQ(date.dateByAddingMonths(expected.number("months")), expected.date("plusMonths"));
    ASSERT_EQ(date.dateByAddingYears(expected.number("years")), expected.date("plusYears"));
  });
}

TEST(QXDatePeer, AgreesOnDistancesAndComparisons) {
  forEachCase(15, 3000, [](const PeerCase& expected, const QXDate& date, DateTestPlatform&) {
    const QXDate other = expected.date("other");
    ASSERT_EQ(date.distanceInDaysToDate(other), expected.number("daysBetween"));
    ASSERT_EQ(date.daysBeforeDate(other), expected.number("fixedDays"));
    ASSERT_EQ(date.isEqualToDateIgnoringTime(other), expected.number("sameDay") != 0);
    ASSERT_EQ(date.isSameMonthAsDate(other), expected.number("sameMonth") != 0);
  });
}

}  // namespace
}  // namespace orv::qx_date_peer_test
