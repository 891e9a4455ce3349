#include <orvnetwork/platform/native/NativeSettings.h>

#include <gtest/gtest.h>

#include <cstdlib>

namespace orv {
namespace {

TEST(NativeSettings, LocaleNameComesWithoutCharacterSetAndModifier) {
  EXPECT_EQ(localeNameOfVariable("zh_CN.UTF-8"), "zh_CN");
  EXPECT_EQ(localeNameOfVariable("de_DE@euro"), "de_DE");
  EXPECT_EQ(localeNameOfVariable("de_DE.UTF-8@euro"), "de_DE");
  EXPECT_EQ(localeNameOfVariable("en_GB"), "en_GB");
}

TEST(NativeSettings, PlainLocalesAreReadAsEnUsPosix) {
  for (const char* value : {"", "C", "POSIX", "C.UTF-8", "POSIX.utf8"}) {
    EXPECT_EQ(localeNameOfVariable(value), "en_US_POSIX") << value;
  }
}

TEST(NativeSettings, LocaleVariablesGoByRank) {
  unsetenv("LC_ALL");
  unsetenv("LC_TIME");
  unsetenv("LANG");
  EXPECT_EQ(nativeLocaleName(), "en_US_POSIX");
  setenv("LANG", "zh_CN.UTF-8", 1);
  EXPECT_EQ(nativeLocaleName(), "zh_CN");
  setenv("LC_TIME", "en_GB.UTF-8", 1);
  EXPECT_EQ(nativeLocaleName(), "en_GB");
  setenv("LC_ALL", "", 1);
  EXPECT_EQ(nativeLocaleName(), "en_GB");
  setenv("LC_ALL", "C", 1);
  EXPECT_EQ(nativeLocaleName(), "en_US_POSIX");
}

TEST(NativeSettings, ZoneNameIsTheEndOfAZoneFilesPath) {
  EXPECT_EQ(zoneNameInPath("/usr/share/zoneinfo/Asia/Shanghai"), "Asia/Shanghai");
  EXPECT_EQ(zoneNameInPath("../usr/share/zoneinfo/Etc/UTC"), "Etc/UTC");
  EXPECT_EQ(zoneNameInPath("/usr/share/zoneinfo/posix/Asia/Tokyo"), "Asia/Tokyo");
  EXPECT_EQ(zoneNameInPath("/usr/share/zoneinfo/right/America/Argentina/Ushuaia"),
            "America/Argentina/Ushuaia");
  EXPECT_EQ(zoneNameInPath("/etc/adjtime"), "");
}

TEST(NativeSettings, ARuleOfOneOffsetHasAName) {
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

TEST(NativeSettings, TheZoneIsTheVariablesWhenItNamesOne) {
  for (const char* value : {"Asia/Shanghai", ":Asia/Shanghai", "/usr/share/zoneinfo/Asia/Shanghai",
                            ":/usr/share/zoneinfo/Asia/Shanghai"}) {
    setenv("TZ", value, 1);
    EXPECT_EQ(nativeTimeZoneName(), "Asia/Shanghai") << value;
    EXPECT_TRUE(nativeTimeZone().usedByCLibrary) << value;
  }
  setenv("TZ", "EST5EDT", 1);
  EXPECT_EQ(nativeTimeZoneName(), "EST5EDT");
  setenv("TZ", "CST-8", 1);
  EXPECT_EQ(nativeTimeZoneName(), "GMT+08:00");
  setenv("TZ", "", 1);
  EXPECT_EQ(nativeTimeZoneName(), "UTC");
}

TEST(NativeSettings, TheZoneIsTheSystemsWhenTheVariableNamesNone) {
  unsetenv("TZ");
  const std::string systems = nativeTimeZoneName();
  EXPECT_FALSE(systems.empty());
  for (const char* value : {"No/Where", "../../etc/passwd", "Asia", "EST5EDT4,M3.2.0,M11.1.0"}) {
    setenv("TZ", value, 1);
    EXPECT_EQ(nativeTimeZoneName(), systems) << value;
    EXPECT_FALSE(nativeTimeZone().usedByCLibrary) << value;
  }
}

}  // namespace
}  // namespace orv
