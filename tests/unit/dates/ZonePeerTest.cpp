// Offsets and local times of every zone of the system's collection, beside those of another reader of zone files.

#include <orvnetwork/dates/Calendar.h>
#include <orvnetwork/dates/DateFormat.h>
#include <orvnetwork/dates/LocalTime.h>
#include <orvnetwork/platform/TimeZones.h>

#include <tests/support/ZonePeer.h>

#include <gtest/gtest.h>

#include <chrono>

namespace orv::zone_peer_test {
namespace {

using test::ZonePeerCase;

/// ICU's calendar is the Julian one until 1582.
constexpr std::int64_t kFirstGregorian = -11'000'000'000;
constexpr std::size_t kZones = 300;
constexpr std::size_t kMoments = 100'000;

Seconds seconds(std::int64_t count) {
  return Seconds(static_cast<double>(count));
}

/// A local time by its fields, as if the clock on the wall showed UTC.
template <typename Fields>
std::int64_t localSeconds(const Fields& fields) {
  using namespace std::chrono;
  const sys_days day =
      year(static_cast<int>(fields.year)) / static_cast<int>(fields.month) / static_cast<int>(fields.day);
  return day.time_since_epoch().count() * std::int64_t{86'400} + fields.hour * 3600 + fields.minute * 60 +
         fields.second;
}

CalendarFields fieldsOf(std::int64_t localTime) {
  const LocalTime time = LocalTime::ofSeconds(localTime, TimeZone());
  CalendarFields fields;
  fields.year = time.year;
  fields.month = time.month;
  fields.day = time.day;
  fields.hour = time.hour;
  fields.minute = time.minute;
  fields.second = time.second;
  return fields;
}

void checkRules(const ZonePeerCase& expected, const TimeZone& zone) {
  for (const auto& [moment, offset, back] : expected.moments) {
    ASSERT_EQ(zone.rules.at(moment).seconds, offset) << moment;
    ASSERT_EQ(zone.rules.momentOf(moment + offset), back) << moment;
    ASSERT_EQ(localSeconds(LocalTime::ofSeconds(moment, zone)), moment + offset) << moment;
  }
  for (const auto& [localTime, moment] : expected.leftOut) {
    ASSERT_EQ(zone.rules.momentOf(localTime), moment) << localTime;
  }
}

void checkCalendar(const ZonePeerCase& expected, const TimeZonePtr& zone) {
  const Calendar calendar(Calendar::Kind::OfLocale, "en_US", zone);
  for (const auto& [moment, offset, back] : expected.moments) {
    if (moment < kFirstGregorian) continue;
    const CalendarFields fields = calendar.fields(seconds(moment));
    ASSERT_EQ(localSeconds(fields), moment + offset) << moment;
    ASSERT_EQ(calendar.moment(fields), seconds(back)) << moment;
  }
  for (const auto& [localTime, moment] : expected.leftOut) {
    ASSERT_EQ(calendar.moment(fieldsOf(localTime)), seconds(moment)) << localTime;
  }
}

void checkFormat(const ZonePeerCase& expected, const TimeZonePtr& zone) {
  const DateFormat format = DateFormat::withPattern("uuuu-MM-dd HH:mm:ss", "en_US", zone);
  const DateFormat inUtc = DateFormat::withPattern("uuuu-MM-dd HH:mm:ss", "en_US", "UTC");
  for (std::size_t i = 0; i < expected.moments.size(); i += 7) {
    const auto& [moment, offset, back] = expected.moments[i];
    const std::string text = inUtc.format(seconds(moment + offset));
    ASSERT_EQ(format.format(seconds(moment)), text) << moment;
    if (moment >= kFirstGregorian) {
      ASSERT_EQ(format.parse(text), seconds(back)) << moment;
    }
  }
  for (const auto& [localTime, moment] : expected.leftOut) {
    ASSERT_EQ(format.parse(inUtc.format(seconds(localTime))), seconds(moment)) << localTime;
  }
}

TEST(ZonePeer, AgreesInEveryZoneAtEveryChangeOfTheClocksAndAtRandomMoments) {
  const std::vector<ZonePeerCase> cases = test::casesOfZonePeer(1);
  ASSERT_GT(cases.size(), kZones);
  std::size_t moments = 0;
  for (const ZonePeerCase& each : cases) {
    SCOPED_TRACE(each.zone);
    const TimeZonePtr zone = findTimeZone(each.zone);
    ASSERT_NE(zone, nullptr);
    EXPECT_EQ(zone->name, each.zone);
    ASSERT_NO_FATAL_FAILURE(checkRules(each, *zone));
    ASSERT_NO_FATAL_FAILURE(checkCalendar(each, zone));
    ASSERT_NO_FATAL_FAILURE(checkFormat(each, zone));
    moments += each.moments.size();
  }
  EXPECT_GT(moments, kMoments);
}

}  // namespace
}  // namespace orv::zone_peer_test
