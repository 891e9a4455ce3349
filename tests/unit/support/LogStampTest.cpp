#include <orvnetwork/dates/Calendar.h>
#include <orvnetwork/dates/DateFormat.h>
#include <orvnetwork/support/detail/LogStamp.h>

#include "FilesTestPlatform.h"

#include <gtest/gtest.h>

namespace orv::log_stamp_test {
namespace {

using namespace std::chrono_literals;

constexpr WallTime at(std::chrono::nanoseconds sinceEpoch) {
  return WallTime(sinceEpoch);
}

class LogStampTest : public ::testing::Test {
 protected:
  test::FilesTestPlatform& platform = test::FilesTestPlatform::install();
  LogStamp stamp;
};

TEST_F(LogStampTest, ShowsLocalTimeWithMillisecondsCutOff) {
  EXPECT_EQ(stamp.of(at(1'706'690'702'345'999'999ns)), "2024/01/31 08:45:02.345");
  EXPECT_EQ(stamp.of(at(1'706'690'702'999'999'999ns)), "2024/01/31 08:45:02.999");
  EXPECT_EQ(stamp.of(at(1'706'690'703'000'000'000ns)), "2024/01/31 08:45:03.000");
  EXPECT_EQ(stamp.of(at(1'706'690'703'007'000'000ns)), "2024/01/31 08:45:03.007");
  EXPECT_EQ(stamp.of(at(1'706'690'702'010'000'000ns)), "2024/01/31 08:45:02.010");
}

TEST_F(LogStampTest, FloorsBefore1970) {
  // The last days of 1969 are in the first week of 1970.
  EXPECT_EQ(stamp.of(at(-1ns)), "1970/12/31 23:59:59.999");
  EXPECT_EQ(stamp.of(at(-1500ms)), "1970/12/31 23:59:58.500");
}

TEST_F(LogStampTest, HasTheYearOfTheWeekAtTheEndOfDecember) {
  const auto lastOf2024 = at(1'735'603'200s);  // 2024-12-31 00:00 UTC, a Tuesday
  EXPECT_EQ(stamp.of(lastOf2024), "2025/12/31 00:00:00.000");
  const auto lastOf2023 = at(1'703'980'800s);  // 2023-12-31, a Sunday
  EXPECT_EQ(stamp.of(lastOf2023), "2024/12/31 00:00:00.000");
  platform.locale = "zh_CN";
  EXPECT_EQ(stamp.of(lastOf2023 + 1s), "2023/12/31 00:00:01.000");
}

TEST_F(LogStampTest, FollowsAChangeOfTheZoneWithTheNextSecond) {
  EXPECT_EQ(stamp.of(at(1'706'690'702s)), "2024/01/31 08:45:02.000");
  platform.zone = "Asia/Shanghai";
  EXPECT_EQ(stamp.of(at(1'706'690'703s)), "2024/01/31 16:45:03.000");
}

TEST_F(LogStampTest, ShowsTheTimeThatDatesShow) {
  // Zones whose rules ICU knows as they were, one that it does not know, and a rule.
  const auto july = at(1'720'000'000s);  // 2024-07-03 09:46:40 UTC
  for (const auto& [zone, expected] : {std::pair{"America/Mexico_City", "2024/07/03 03:46:40.000"},
                                       std::pair{"Africa/Cairo", "2024/07/03 12:46:40.000"},
                                       std::pair{"Asia/Almaty", "2024/07/03 14:46:40.000"},
                                       std::pair{"America/Ciudad_Juarez", "2024/07/03 03:46:40.000"},
                                       std::pair{"XYZ-9ZYX-10,M3.2.0,M11.1.0", "2024/07/03 19:46:40.000"}}) {
    platform.zone = zone;
    EXPECT_EQ(LogStamp().of(july), expected) << zone;
    EXPECT_EQ(DateFormat::withPattern("YYYY/MM/dd HH:mm:ss.SSS").format(secondsSince1970(july)), expected)
        << zone;
  }
}

TEST_F(LogStampTest, ANameOfAFileHasTheCalendarsYear) {
  EXPECT_EQ(logFileStamp(LocalTime::of(at(1'735'603'200s))), "20241231000000");
  EXPECT_EQ(logFileStamp(LocalTime::of(at(1'706'690'702s))), "20240131084502");
}

}  // namespace
}  // namespace orv::log_stamp_test
