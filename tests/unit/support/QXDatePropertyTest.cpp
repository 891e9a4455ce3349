#include <orvnetwork/support/QXDate.h>
#include <orvnetwork/testing/SeededRandom.h>

#include <tests/support/CivilTime.h>
#include <tests/support/DateTestPlatform.h>

#include <gtest/gtest.h>

#include <array>
#include <cmath>

namespace orv::qx_date_property_test {
namespace {

using orv::test::DateTestPlatform;
using orv::test::localText;

constexpr std::uint64_t kSeed = 20240131;
constexpr std::array kZones = {"UTC",
                               "America/New_York",
                               "Europe/Berlin",
                               "America/Sao_Paulo",
                               "Australia/Lord_Howe",
                               "Asia/Shanghai",
                               "Asia/Kolkata",
                               "Asia/Kathmandu",
                               "Asia/Tehran",
                               "America/St_Johns",
                               "America/Havana",
                               "Pacific/Apia",
                               "Pacific/Kiritimati",
                               "Pacific/Auckland",
                               "Europe/Dublin",
                               "Africa/Casablanca"};
constexpr std::array kLocales = {"en_US", "zh_CN", "en_GB", "en_US_POSIX", "ar_EG", "th_TH"};

/// A span of seconds without whole days, between half a day back and half a day forward.
std::int64_t withinADay(std::int64_t seconds) {
  return ((seconds + 43'200) % 86'400 + 86'400) % 86'400 - 43'200;
}

/// How far the clocks on the wall are ahead of UTC, in seconds, but for whole days.
std::int64_t clockOffset(double second) {
  const QXDate date{Seconds(second)};
  return date.hour() * 3600 + date.minute() * 60 + date.seconds() - std::llround(std::floor(second));
}

/// Dates of three centuries, users of many zones and locales; half the dates lie near changes of the clocks.
class QXDateProperties : public ::testing::Test {
 protected:
  template <typename Property>
  void forEachDate(int count, const Property& property) {
    for (int i = 0; i < count; ++i) {
      const char* zone = kZones[random_.below(kZones.size())];
      const char* locale = kLocales[random_.below(kLocales.size())];
      platform_.setUser(locale, zone);
      const QXDate date = anyDate();
      SCOPED_TRACE(std::string("seed ") + std::to_string(kSeed) + ", case " + std::to_string(i) + ": " +
                   zone + " " + locale + " " + std::to_string(date.since1970().count()));
      ASSERT_NO_FATAL_FAILURE(property(date));
    }
  }

  std::int64_t between(std::int64_t low, std::int64_t high) {
    return low + static_cast<std::int64_t>(random_.below(static_cast<std::uint64_t>(high - low + 1)));
  }

  orv::testing::SeededRandom random_{kSeed};
  DateTestPlatform& platform_ = DateTestPlatform::install();

 private:
  QXDate anyDate() {
    const QXDate date(Seconds(static_cast<double>(between(-5'000'000'000, 5'000'000'000)) +
                              static_cast<double>(between(0, 7)) / 8));
    return random_.oneIn(2) ? date : nearAChange(date);
  }

  /// A date within two hours of a change in the year after `date`, if there is one.
  QXDate nearAChange(const QXDate& date) {
    double low = std::floor(date.since1970().count());
    const auto offset = clockOffset(low);
    const auto changed = [&](double second) { return withinADay(clockOffset(second) - offset) != 0; };
    double high = low;
    for (int month = 0; month < 12 && !changed(high); ++month) high += 30 * 86'400;
    if (!changed(high)) return date;
    low = high - 30 * 86'400;
    while (high - low > 1) {
      const double middle = std::floor((low + high) / 2);
      (changed(middle) ? high : low) = middle;
    }
    return QXDate(Seconds(high + static_cast<double>(between(-7200, 7200))));
  }
};

/// Whether there was the same local time already, before the clocks went back.
bool isSecondOfTwo(const QXDate& date) {
  const double now = date.since1970().count();
  const auto wentBack = withinADay(clockOffset(now - 4 * 3600) - clockOffset(now));
  return wentBack > 0 && localText(QXDate(Seconds(now - static_cast<double>(wentBack)))) == localText(date);
}

QXDate wholeSecond(const QXDate& date) {
  return QXDate(Seconds(std::floor(date.since1970().count())));
}

TEST_F(QXDateProperties, ADateLiesBetweenTheBoundsOfItsDay) {
  forEachDate(4000, [](const QXDate& date) {
    const QXDate start = date.dateAtStartOfDay();
    const QXDate end = date.dateAtEndOfDay();
    ASSERT_LE(start, date);
    // Of a last hour that is there twice the end is in the first.
    ASSERT_TRUE(isSecondOfTwo(date) || wholeSecond(date) <= end);
    ASSERT_TRUE(start.isEqualToDateIgnoringTime(date));
    // Both lie at the hour, unless the clocks skip that.
    const QXDate beforeStart(start.since1970() - Seconds(1));
    ASSERT_TRUE(localText(start).substr(11) == "00:00:00" || !beforeStart.isEqualToDateIgnoringTime(date));
    if (end.isEqualToDateIgnoringTime(date)) {
      ASSERT_EQ(localText(end).substr(11), "23:59:59");
    } else {
      const QXDate nextStart = date.dateByAddingDays(1).dateAtStartOfDay();
      const QXDate beforeNext(nextStart.since1970() - Seconds(1));
      ASSERT_LT(localText(beforeNext).substr(11), "23:59:59");
    }
  });
}

TEST_F(QXDateProperties, DaysAddedAndTakenAwayLeaveTheDate) {
  int compared = 0;
  forEachDate(4000, [&](const QXDate& date) {
    const std::int64_t days = between(-2000, 2000);
    const QXDate there = date.dateByAddingDays(days);
    const QXDate back = there.dateBySubtractingDays(days);
    ASSERT_EQ(there, date.dateBySubtractingDays(-days));
    const bool movedByAGap = localText(there).substr(11) != localText(date).substr(11);
    if (movedByAGap || isSecondOfTwo(date)) return;
    ASSERT_EQ(back, date);
    ++compared;
  });
  EXPECT_GT(compared, 3500);
}

TEST_F(QXDateProperties, AddedDaysMoveTheDateByThatMany) {
  forEachDate(4000, [&](const QXDate& date) {
    const std::int64_t days = between(-500, 500);
    const QXDate there = date.dateByAddingDays(days);
    // A zone may leave out a whole day, as one did to cross the date line.
    if (localText(there).substr(11) != localText(date).substr(11) || isSecondOfTwo(date)) return;
    ASSERT_NEAR((there.since1970() - date.since1970()).count(), static_cast<double>(days) * 86'400, 90'000);
    ASSERT_EQ(date.isEarlierThanDate(there), days > 0);
    ASSERT_EQ(date.isLaterThanDate(there), days < 0);
  });
}

TEST_F(QXDateProperties, MonthsAndYearsAddedKeepTheDayOrTakeTheLast) {
  forEachDate(4000, [&](const QXDate& date) {
    const std::int64_t months = between(-100, 100);
    const QXDate there = date.dateByAddingMonths(months);
    const std::int64_t monthsFromYearZero = date.year() * 12 + date.month() - 1 + months;
    ASSERT_EQ(there.year() * 12 + there.month() - 1, monthsFromYearZero);
    const bool isLastDay = there.dateByAddingDays(1).month() != there.month();
    ASSERT_TRUE(there.day() == date.day() || (there.day() < date.day() && isLastDay));
    ASSERT_EQ(localText(date.dateByAddingYears(months)), localText(date.dateByAddingMonths(12 * months)));
  });
}

TEST_F(QXDateProperties, BeforeIsTheNegationOfAfter) {
  forEachDate(4000, [&](const QXDate& date) {
    const QXDate other(date.since1970() +
                       Seconds(static_cast<double>(between(-400'000'000, 400'000'000)) / 8));
    ASSERT_EQ(date.minutesBeforeDate(other), -date.minutesAfterDate(other));
    ASSERT_EQ(date.hoursBeforeDate(other), -date.hoursAfterDate(other));
    ASSERT_EQ(date.daysBeforeDate(other), -date.daysAfterDate(other));
    ASSERT_EQ(date.minutesAfterDate(other), -other.minutesAfterDate(date));
    ASSERT_EQ(date.isEarlierThanDate(other), other.isLaterThanDate(date));
    ASSERT_LE(std::abs(date.minutesAfterDate(other)) * 60,
              std::abs((date.since1970() - other.since1970()).count()));
  });
}

TEST_F(QXDateProperties, APatternThatKeepsEverythingReadsBackTheSame) {
  forEachDate(4000, [&](const QXDate& date) {
    // Zones had offsets of odd seconds long ago; those who write them need a letter more.
    ASSERT_EQ(date.dateWithFormatter("yyyy-MM-dd HH:mm:ss.SSS XXXXX"), date);
    const QXDate plain = date.dateWithFormatter("yyyy-MM-dd HH:mm:ss.SSS").value();
    ASSERT_EQ(plain.stringWithFormat("yyyy-MM-dd HH:mm:ss.SSS"),
              date.stringWithFormat("yyyy-MM-dd HH:mm:ss.SSS"));
    ASSERT_TRUE(isSecondOfTwo(date) || plain == date);
  });
}

TEST_F(QXDateProperties, TheDifferenceOfTwoDatesLeadsFromOneToTheOther) {
  forEachDate(3000, [&](const QXDate& any) {
    const QXDate from = wholeSecond(any);
    const QXDate to(from.since1970() + Seconds(static_cast<double>(between(-300'000'000, 300'000'000))));
    const CalendarFields fields = to.componentsWithOffsetFromDate(from);
    for (const auto part : {fields.year, fields.month, fields.weekOfMonth, fields.day, fields.hour,
                            fields.minute, fields.second}) {
      ASSERT_TRUE(to.isLaterThanDate(from) ? part >= 0 : part <= 0);
    }
    ASSERT_LT(std::abs(fields.month), 12);
    ASSERT_LE(std::abs(fields.weekOfMonth), 4);
    ASSERT_LT(std::abs(fields.day), 7);
    const QXDate byCalendar = from.dateByAddingYears(fields.year)
                                  .dateByAddingMonths(fields.month)
                                  .dateByAddingDays(fields.weekOfMonth * 7 + fields.day);
    const double rest = (to.since1970() - byCalendar.since1970()).count();
    const auto counted = static_cast<double>(fields.hour * 3600 + fields.minute * 60 + fields.second);
    ASSERT_EQ(rest, counted);
  });
}

TEST_F(QXDateProperties, WeeksOfTheMonthFollowTheHabitsOfTheLocale) {
  forEachDate(4000, [](const QXDate& date) {
    const Calendar& calendar = QXDate::currentCalendar();
    const auto first = calendar.firstWeekday();
    const auto positionOfThe1st = (((date.weekday() - first - date.day() + 1) % 7) + 7) % 7;
    const auto week = (date.day() + positionOfThe1st - 1) / 7;
    const bool isFirstAWeek = 7 - positionOfThe1st >= calendar.minimalDaysInFirstWeek();
    ASSERT_EQ(date.week(), week + (isFirstAWeek ? 1 : 0));
    ASSERT_EQ(date.nthWeekday(), (date.day() - 1) / 7 + 1);
  });
}

}  // namespace
}  // namespace orv::qx_date_property_test
