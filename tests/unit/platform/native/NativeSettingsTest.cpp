#include <orvnetwork/platform/native/NativeSettings.h>

#include <gtest/gtest.h>

#include <cstdlib>

namespace orv::native_settings_test {
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

TEST(NativeSettings, TheScriptOfALocaleCounts) {
  EXPECT_EQ(localeNameOfVariable("sr_RS@latin"), "sr_Latn_RS");
  EXPECT_EQ(localeNameOfVariable("sr_RS.UTF-8@latin"), "sr_Latn_RS");
  setenv("LC_ALL", "uz_UZ.UTF-8@cyrillic", 1);
  EXPECT_EQ(nativeLocaleName(), "uz_Cyrl_UZ");
}

}  // namespace
}  // namespace orv::native_settings_test
