#include <orvnetwork/platform/native/zones/ZoneNames.h>

#include <gtest/gtest.h>

namespace orv::zone_names_test {
namespace {

TEST(ZoneNames, ZoneNameIsTheEndOfAZoneFilesPath) {
  EXPECT_EQ(zoneNameInPath("/usr/share/zoneinfo/Asia/Shanghai"), "Asia/Shanghai");
  EXPECT_EQ(zoneNameInPath("../usr/share/zoneinfo/Etc/UTC"), "Etc/UTC");
  EXPECT_EQ(zoneNameInPath("/usr/share/zoneinfo/posix/Asia/Tokyo"), "Asia/Tokyo");
  EXPECT_EQ(zoneNameInPath("/usr/share/zoneinfo/right/America/Argentina/Ushuaia"),
            "America/Argentina/Ushuaia");
  EXPECT_EQ(zoneNameInPath("/etc/adjtime"), "");
}

TEST(ZoneNames, ARuleOfOneOffsetHasAName) {
  EXPECT_EQ(fixedOffsetZoneName("CST-8"), "GMT+08:00");
  EXPECT_EQ(fixedOffsetZoneName("<+0530>-05:30"), "GMT+05:30");
  EXPECT_EQ(fixedOffsetZoneName("EST5"), "GMT-05:00");
  EXPECT_EQ(fixedOffsetZoneName("XYZ+11"), "GMT-11:00");
  EXPECT_EQ(fixedOffsetZoneName("UTC0"), "UTC");
  for (const char* rule : {"", "EST5EDT", "EST5EDT,M3.2.0,M11.1.0", "AB3", "<+05-5", "CST",
                           "CST-8:", "CST-99", "No/Where", "CST-8x"}) {
    EXPECT_EQ(fixedOffsetZoneName(rule), "") << rule;
  }
}

TEST(ZoneNames, AnOffsetHasAName) {
  EXPECT_EQ(offsetZoneName(0), "UTC");
  EXPECT_EQ(offsetZoneName(28'800), "GMT+08:00");
  EXPECT_EQ(offsetZoneName(-12'600), "GMT-03:30");
  EXPECT_EQ(offsetZoneName(-3'723), "GMT-01:02:03");
}

TEST(ZoneNames, AFolderOfVariantsIsNoPartOfAName) {
  EXPECT_EQ(plainZoneName("posix/Asia/Tokyo"), "Asia/Tokyo");
  EXPECT_EQ(plainZoneName("right/UTC"), "UTC");
  EXPECT_EQ(plainZoneName("Asia/Tokyo"), "Asia/Tokyo");
}

}  // namespace
}  // namespace orv::zone_names_test
