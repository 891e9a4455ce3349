#include <orvnetwork/data/LocaleName.h>

#include <gtest/gtest.h>

namespace orv::locale_name_test {
namespace {

TEST(LocaleName, IsPlainWithoutCharacterSet) {
  EXPECT_EQ(plainLocaleName("zh_CN.UTF-8"), "zh_CN");
  EXPECT_EQ(plainLocaleName("en_GB"), "en_GB");
  EXPECT_EQ(plainLocaleName("ja"), "ja");
}

TEST(LocaleName, OfNoLocaleIsEnglish) {
  for (const char* name : {"", "C", "POSIX", "C.UTF-8", "POSIX.utf8", "C@latin", "@euro", ".UTF-8"}) {
    EXPECT_EQ(plainLocaleName(name), "en_US_POSIX") << name;
  }
}

TEST(LocaleName, HasTheScriptBehindTheLanguage) {
  EXPECT_EQ(plainLocaleName("sr_RS@latin"), "sr_Latn_RS");
  EXPECT_EQ(plainLocaleName("sr_RS.UTF-8@latin"), "sr_Latn_RS");
  EXPECT_EQ(plainLocaleName("sr_RS@latin.UTF-8"), "sr_Latn_RS");
  EXPECT_EQ(plainLocaleName("sr@latin"), "sr_Latn");
  EXPECT_EQ(plainLocaleName("be_BY@latin"), "be_Latn_BY");
  EXPECT_EQ(plainLocaleName("nan_TW@latin"), "nan_Latn_TW");
  EXPECT_EQ(plainLocaleName("uz_UZ@cyrillic"), "uz_Cyrl_UZ");
  EXPECT_EQ(plainLocaleName("ks_IN@devanagari"), "ks_Deva_IN");
  EXPECT_EQ(plainLocaleName("sd_IN@devanagari"), "sd_Deva_IN");
  EXPECT_EQ(plainLocaleName("tt_RU@iqtelif"), "tt_Latn_RU");
  EXPECT_EQ(plainLocaleName("pa_PK@arabic"), "pa_Arab_PK");
}

TEST(LocaleName, KeepsAScriptThatItHas) {
  EXPECT_EQ(plainLocaleName("sr_Latn_RS.UTF-8"), "sr_Latn_RS");
  EXPECT_EQ(plainLocaleName("sr_Cyrl_RS@latin"), "sr_Cyrl_RS");
  EXPECT_EQ(plainLocaleName("sr_Cyrl@latin"), "sr_Cyrl");
}

TEST(LocaleName, HasTheVariantAtItsEnd) {
  EXPECT_EQ(plainLocaleName("ca_ES@valencia"), "ca_ES_VALENCIA");
}

TEST(LocaleName, IsWithoutModifiersOfOtherKinds) {
  for (const char* name :
       {"de_DE@euro", "de_DE.ISO-8859-15@euro", "de_DE@", "de_DE@Latin", "de_DE@abegede"}) {
    EXPECT_EQ(plainLocaleName(name), "de_DE") << name;
  }
}

TEST(LocaleName, KeepsSettings) {
  EXPECT_EQ(plainLocaleName("en_US@calendar=buddhist"), "en_US@calendar=buddhist");
  EXPECT_EQ(plainLocaleName("th_TH.UTF-8@calendar=gregorian;numbers=thai"),
            "th_TH@calendar=gregorian;numbers=thai");
}

}  // namespace
}  // namespace orv::locale_name_test
