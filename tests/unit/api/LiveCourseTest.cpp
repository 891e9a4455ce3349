// The dates and the diagnostic lines of the catalogue, in virtual time and in many zones.

#include <orvnetwork/api/QXAPIHelper.h>

#include <tests/support/LinkFixture.h>

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

namespace orv::live_course_test {
namespace {

using std::chrono::seconds;

class LiveCourse : public LinkFixture {
 protected:
  json::object create(std::uint64_t startTime) {
    QXAPIHelper::
        createLiveCourseWithTitle_startTime_chargeType_price_registeInfo_coverURL_teacher_teacher2_teacherIntro_courseIntro_isTest_keltoOpen_completeBlock_timeoutBlock(
            "t", startTime, 1, 0, 0, {}, {}, {}, {}, {}, false, false, nullptr, nullptr);
    return lastValues();
  }
  std::string startTime(std::uint64_t start) {
    return std::string(std::string_view(create(start).at("startTime").as_string()));
  }
  std::string span(std::int64_t to, std::int64_t from) {
    QXAPIHelper::
        filterCourseWithClassroomID_liveType_start_limit_draft_uID_keyword_toTime_fromTime_completeBlock_timeoutBlock(
            "7", 2, 0, 30, false, 0, {}, QXDate(seconds(to)), QXDate(seconds(from)), nullptr, nullptr);
    const auto values = lastValues();
    return std::string(std::string_view(values.at("fromTime").as_string())) + " to " +
           std::string(std::string_view(values.at("toTime").as_string()));
  }
  json::object lastValues() {
    settle();
    const auto sent = server.requests();
    return sent.empty() ? json::object() : sent.back().at("v").as_object();
  }
};

TEST_F(LiveCourse, TellsTheStartInTheZoneInUse) {
  bringUp();
  const std::vector<std::pair<const char*, const char*>> zones{{"UTC", "2024-01-31 00:45"},
                                                               {"Asia/Shanghai", "2024-01-31 08:45"},
                                                               {"America/New_York", "2024-01-30 19:45"},
                                                               {"Asia/Kathmandu", "2024-01-31 06:30"},
                                                               {"Pacific/Kiritimati", "2024-01-31 14:45"},
                                                               {"Pacific/Pago_Pago", "2024-01-30 13:45"},
                                                               {"America/St_Johns", "2024-01-30 21:15"}};
  for (const auto& [zone, expected] : zones) {
    platform.setTimeZone(zone);
    EXPECT_EQ(startTime(1706661902), expected) << zone;
  }
}

TEST_F(LiveCourse, FollowsDaylightSaving) {
  bringUp();
  platform.setTimeZone("Europe/Berlin");
  // Clocks go from 02:00 to 03:00 on 2024-03-31, and from 03:00 to 02:00 on 2024-10-27.
  EXPECT_EQ(startTime(1711846799), "2024-03-31 01:59");
  EXPECT_EQ(startTime(1711846800), "2024-03-31 03:00");
  EXPECT_EQ(startTime(1729987199), "2024-10-27 01:59");
  EXPECT_EQ(startTime(1729990799), "2024-10-27 02:59");
  EXPECT_EQ(startTime(1729990800), "2024-10-27 02:00");
  EXPECT_EQ(startTime(1729994400), "2024-10-27 03:00");
  platform.setTimeZone("Australia/Lord_Howe");  // half an hour
  EXPECT_EQ(startTime(1712415599), "2024-04-07 01:59");
  EXPECT_EQ(startTime(1712415600), "2024-04-07 01:30");
}

TEST_F(LiveCourse, UsesTheGregorianCalendarAndAsciiDigitsInEveryLocale) {
  bringUp();
  platform.setTimeZone("Asia/Shanghai");
  for (const auto* locale :
       {"en_US_POSIX", "zh_CN", "th_TH", "fa_IR", "ar_EG", "ja_JP@calendar=japanese", "hi_IN"}) {
    platform.setLocale(locale);
    EXPECT_EQ(startTime(1706661902), "2024-01-31 08:45") << locale;
    EXPECT_EQ(span(1706661902, 0), "1970-01-01 08:00:00 to 2024-01-31 08:45:02") << locale;
  }
}

TEST_F(LiveCourse, TellsTheCurrentTimeWhenNoStartIsSet) {
  bringUp();
  platform.setTimeZone("Asia/Shanghai");
  platform.setWallTime(WallTime(seconds(1706661959)) + std::chrono::milliseconds(999));
  auto values = create(0);
  EXPECT_EQ(values.at("startTime").as_string(), "2024-01-31 08:45");
  EXPECT_EQ(values.at("startTimeEnable"), false);
  platform.setWallTime(WallTime(seconds(1706661960)));
  EXPECT_EQ(create(0).at("startTime").as_string(), "2024-01-31 08:46");
  values = create(1);
  EXPECT_EQ(values.at("startTime").as_string(), "1970-01-01 08:00");
  EXPECT_EQ(values.at("startTimeEnable"), true);
}

TEST_F(LiveCourse, TakesAnyStart) {
  bringUp();
  EXPECT_EQ(startTime(253402300799), "9999-12-31 23:59");
  EXPECT_EQ(startTime(253402300800), "10000-01-01 00:00");
  // Where the calendar ends.
  EXPECT_EQ(startTime(UINT64_MAX), startTime(183'882'168'921'600));
  EXPECT_EQ(startTime(std::uint64_t{1} << 63), "5828963-12-20 00:00");
}

TEST_F(LiveCourse, StampsAnUpdateWithAFractionOfASecond) {
  bringUp();
  platform.setWallTime(WallTime(seconds(1706661902)) + std::chrono::milliseconds(250));
  QXAPIHelper::
      coursePostUpdate_title_courseType_coursePrice_startTime_teacher_teacherIntro_intro_coverMediaId_completeBlock_timeoutBlock(
          "8", {}, UINT64_MAX, 0, {}, {}, {}, {}, {}, nullptr, nullptr);
  const auto values = lastValues();
  EXPECT_EQ(values.size(), 2u);
  EXPECT_NEAR(values.at("updatetime").as_double(), 1706661902.25, 1e-5) << "the test's reader rounds";
  EXPECT_NE(server.frames().back().text.find("\"updatetime\" : 1706661902.25"), std::string::npos);
}

}  // namespace
}  // namespace orv::live_course_test
