#include <orvnetwork/data/ZoneRules.h>
#include <orvnetwork/dates/DateFormat.h>
#include <orvnetwork/dates/icu/IcuPools.h>

#include <tests/support/DateTestPlatform.h>

#include <gtest/gtest.h>

#include <chrono>

namespace orv::date_format_test {
namespace {

constexpr std::string_view kFull = "yyyy-MM-dd HH:mm:ss";

Seconds utc(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
  using namespace std::chrono;
  return Seconds(sys_days(std::chrono::year(year) / month / day).time_since_epoch() + hours(hour) +
                 minutes(minute) + seconds(second));
}

std::string written(std::string_view pattern, Seconds moment, const std::string& locale = "en_US",
                    const std::string& zone = "UTC") {
  return DateFormat::withPattern(pattern, locale, zone).format(moment);
}

std::optional<Seconds> read(std::string_view pattern, std::string_view text,
                            const std::string& locale = "en_US", const std::string& zone = "UTC") {
  return DateFormat::withPattern(pattern, locale, zone).parse(text);
}

TEST(DateFormat, WritesTheFieldsOfAPattern) {
  const Seconds moment = utc(2024, 1, 31, 0, 5, 2);
  EXPECT_EQ(written(kFull, moment, "en_US", "Asia/Shanghai"), "2024-01-31 08:05:02");
  EXPECT_EQ(written("HH':'mm", moment, "en_US", "Asia/Shanghai"), "08:05");
  EXPECT_EQ(written("yyMMdd", moment), "240131");
  EXPECT_EQ(written("EEEE, d MMMM", moment), "Wednesday, 31 January");
  EXPECT_EQ(written("M月d日 EEEE", moment, "zh_CN"), "1月31日 星期三");
  EXPECT_EQ(written("'yyyy' yyyy", moment), "yyyy 2024");
}

TEST(DateFormat, CutsMillisecondsOff) {
  EXPECT_EQ(written("ss.SSS", Seconds(0.9999)), "00.999");
  EXPECT_EQ(written("ss.SSS", Seconds(1'706'690'702.345)), "02.345");
  EXPECT_EQ(written("ss.SSS", Seconds(-0.0001)), "59.999");
  EXPECT_EQ(written("ss.SSS", Seconds(-1.25)), "58.750");
}

TEST(DateFormat, WritesEveryWholeMillisecondAsItself) {
  for (std::int64_t millis = -1'100'000'000'000; millis < 4'000'000'000'000; millis += 7'919'777'333) {
    const auto expected = std::to_string(((millis % 1000) + 1000) % 1000 + 1000).substr(1);
    ASSERT_EQ(written("SSS", Seconds(static_cast<double>(millis) / 1000)), expected) << millis;
  }
}

TEST(DateFormat, WritesTheYearOfTheWeekByTheLocalesHabits) {
  struct Row {
    Seconds moment;
    const char *us, *china, *britain;
  };
  for (const Row& row :
       {Row{utc(2023, 12, 31), "2024", "2023", "2023"}, Row{utc(2024, 12, 29), "2025", "2024", "2024"},
        Row{utc(2024, 12, 30), "2025", "2025", "2025"}, Row{utc(2024, 12, 31), "2025", "2025", "2025"},
        Row{utc(2021, 1, 1), "2021", "2021", "2020"}, Row{utc(2025, 12, 31), "2026", "2026", "2026"}}) {
    EXPECT_EQ(written("YYYY", row.moment, "en_US"), row.us);
    EXPECT_EQ(written("YYYY", row.moment, "zh_CN"), row.china);
    EXPECT_EQ(written("YYYY", row.moment, "en_GB"), row.britain);
    EXPECT_EQ(written("YYYY", row.moment, "de_DE"), row.britain);
    EXPECT_EQ(written("YYYY", row.moment, "C"), row.us);
  }
}

TEST(DateFormat, WritesStylesInTheLocalesWords) {
  const Seconds moment = utc(2024, 1, 31, 0, 45, 2);
  const auto inStyle = [&](int date, int time, const std::string& locale) {
    return DateFormat::withStyles(DateStyle(date), DateStyle(time), locale, "Asia/Shanghai").format(moment);
  };
  EXPECT_EQ(inStyle(1, 1, "en_US"), "1/31/24, 8:45\u202fAM");
  EXPECT_EQ(inStyle(0, 1, "en_US"), "8:45\u202fAM");
  EXPECT_EQ(inStyle(1, 0, "en_US"), "1/31/24");
  EXPECT_EQ(inStyle(2, 2, "en_US"), "Jan 31, 2024, 8:45:02\u202fAM");
  EXPECT_EQ(inStyle(0, 2, "en_US"), "8:45:02\u202fAM");
  EXPECT_EQ(inStyle(2, 0, "en_US"), "Jan 31, 2024");
  EXPECT_EQ(inStyle(3, 3, "en_US"), "January 31, 2024 at 8:45:02\u202fAM GMT+8");
  EXPECT_EQ(inStyle(0, 3, "en_US"), "8:45:02\u202fAM GMT+8");
  EXPECT_EQ(inStyle(3, 0, "en_US"), "January 31, 2024");
  EXPECT_EQ(inStyle(1, 1, "zh_CN"), "2024/1/31 08:45");
  EXPECT_EQ(inStyle(2, 2, "zh_CN"), "2024年1月31日 08:45:02");
  EXPECT_EQ(inStyle(3, 3, "zh_CN"), "2024年1月31日 GMT+8 08:45:02");
  EXPECT_EQ(inStyle(0, 3, "zh_CN"), "GMT+8 08:45:02");
  EXPECT_EQ(inStyle(0, 0, "en_US"), "");
}

TEST(DateFormat, WritesTheLocalesOwnDigitsAndCalendar) {
  EXPECT_EQ(written("yyyy", utc(2024, 1, 31), "ar_EG"), "٢٠٢٤");
  EXPECT_EQ(written("yyyy", utc(2024, 1, 31), "th_TH"), "2567");
}

TEST(DateFormat, WritesNothingForPatternsThatMeanNothing) {
  EXPECT_EQ(written("", utc(2024, 1, 31)), "");
  EXPECT_EQ(written("n", utc(2024, 1, 31)), "");
  EXPECT_EQ(written(std::string(2000, 'y'), utc(2024, 1, 31)), "");
  EXPECT_FALSE(read("n", "1"));
  EXPECT_FALSE(read("", ""));
  EXPECT_FALSE(DateFormat::withStyles(DateStyle::None, DateStyle::None, "en_US", "UTC").parse("2024"));
}

TEST(DateFormat, ReadsTextThatMatches) {
  const Seconds expected = utc(2024, 1, 31, 0, 5, 6);
  for (const char* text :
       {"2024-01-31 08:05:06", " 2024-01-31 08:05:06", "2024-01-31  08:05:06", "2024-01-31 08:05:06 ",
        "2024-01-31 08:05:06\t  ", "2024-1-31 8:05:06", "2024-1-31 08:05:06"}) {
    EXPECT_EQ(read(kFull, text, "en_US", "Asia/Shanghai"), expected) << text;
  }
}

TEST(DateFormat, RefusesTextThatDoesNotMatch) {
  for (const char* text : {"2024-02-30 08:05:06",
                           "2023-02-29 08:05:06",
                           "2024-13-01 08:05:06",
                           "2024-00-10 08:05:06",
                           "2024-01-32 08:05:06",
                           "2024-01-31 24:05:06",
                           "2024-01-31 08:60:06",
                           "2024-01-31 08:05:60",
                           "2024-01-31T08:05:06",
                           "2024/01/31 08:05:06",
                           "2024-01-31 08:05",
                           "2024-01-31 08:05:06.123",
                           "2024-01-31 08:05:06 x",
                           "2024-01-31 08:05:06Z",
                           "2024-01-31",
                           "",
                           " ",
                           "today",
                           "2024-01-1 08:05:06",
                           "2024-01-31 08:5:06",
                           "2024-01-31 08:05:6",
                           "+2024-01-31 08:05:06",
                           "-2024-01-31 08:05:06",
                           "\xff",
                           "2024-01-31 08:05:06\xff"}) {
    EXPECT_FALSE(read(kFull, text)) << text;
  }
  EXPECT_FALSE(read(kFull, std::string_view("2024-01-31 08:05:06\0", 20)));
  EXPECT_FALSE(read(kFull, "2024-01-31 08:05:06" + std::string(5000, ' ')));
  EXPECT_FALSE(read("h:mm a", "13:05 PM"));
}

TEST(DateFormat, TakesAYearOfTwoDigitsAtItsWord) {
  EXPECT_EQ(read("yyyy-MM-dd", "24-01-31"), utc(24, 1, 29));  // the Julian calendar's 31st
  EXPECT_EQ(read("yy-MM-dd", "49-01-01"), utc(2049, 1, 1));
  EXPECT_EQ(read("yy-MM-dd", "50-01-01"), utc(1950, 1, 1));
  EXPECT_EQ(read("yyMMdd", "240131"), utc(2024, 1, 31));
}

TEST(DateFormat, TakesUnsetFieldsFromTheYear2000) {
  EXPECT_EQ(read("HH:mm", "08:05", "en_US", "Asia/Shanghai"), utc(2000, 1, 1, 0, 5));
  EXPECT_EQ(read("HH:mm", "08:05", "en_GB", "UTC"), utc(2000, 1, 1, 8, 5));
  EXPECT_EQ(read("HH:mm", "08:05", "fa_IR", "UTC"), utc(2000, 1, 1, 8, 5));
  EXPECT_EQ(read("HH:mm", "08:05", "th_TH", "UTC"), utc(2000, 1, 1, 8, 5));
  EXPECT_EQ(read("MM-dd", "02-29"), utc(2000, 2, 29));
  EXPECT_EQ(read("yyyy", "2023"), utc(2023, 1, 1));
  EXPECT_EQ(read("h a", "8 PM"), utc(2000, 1, 1, 20));
}

TEST(DateFormat, ReadsAYearOfTheWeekWithMonthAndDayAsThePlainDate) {
  for (const char* locale : {"en_US", "zh_CN", "en_GB"}) {
    EXPECT_EQ(read("YYYY-MM-dd", "2024-12-31", locale), utc(2024, 12, 31)) << locale;
    EXPECT_EQ(read("YYYY-MM-dd", "2021-01-01", locale), utc(2021, 1, 1)) << locale;
    EXPECT_EQ(read("YYYY-MM-dd", "2024-06-15", locale), utc(2024, 6, 15)) << locale;
  }
  // In quotes the letter is none.
  EXPECT_EQ(read("'Y'HH", "Y08"), utc(2000, 1, 1, 8));
}

TEST(DateFormat, MovesALocalTimeForwardThatTheClocksLeaveOut) {
  EXPECT_EQ(read(kFull, "2024-03-10 02:30:00", "en_US", "America/New_York"), utc(2024, 3, 10, 7, 30));
  EXPECT_EQ(read("yyyy-MM-dd", "2018-11-04", "en_US", "America/Sao_Paulo"), utc(2018, 11, 4, 3));
  EXPECT_EQ(read(kFull, "2024-10-06 02:10:00", "en_US", "Australia/Lord_Howe"), utc(2024, 10, 5, 15, 40));
}

TEST(DateFormat, TakesTheFirstOfTwoEqualLocalTimes) {
  EXPECT_EQ(read(kFull, "2024-11-03 01:30:00", "en_US", "America/New_York"), utc(2024, 11, 3, 5, 30));
  EXPECT_EQ(read(kFull, "2024-10-27 02:30:00", "en_US", "Europe/Berlin"), utc(2024, 10, 27, 0, 30));
  EXPECT_EQ(read(kFull, "2024-04-07 01:45:00", "en_US", "Australia/Lord_Howe"), utc(2024, 4, 6, 14, 45));
  EXPECT_EQ(read("yyyy-MM-dd HH:mm:ss zzz", "2024-11-03 01:30:00 EST", "en_US", "America/New_York"),
            utc(2024, 11, 3, 6, 30));
}

TEST(DateFormat, ReadsAZoneThatTheTextNames) {
  EXPECT_EQ(read("yyyy-MM-dd'T'HH:mm:ssZ", "2024-01-31T08:05:06+0300", "en_US", "Asia/Shanghai"),
            utc(2024, 1, 31, 5, 5, 6));
}

TEST(DateFormat, ReadsAZoneByTheSystemsRules) {
  // ICU's own rules give Mexico City a summer time in 2024, and do not know that of Cairo.
  const auto readZone = [](const char* text) {
    return read("yyyy-MM-dd HH:mm VV", text, "en_US", "Asia/Shanghai");
  };
  EXPECT_EQ(readZone("2024-07-03 12:00 America/Mexico_City"), utc(2024, 7, 3, 18));
  EXPECT_EQ(readZone("2024-07-03 12:00 Africa/Cairo"), utc(2024, 7, 3, 9));
  EXPECT_EQ(readZone("2024-11-03 01:30 America/New_York"), utc(2024, 11, 3, 5, 30)) << "the first of two";
  EXPECT_EQ(readZone("2024-07-03 12:00 Asia/Shanghai"), utc(2024, 7, 3, 4));
}

TEST(DateFormat, KeepsItsZoneAfterReadingAnother) {
  const DateFormat format = DateFormat::withPattern("yyyy-MM-dd'T'HH:mm:ssZ", "en_US", "Asia/Shanghai");
  for (const char* text : {"2024-01-31T08:05:06+0300", "2024-01-31T08:05:06+0300?"}) {
    format.parse(text);
    EXPECT_EQ(format.format(utc(2024, 1, 31)), "2024-01-31T08:00:00+0800") << text;
  }
}

TEST(DateFormat, WritesTheZoneInTheLocalesWords) {
  const auto zoneText = [](const char* pattern, const char* zone, int month, const char* locale = "en_US") {
    return written(pattern, utc(2024, month, 1), locale, zone);
  };
  EXPECT_EQ(zoneText("zzzz", "America/New_York", 1), "Eastern Standard Time");
  EXPECT_EQ(zoneText("zzzz", "America/New_York", 7), "Eastern Daylight Time");
  EXPECT_EQ(zoneText("zzz", "America/New_York", 7), "EDT");
  EXPECT_EQ(zoneText("vvvv", "America/New_York", 7), "Eastern Time");
  EXPECT_EQ(zoneText("VV", "America/New_York", 7), "America/New_York");
  EXPECT_EQ(zoneText("zzzz", "Europe/Dublin", 1), "Greenwich Mean Time");
  EXPECT_EQ(zoneText("zzzz", "Europe/Dublin", 7), "Irish Standard Time");
  EXPECT_EQ(zoneText("zzzz", "Asia/Shanghai", 7, "zh_CN"), "中国标准时间");
  EXPECT_EQ(zoneText("zzzz", "America/Mexico_City", 7), "Central Standard Time");
  EXPECT_EQ(zoneText("xxx", "America/Mexico_City", 7), "-06:00");
  // Those without words.
  EXPECT_EQ(zoneText("zzzz", "America/Ciudad_Juarez", 7), "GMT-06:00");
  EXPECT_EQ(zoneText("zzzz", "XYZ-9ZYX-10,M3.2.0,M11.1.0", 7), "GMT+10:00");
  EXPECT_EQ(zoneText("zzzz", "GMT+08:00", 7), "GMT+08:00");
}

TEST(DateFormat, TakesAZoneItself) {
  const auto zone = std::make_shared<const TimeZone>(TimeZone{"Here", ZoneRules::ofOffset(5 * 3600 + 1800)});
  EXPECT_EQ(DateFormat::withPattern(kFull, "en_US", zone).format(utc(2024, 1, 31)), "2024-01-31 05:30:00");
  EXPECT_EQ(DateFormat::withPattern(kFull, "en_US", zone).parse("2024-01-31 05:30:00"), utc(2024, 1, 31));
  EXPECT_EQ(DateFormat::withStyles(DateStyle::None, DateStyle::Short, "en_GB", zone).format(utc(2024, 1, 31)),
            "05:30");
  EXPECT_EQ(DateFormat::withPattern(kFull, "en_US", TimeZonePtr()).format(utc(2024, 1, 31)),
            "2024-01-31 00:00:00");
}

TEST(DateFormat, WritesInTheScriptOfTheLocale) {
  const Seconds moment = utc(2024, 1, 31);
  EXPECT_EQ(written("EEEE", moment, "sr_RS"), "среда");
  EXPECT_EQ(written("EEEE", moment, "sr_RS@latin"), "sreda");
  EXPECT_EQ(written("EEEE", moment, "sr_RS.UTF-8@latin"), "sreda");
  EXPECT_EQ(written("EEEE", moment, "uz_UZ"), "chorshanba");
  EXPECT_EQ(written("EEEE", moment, "uz_UZ@cyrillic"), "чоршанба");
  EXPECT_EQ(written("EEEE", moment, "de_DE@euro"), "Mittwoch");
}

TEST(DateFormat, ReadsItsStylesAgain) {
  const Seconds moment = utc(2024, 1, 31, 8, 45, 2);
  for (const char* locale : {"en_US", "zh_CN", "en_GB", "de_DE", "ja_JP"}) {
    const DateFormat format = DateFormat::withStyles(DateStyle::Medium, DateStyle::Medium, locale, "UTC");
    EXPECT_EQ(format.parse(format.format(moment)), moment) << locale;
  }
}

TEST(DateFormat, KeepsToTheSettingsOfItsMaking) {
  auto& platform = test::DateTestPlatform::install("en_US", "UTC");
  const DateFormat before = DateFormat::withPattern("EEEE HH");
  platform.setUser("zh_CN", "Asia/Shanghai");
  const Seconds moment = utc(2024, 1, 31, 8);
  EXPECT_EQ(before.format(moment), "Wednesday 08");
  EXPECT_EQ(DateFormat::withPattern("EEEE HH").format(moment), "星期三 16");
}

TEST(DateFormat, MakesOneEngineForWhatStaysTheSame) {
  for (int i = 0; i < 100; ++i) written(kFull, Seconds(i));
  EXPECT_EQ(dateFormatPool().made(), 1u);
  written(kFull, Seconds(0), "zh_CN");
  written(kFull, Seconds(0), "en_US", "Asia/Shanghai");
  written("yyyy", Seconds(0));
  EXPECT_EQ(dateFormatPool().made(), 4u);
}

TEST(DateFormat, KeepsABoundedNumberOfEngines) {
  for (int i = 0; i < 100; ++i) {
    EXPECT_EQ(written("yyyy'" + std::to_string(i) + "'", Seconds(0)), "1970" + std::to_string(i));
  }
  EXPECT_LE(dateFormatPool().atRest(), 32u);
}

}  // namespace
}  // namespace orv::date_format_test
