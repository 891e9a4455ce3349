#include <orvnetwork/dates/icu/IcuZone.h>
#include <orvnetwork/platform/TimeZones.h>

#include <gtest/gtest.h>
#include <unicode/gregocal.h>

namespace orv::icu_zone_test {
namespace {

constexpr UDate kWinter = 1'706'690'702'345;  // 2024-01-31 08:45:02 UTC
constexpr UDate kSummer = 1'720'000'000'000;  // 2024-07-03
constexpr int32_t kHour = 3'600'000;

struct Offsets {
  int32_t raw = 0, summer = 0;
};

Offsets offsetsOf(const icu::TimeZone& zone, UDate date, bool local = false) {
  Offsets offsets;
  UErrorCode status = U_ZERO_ERROR;
  zone.getOffset(date, local ? 1 : 0, offsets.raw, offsets.summer, status);
  EXPECT_TRUE(U_SUCCESS(status));
  return offsets;
}

IcuZone zoneOf(const char* name) {
  return IcuZone(timeZoneNamed(name));
}

TEST(IcuZone, TellsTheOffsetsOfTheRules) {
  const IcuZone zone = zoneOf("America/New_York");
  EXPECT_EQ(offsetsOf(zone, kWinter).raw, -5 * kHour);
  EXPECT_EQ(offsetsOf(zone, kWinter).summer, 0);
  EXPECT_EQ(offsetsOf(zone, kSummer).raw, -5 * kHour);
  EXPECT_EQ(offsetsOf(zone, kSummer).summer, kHour);
  EXPECT_EQ(offsetsOf(zone, -1e13).raw, -17'762'000) << "local mean time";
}

TEST(IcuZone, RoundsAMomentDownToItsSecond) {
  const IcuZone zone = zoneOf("America/New_York");
  constexpr UDate kChange = 1'710'054'000'000;  // 2024-03-10 07:00 UTC
  EXPECT_EQ(offsetsOf(zone, kChange - 1).summer, 0);
  EXPECT_EQ(offsetsOf(zone, kChange).summer, kHour);
}

TEST(IcuZone, TakesTheFirstOfTwoEqualLocalTimesAndTheOffsetBeforeOneLeftOut) {
  const IcuZone zone = zoneOf("America/New_York");
  const auto total = [&](UDate local) {
    const Offsets offsets = offsetsOf(zone, local, true);
    return (offsets.raw + offsets.summer) / kHour;
  };
  EXPECT_EQ(total(1'730'597'400'000), -4);  // 2024-11-03 01:30
  EXPECT_EQ(total(1'730'601'000'000), -5);  // 02:30
  EXPECT_EQ(total(1'710'037'800'000), -5);  // 2024-03-10 02:30
  EXPECT_EQ(total(1'710'041'400'000), -4);  // 03:30
}

TEST(IcuZone, LeavesIcuToSayWhatIsSummerTime) {
  // The collection tells of a winter time an hour behind, ICU's words of a summer time an hour ahead.
  const IcuZone dublin = zoneOf("Europe/Dublin");
  EXPECT_EQ(offsetsOf(dublin, kWinter).raw, 0);
  EXPECT_EQ(offsetsOf(dublin, kWinter).summer, 0);
  EXPECT_EQ(offsetsOf(dublin, kSummer).summer, kHour);
  UErrorCode status = U_ZERO_ERROR;
  EXPECT_FALSE(dublin.inDaylightTime(kWinter, status));
  EXPECT_TRUE(dublin.inDaylightTime(kSummer, status));
}

TEST(IcuZone, GoesByTheRulesWhereIcuKnowsOthers) {
  const IcuZone mexico = zoneOf("America/Mexico_City");
  EXPECT_EQ(offsetsOf(mexico, kSummer).raw, -6 * kHour);
  EXPECT_EQ(offsetsOf(mexico, kSummer).summer, 0);
  const IcuZone cairo = zoneOf("Africa/Cairo");
  EXPECT_EQ(offsetsOf(cairo, kSummer).raw, 2 * kHour);
  EXPECT_EQ(offsetsOf(cairo, kSummer).summer, kHour);
}

TEST(IcuZone, KnowsZonesThatIcuDoesNot) {
  const IcuZone juarez = zoneOf("America/Ciudad_Juarez");
  EXPECT_EQ(offsetsOf(juarez, kSummer).raw, -7 * kHour);
  EXPECT_EQ(offsetsOf(juarez, kSummer).summer, kHour);
  EXPECT_TRUE(juarez.useDaylightTime());
  const IcuZone rule = zoneOf("XYZ-9ZYX-10,M3.2.0,M11.1.0");
  EXPECT_EQ(offsetsOf(rule, kSummer).raw + offsetsOf(rule, kSummer).summer, 10 * kHour);
  EXPECT_FALSE(zoneOf("GMT+08:00").useDaylightTime());
}

TEST(IcuZone, EqualsItsCopiesAndNoOther) {
  const IcuZone zone = zoneOf("America/New_York");
  const std::unique_ptr<icu::TimeZone> copy(zone.clone());
  EXPECT_TRUE(zone == *copy);
  EXPECT_TRUE(zone.hasSameRules(*copy));
  EXPECT_EQ(offsetsOf(*copy, kSummer).summer, kHour);
  const IcuZone alike(std::make_shared<const TimeZone>(TimeZone{"America/New_York", {}}));
  EXPECT_FALSE(alike == *copy);
  const std::unique_ptr<icu::TimeZone> icus(icu::TimeZone::createTimeZone("America/New_York"));
  EXPECT_FALSE(zone == *icus);
  EXPECT_FALSE(zone.hasSameRules(*icus));
  EXPECT_EQ(copy->getDynamicClassID(), IcuZone::getStaticClassID());
  EXPECT_NE(copy->getDynamicClassID(), icus->getDynamicClassID());
}

TEST(IcuZone, AnswersTheOldQuestionsByFields) {
  const IcuZone zone = zoneOf("America/New_York");
  UErrorCode status = U_ZERO_ERROR;
  EXPECT_EQ(
      zone.getOffset(icu::GregorianCalendar::AD, 2024, UCAL_JULY, 3, UCAL_WEDNESDAY, 12 * kHour, status),
      -4 * kHour);
  EXPECT_EQ(zone.getOffset(icu::GregorianCalendar::AD, 2024, UCAL_JANUARY, 31, UCAL_WEDNESDAY, 0, 31, status),
            -5 * kHour);
  EXPECT_EQ(zone.getOffset(icu::GregorianCalendar::BC, 1, UCAL_JANUARY, 1, UCAL_SATURDAY, 0, status),
            -17'762'000);
  EXPECT_EQ(zone.getRawOffset(), -5 * kHour);
  EXPECT_TRUE(U_SUCCESS(status));
}

TEST(IcuZone, DoesNothingAfterAnEarlierFailure) {
  const IcuZone zone = zoneOf("America/New_York");
  UErrorCode status = U_ILLEGAL_ARGUMENT_ERROR;
  int32_t raw = 1, summer = 1;
  zone.getOffset(kSummer, 0, raw, summer, status);
  EXPECT_EQ(raw, 0);
  EXPECT_EQ(summer, 0);
  EXPECT_EQ(zone.getOffset(icu::GregorianCalendar::AD, 2024, UCAL_JULY, 3, UCAL_WEDNESDAY, 0, status), 0);
  EXPECT_EQ(status, U_ILLEGAL_ARGUMENT_ERROR);
}

}  // namespace
}  // namespace orv::icu_zone_test
