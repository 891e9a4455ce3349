#include <orvnetwork/support/QXDate.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <string>
#include <tuple>

namespace orv::qx_date_operations_test {
namespace {

// The operations with their types, which do not compile when one is missing or has another form.
using Number = std::int64_t;
using Whole = Number (QXDate::*)() const;
using Distance = Number (QXDate::*)(const QXDate&) const;
using Test = bool (QXDate::*)() const;
using Comparison = bool (QXDate::*)(const QXDate&) const;
using Text = std::string (QXDate::*)() const;
using Other = QXDate (QXDate::*)() const;
using Shift = QXDate (QXDate::*)(Number) const;
using MakeAtOnce = QXDate (*)();
using MakeBy = QXDate (*)(Number);

constexpr std::array kMakeAtOnce = std::to_array<MakeAtOnce>({&QXDate::dateTomorrow, &QXDate::dateYesterday});
constexpr std::array kMakeBy = std::to_array<MakeBy>(
    {&QXDate::dateWithDaysFromNow, &QXDate::dateWithDaysBeforeNow, &QXDate::dateWithHoursFromNow,
     &QXDate::dateWithHoursBeforeNow, &QXDate::dateWithMinutesFromNow, &QXDate::dateWithMinutesBeforeNow});
constexpr std::array kTexts =
    std::to_array<Text>({&QXDate::shortString, &QXDate::shortTimeString, &QXDate::shortDateString,
                         &QXDate::mediumString, &QXDate::mediumTimeString, &QXDate::mediumDateString,
                         &QXDate::longString, &QXDate::longTimeString, &QXDate::longDateString});
constexpr std::array kTests = std::to_array<Test>(
    {&QXDate::isToday, &QXDate::isTomorrow, &QXDate::isYesterday, &QXDate::isThisWeek, &QXDate::isNextWeek,
     &QXDate::isLastWeek, &QXDate::isThisMonth, &QXDate::isNextMonth, &QXDate::isLastMonth,
     &QXDate::isThisYear, &QXDate::isNextYear, &QXDate::isLastYear, &QXDate::isInFuture, &QXDate::isInPast,
     &QXDate::isTypicallyWeekend, &QXDate::isTypicallyWorkday});
constexpr std::array kComparisons = std::to_array<Comparison>(
    {&QXDate::isEqualToDateIgnoringTime, &QXDate::isSameWeekAsDate, &QXDate::isSameMonthAsDate,
     &QXDate::isSameYearAsDate, &QXDate::isEarlierThanDate, &QXDate::isLaterThanDate});
constexpr std::array kShifts = std::to_array<Shift>(
    {&QXDate::dateByAddingYears, &QXDate::dateByAddingMonths, &QXDate::dateByAddingDays,
     &QXDate::dateBySubtractingYears, &QXDate::dateBySubtractingMonths, &QXDate::dateBySubtractingDays,
     &QXDate::dateByAddingHours, &QXDate::dateByAddingMinutes, &QXDate::dateBySubtractingHours,
     &QXDate::dateBySubtractingMinutes});
constexpr std::array kOthers =
    std::to_array<Other>({&QXDate::dateWithYMD, &QXDate::dateAtStartOfDay, &QXDate::dateAtEndOfDay});
constexpr std::array kDistances = std::to_array<Distance>(
    {&QXDate::minutesAfterDate, &QXDate::minutesBeforeDate, &QXDate::hoursAfterDate, &QXDate::hoursBeforeDate,
     &QXDate::daysAfterDate, &QXDate::daysBeforeDate, &QXDate::distanceInDaysToDate});
constexpr std::array kWholes = std::to_array<Whole>(
    {&QXDate::nearestHour, &QXDate::hour, &QXDate::minute, &QXDate::seconds, &QXDate::day, &QXDate::month,
     &QXDate::year, &QXDate::week, &QXDate::weekday, &QXDate::nthWeekday});

using OwnForms =
    std::tuple<const Calendar& (*)(), std::optional<QXDate> (*)(std::string_view, std::string_view),
               std::string (QXDate::*)(std::string_view) const,
               std::string (QXDate::*)(DateStyle, DateStyle) const,
               std::optional<QXDate> (QXDate::*)(std::string_view) const,
               CalendarFields (QXDate::*)(const QXDate&) const>;
[[maybe_unused]] constexpr OwnForms kOwnForms{
    &QXDate::currentCalendar,   &QXDate::date_WithFormat,
    &QXDate::stringWithFormat,  &QXDate::stringWithDateStyle_timeStyle,
    &QXDate::dateWithFormatter, &QXDate::componentsWithOffsetFromDate};

constexpr std::size_t kOperations = 75;

TEST(QXDateOperations, ThereAreSeventyFive) {
  EXPECT_EQ(kMakeAtOnce.size() + kMakeBy.size() + kTexts.size() + kTests.size() + kComparisons.size() +
                kShifts.size() + kOthers.size() + kDistances.size() + kWholes.size() +
                std::tuple_size_v<OwnForms>,
            kOperations);
}

TEST(QXDateOperations, TheHeaderDeclaresThemAndNothingElseThatCouldBeTakenForOne) {
  std::ifstream file(ORV_TEST_SOURCE_DIR "/../orvnetwork/support/QXDate.h");
  const std::string header{std::istreambuf_iterator<char>(file), {}};
  const std::size_t begin = header.find("/// @name Making dates");
  const std::string operations = header.substr(begin, header.find(" private:") - begin);
  const std::regex declaration(R"((\w+)\((?:[^()]|\n)*\)(?: const)?;)");
  std::set<std::string> names;
  for (std::sregex_iterator match(operations.begin(), operations.end(), declaration), end; match != end;
       ++match) {
    names.insert((*match)[1]);
  }
  EXPECT_EQ(names.size(), kOperations);
  EXPECT_TRUE(names.contains("stringWithDateStyle_timeStyle"));
  EXPECT_TRUE(names.contains("date_WithFormat"));
}

}  // namespace
}  // namespace orv::qx_date_operations_test
