// Lists of courses: pages, filters and orders, and what a course in them looks like.

#include "tests/devserver/ServerTest.h"

#include <algorithm>
#include <ctime>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace orv::test::course_lists_test {
namespace {

class CourseLists : public ServerTest {
 protected:
  /// A page as the course catalogue asks for it.
  json::array recorded(int page, json::object more = {}) {
    json::object values{
        {"classroomID", "5001"}, {"start", page}, {"liveType", 2}, {"limit", 30}, {"draft", false}};
    for (auto& [key, value] : more) values[key] = value;
    return list(client().request("Course.Get.Items", values));
  }
  json::array live(int status, json::object more = {}) {
    json::object values{
        {"start", 1}, {"limit", 30}, {"classroomID", 5001}, {"uID", 100'001}, {"status", status}};
    if (status == 1) values["order"] = "asc";
    values["test"] = 0;
    for (auto& [key, value] : more) values[key] = value;
    return list(client().request("Course.Get.Coming", values));
  }
  RawClient& client() {
    if (!client_) client_.emplace(signedIn());
    return *client_;
  }

 private:
  std::optional<RawClient> client_;
};

TEST_F(CourseLists, CourseHoldsEveryMemberThatClientsRead) {
  const json::object course = live(3).at(0).as_object();
  for (const char* key : {"videoType",
                          "seriesType",
                          "status",
                          "title",
                          "coverUrl",
                          "flvUrl",
                          "rtmpUrl",
                          "hlsUrl",
                          "viewCnt",
                          "duration",
                          "rolename",
                          "updatetime",
                          "whiteboardDataID",
                          "uID",
                          "cover",
                          "startTimeEnable",
                          "courseType",
                          "pptStatus",
                          "addtime",
                          "roomID",
                          "tvSeries",
                          "liveType",
                          "classroomID",
                          "role",
                          "income",
                          "startTime",
                          "enrolmentCnt",
                          "coursePrice",
                          "publishStatus",
                          "videoUrl",
                          "videoStatus",
                          "host",
                          "liveStatus",
                          "publishUrl",
                          "teacher",
                          "teacherIntro",
                          "intro",
                          "liveCommand",
                          "nick",
                          "userpic",
                          "livePauseRemainingTime",
                          "liveStartTime",
                          "liveTime",
                          "test",
                          "liveDuration",
                          "shareUrl",
                          "kelto_open"}) {
    EXPECT_TRUE(course.contains(key)) << key;
  }
}

TEST_F(CourseLists, RecordedCoursesComeInPagesByDescendingRoom) {
  const json::array first = recorded(1), second = recorded(2);
  EXPECT_EQ(first.size(), 30u);
  EXPECT_EQ(second.size(), 21u);
  EXPECT_TRUE(recorded(3).empty());
  EXPECT_TRUE(recorded(1'000'000'000).empty());
  EXPECT_EQ(recorded(0), first) << "0 means the first page too";
  std::vector<std::int64_t> rooms = numbers(first, "roomID");
  for (std::int64_t room : numbers(second, "roomID")) rooms.push_back(room);
  EXPECT_TRUE(std::is_sorted(rooms.rbegin(), rooms.rend()));
  EXPECT_EQ(std::set(rooms.begin(), rooms.end()).size(), 51u);
  for (const json::array& page : {first, second}) {
    for (const auto& course : page) {
      EXPECT_EQ(course.at("liveType"), 2);
      EXPECT_EQ(course.at("classroomID"), 5001);
    }
  }
}

TEST_F(CourseLists, SeededRecordedCoursesAreOfEveryState) {
  std::set<std::pair<std::int64_t, std::int64_t>> states;
  for (int page : {1, 2}) {
    for (const auto& course : recorded(page)) {
      states.emplace(course.at("status").as_int64(), course.at("publishStatus").as_int64());
    }
  }
  EXPECT_EQ(states, (std::set<std::pair<std::int64_t, std::int64_t>>{{4, 1}, {5, 1}, {5, 2}, {5, 3}}));
}

TEST_F(CourseLists, LimitSetsTheSizeOfAPage) {
  const auto both = numbers(recorded(1, one("limit", 14)), "roomID");
  const auto second = numbers(recorded(2, one("limit", 7)), "roomID");
  ASSERT_EQ(both.size(), 14u);
  EXPECT_EQ(second, std::vector(both.begin() + 7, both.end()));
}

TEST_F(CourseLists, DraftsAreListedByThemselves) {
  for (const auto& course : recorded(1, one("draft", true))) EXPECT_EQ(course.at("draft"), true);
  EXPECT_EQ(recorded(1, one("draft", true)).size(), 3u);
}

TEST_F(CourseLists, KeywordAndTimesNarrowTheList) {
  EXPECT_EQ(recorded(1, one("keyword", "勾股")).size(), 4u);
  EXPECT_EQ(recorded(1, one("keyword", "100%")).size(), 0u) << "no wild card";
  server.addCourse({{"title", "涨了100%_\\吗"}, {"addtime", 1'700'000'000}});
  EXPECT_EQ(recorded(1, one("keyword", "100%_\\")).size(), 1u);
  setenv("TZ", "Asia/Shanghai", 1);
  tzset();
  EXPECT_EQ(recorded(1, {{"fromTime", "2023-11-15 06:13:20"}, {"toTime", "2023-11-15 06:13:20"}}).size(), 1u);
  EXPECT_EQ(recorded(1, {{"fromTime", "2023-11-15 06:13:21"}, {"toTime", "2023-11-16 00:00"}}).size(), 0u);
}

TEST_F(CourseLists, AnotherTeacherNarrowsTheListToTheirCourses) {
  EXPECT_EQ(recorded(1, one("uID", 100'001)).size(), 30u) << "the user's own number means everything";
  EXPECT_EQ(recorded(1, one("uID", 105'553'116'266'496)).size(), 30u) << "nobody's number too";
  EXPECT_EQ(recorded(1, one("uID", 100'002)).size(), 0u);
  server.addCourse({{"uID", 100'002}, {"title", "客座"}});
  EXPECT_EQ(recorded(1, one("uID", 100'002)).size(), 1u);
}

TEST_F(CourseLists, LiveCoursesComeByStatus) {
  for (int status : {1, 2, 3}) {
    const json::array courses = live(status);
    EXPECT_EQ(courses.size(), status == 1 ? 6u : status == 2 ? 2u : 8u);
    std::set<std::int64_t> types;
    for (const auto& course : courses) {
      EXPECT_EQ(course.at("status"), status);
      EXPECT_EQ(course.at("liveStatus"), status - 1);
      types.insert(course.at("liveType").as_int64());
    }
    EXPECT_EQ(types, (std::set<std::int64_t>{1, 3}));
  }
}

TEST_F(CourseLists, ComingCoursesWithoutATimeComeFirstAndThenTheNearest) {
  const json::array courses = live(1);
  EXPECT_EQ(courses.at(0).at("startTimeEnable"), 0);
  auto times = numbers(courses, "startTime");
  EXPECT_TRUE(std::is_sorted(times.begin() + 1, times.end()));
  EXPECT_GT(times.at(1), std::time(nullptr));
}

TEST_F(CourseLists, OtherLiveCoursesComeNewestFirst) {
  for (int status : {2, 3}) {
    const auto times = numbers(live(status), "startTime");
    EXPECT_TRUE(std::is_sorted(times.rbegin(), times.rend()));
    EXPECT_LT(times.front(), std::time(nullptr));
  }
}

TEST_F(CourseLists, TestCoursesAreListedOnlyWhereAskedFor) {
  EXPECT_EQ(live(1, one("test", 3)).size(), 7u);
  EXPECT_EQ(live(3, one("test", 3)).size(), 9u);
  EXPECT_EQ(live(1, one("test", 1)).size(), 1u);
}

TEST_F(CourseLists, LiveListsHavePagesToo) {
  server.addCourses(40, {{"liveType", 1}, {"status", 3}, {"liveStatus", 2}, {"title", "直播"}});
  const auto first = numbers(live(3), "roomID"), second = numbers(live(3, one("start", 2)), "roomID");
  EXPECT_EQ(first.size(), 30u);
  EXPECT_EQ(second.size(), 18u);
  std::set<std::int64_t> all(first.begin(), first.end());
  all.insert(second.begin(), second.end());
  EXPECT_EQ(all.size(), 48u);
}

TEST_F(CourseLists, ComingWithoutValuesListsLiveCoursesOfTheWholeSchool) {
  std::set<std::int64_t> classrooms;
  for (std::int64_t classroom : numbers(list(client().request("Course.Get.Coming", {})), "classroomID")) {
    classrooms.insert(classroom);
  }
  EXPECT_EQ(classrooms, (std::set<std::int64_t>{5001, 5002, 5003}));
}

TEST_F(CourseLists, WrongValuesAreRefused) {
  auto refused = [&](const json::object& values) {
    return code(client().request("Course.Get.Items", values));
  };
  EXPECT_EQ(refused({}), 1104);
  EXPECT_EQ(refused({{"classroomID", "5001"}, {"start", 1}}), 1104);
  EXPECT_EQ(refused({{"classroomID", "x"}, {"liveType", 2}}), 1104);
  EXPECT_EQ(refused({{"classroomID", "5001"}, {"liveType", 2}, {"start", -1}}), 1104);
  EXPECT_EQ(refused({{"classroomID", "5001"}, {"liveType", 2}, {"limit", 0}}), 1104);
  EXPECT_EQ(refused({{"classroomID", "5001"}, {"liveType", 2}, {"fromTime", "soon"}}), 1104);
  EXPECT_EQ(refused({{"classroomID", 5001}, {"liveType", "2"}, {"limit", 1'000'000}}), 0);
}

TEST_F(CourseLists, InfoTakesTheRoomAsTextOrNumber) {
  const std::int64_t room = server.addCourse({{"title", "一"}, {"duration", 61.5}});
  for (const json::value& id : {json::value(room), json::value(std::to_string(room).c_str())}) {
    const auto reply = client().request("Course.Get.Info", one("roomID", id));
    ASSERT_EQ(code(reply), 0);
    EXPECT_EQ(data(reply).at("roomID"), room);
    EXPECT_EQ(data(reply).at("duration"), 61.5);
    EXPECT_EQ(data(reply).at("videoStatus"), 1);
    EXPECT_FALSE(data(reply).at("videoUrl").as_string().empty());
  }
  EXPECT_EQ(code(client().request("Course.Get.Info", one("roomID", "1"))), 1202);
  EXPECT_EQ(code(client().request("Course.Get.Info", one("roomID", "0"))), 1104);
  EXPECT_EQ(code(client().request("Course.Get.Info", {})), 1104);
}

}  // namespace
}  // namespace orv::test::course_lists_test
