// Courses: made, changed, published and deleted by clients, and by those who steer the server.

#include "tests/devserver/RawClient.h"
#include "tests/devserver/ServerTest.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <stdexcept>
#include <string>

namespace orv::test::courses_test {
namespace {

class Courses : public ServerTest {
 protected:
  static json::array recorded(RawClient& client, int page = 1) {
    return list(client.request(
        "Course.Get.Items",
        {{"classroomID", "5001"}, {"start", page}, {"liveType", 2}, {"limit", 30}, {"draft", false}}));
  }
  static std::int64_t room(const json::object& reply) { return data(reply).at("roomID").as_int64(); }
  /// The values with which a recorded course of this device is announced.
  static json::object announced(json::object more = {}) {
    json::object values{{"title", "函数"},        {"courseType", 1},      {"liveType", 2},
                        {"enrollTableEnable", 0}, {"startTimeEnable", 0}, {"seriesType", 0},
                        {"seriesID", 0},          {"saleEnable", 0},      {"salePercent", 0},
                        {"publishStatus", 2},     {"videoConvert", 0}};
    for (auto& [key, value] : more) values[key] = value;
    return values;
  }
  static json::value publishedPush(std::int64_t room) {
    return json::parse(R"({"data":[{"data":{"roomID":)" + std::to_string(room) + R"(,"code":0}}]})");
  }
};

TEST_F(Courses, AnnouncedCourseIsPublishedWithItsFilesAndTheOwnerHears) {
  RawClient client = signedIn(), other = signedIn(kSecondTeacher);
  const auto created = client.request("Course.Post.Create", announced());
  ASSERT_EQ(code(created), 0);
  EXPECT_EQ(data(created).at("publishStatus"), 2);
  EXPECT_EQ(recorded(client).at(0).at("roomID"), room(created));
  const auto submitted = client.request("Course.Post.Update", {{"roomID", room(created)},
                                                               {"whiteboardMp3ID", "901"},
                                                               {"whiteboardDataID", 902},
                                                               {"duration", 61.25}});
  ASSERT_EQ(code(submitted), 0);
  EXPECT_EQ(data(submitted).at("publishStatus"), 1);
  EXPECT_EQ(data(submitted).at("status"), 5);
  EXPECT_EQ(data(submitted).at("duration"), 61.25);
  EXPECT_FALSE(data(submitted).at("videoUrl").as_string().empty());
  const auto push = client.receiveObject();
  EXPECT_EQ(push.at("C"), "Rooms.Push.Message");
  EXPECT_EQ(push.at("v"), publishedPush(room(created)));
  EXPECT_EQ(alive(other), "PONG") << "other users get nothing";
  client.request("Course.Post.Update", {{"roomID", room(created)}, {"title", "再改"}});
  EXPECT_EQ(alive(client), "PONG") << "published once only";
}

TEST_F(Courses, CourseAnnouncedWithItsFilesIsPublishedAtOnce) {
  RawClient client = signedIn();
  const auto created =
      client.request("Course.Post.Create", announced({{"whiteboardMp3ID", 901}, {"whiteboardDataID", 902}}));
  EXPECT_EQ(data(created).at("publishStatus"), 1);
  EXPECT_EQ(client.receiveObject().at("v"), publishedPush(room(created)));
}

TEST_F(Courses, DraftIsPublishedWhenItIsFinished) {
  RawClient client = signedIn();
  const auto created = client.request("Course.Post.Create", {{"title", "草稿"},
                                                             {"courseType", 1},
                                                             {"draft", true},
                                                             {"coursePrice", 9.9},
                                                             {"startTime", "2024-01-31 08:45"},
                                                             {"liveType", 2},
                                                             {"cover", false},
                                                             {"classroomID", 5001},
                                                             {"whiteboardMp3ID", 901},
                                                             {"whiteboardDataID", 902}});
  ASSERT_EQ(code(created), 0);
  EXPECT_EQ(data(created).at("draft"), true);
  EXPECT_NE(recorded(client).at(0).at("roomID"), room(created));
  const auto finished =
      client.request("Course.Post.Finish", one("roomID", std::to_string(room(created)).c_str()));
  EXPECT_EQ(data(finished).at("publishStatus"), 1);
  EXPECT_EQ(client.receiveObject().at("v"), publishedPush(room(created)));
  EXPECT_EQ(recorded(client).at(0).at("roomID"), room(created));
}

TEST_F(Courses, LiveCourseIsMadeWithItsTimeAndChanged) {
  setenv("TZ", "Asia/Shanghai", 1);
  tzset();
  RawClient client = signedIn();
  const auto created = client.request("Course.Post.Create", {{"liveType", 1},
                                                             {"title", "直播"},
                                                             {"startTime", "2024-01-31 08:45"},
                                                             {"startTimeEnable", true},
                                                             {"courseType", 2},
                                                             {"coursePrice", 9.9},
                                                             {"enrollTableEnable", true},
                                                             {"enrollcols", {{{"name", "姓名"}, {"id", 0}}}},
                                                             {"cover", "https://classroom.example/a.jpg"},
                                                             {"test", false},
                                                             {"kelto_open", true}});
  ASSERT_EQ(code(created), 0);
  const json::object& course = data(created);
  EXPECT_EQ(course.at("status"), 1);
  EXPECT_EQ(course.at("startTime"), 1'706'661'900);
  EXPECT_EQ(course.at("startTimeEnable"), 1);
  EXPECT_EQ(course.at("coursePrice"), 9.9);
  EXPECT_EQ(course.at("coverUrl"), "https://classroom.example/a.jpg");
  EXPECT_EQ(course.at("kelto_open"), true);
  EXPECT_EQ(course.at("uID"), 100'001);
  EXPECT_EQ(course.at("teacher"), "林老师");
  const auto changed = client.request("Course.Post.Update", {{"roomID", std::to_string(room(created))},
                                                             {"title", ""},
                                                             {"teacher", "请来的老师"},
                                                             {"coverMediaId", 77},
                                                             {"oss", 1}});
  ASSERT_EQ(code(changed), 0);
  EXPECT_EQ(data(changed).at("title"), "直播") << "an empty title changes nothing";
  EXPECT_EQ(data(changed).at("teacher"), "请来的老师");
  EXPECT_NE(data(changed).at("coverUrl").as_string().find("77"), std::string::npos);
}

TEST_F(Courses, DeletedCourseIsGoneAndItsRoomIdIsNotUsedAgain) {
  RawClient client = signedIn();
  const std::int64_t gone = room(client.request("Course.Post.Create", announced()));
  EXPECT_EQ(code(client.request("Course.Post.Delete", one("roomID", std::to_string(gone).c_str()))), 0);
  EXPECT_EQ(code(client.request("Course.Get.Info", one("roomID", gone))), 1202);
  EXPECT_EQ(code(client.request("Course.Post.Delete", one("roomID", gone))), 1202);
  EXPECT_GT(room(client.request("Course.Post.Create", announced())), gone);
}

TEST_F(Courses, WhatIsNotAllowedIsRefusedAndChangesNothing) {
  RawClient teacher = signedIn(), second = signedIn(kSecondTeacher), student = signedIn(kStudent);
  const std::int64_t id = room(teacher.request("Course.Post.Create", announced()));
  EXPECT_EQ(code(student.request("Course.Post.Create", announced())), 1203);
  EXPECT_EQ(code(teacher.request("Course.Post.Create", announced(one("classroomID", 5003)))), 1203);
  for (const char* command : {"Course.Post.Update", "Course.Post.Finish", "Course.Post.Delete"}) {
    EXPECT_EQ(code(second.request(command, {{"roomID", id}, {"title", "我的"}})), 1203) << command;
    EXPECT_EQ(code(student.request(command, {{"roomID", id}, {"title", "我的"}})), 1203) << command;
    EXPECT_EQ(code(teacher.request(command, {{"roomID", 1}, {"title", "我的"}})), 1202) << command;
    EXPECT_EQ(code(teacher.request(command, one("title", "我的"))), 1104) << command;
  }
  EXPECT_EQ(server.course(id)->at("title"), "函数");
  auto create = [&](const json::object& values) {
    return code(teacher.request("Course.Post.Create", values));
  };
  EXPECT_EQ(create({{"coursePrice", 1}, {"startTime", "2024-01-31 08:45"}}), 1104) << "no title";
  EXPECT_EQ(create({{"title", "t"}, {"startTime", "soon"}}), 1104);
  EXPECT_EQ(create({{"title", "t"}, {"liveType", 4}}), 1104);
  EXPECT_EQ(create({{"title", "t"}, {"coursePrice", -1}}), 1104);
  EXPECT_EQ(create({{"title", "t"}, {"enrollcols", "none"}}), 1104);
}

TEST_F(Courses, TenThousandAreAddedAtOnceAndPaged) {
  const auto rooms = server.addCourses(10'000, one("title", "讲"));
  ASSERT_EQ(rooms.size(), 10'000u);
  EXPECT_TRUE(std::is_sorted(rooms.begin(), rooms.end()));
  RawClient client = signedIn();
  const json::array page = recorded(client);
  ASSERT_EQ(page.size(), 30u);
  EXPECT_EQ(page.at(0).at("roomID"), rooms.back());
  EXPECT_EQ(page.at(0).at("title"), "讲 10000");
  EXPECT_EQ(recorded(client, 334).at(0).at("roomID"), rooms.at(9)) << "the 9,991st from the top";
  EXPECT_EQ(recorded(client, 335).size(), 30u);
}

TEST_F(Courses, SchoolIsBounded) {
  EXPECT_THROW(server.addCourses(100'001), std::invalid_argument);
  server.addCourses(99'900);
  EXPECT_THROW(server.addCourses(100), std::invalid_argument);
  EXPECT_NO_THROW(server.addCourse());
}

TEST_F(Courses, ChangesByTheTestShowAtOnce) {
  RawClient client = signedIn();
  const std::int64_t id = server.addCourse({{"title", "旧"}, {"coursePrice", 3}, {"videoUrl", ""}});
  EXPECT_EQ(server.course(id)->at("videoUrl"), "");
  server.changeCourse(id, {{"title", "新"}, {"status", 4}, {"videoUrl", nullptr}, {"more", {1, 2}}});
  const json::object course = recorded(client).at(0).as_object();
  EXPECT_EQ(course.at("roomID"), id);
  EXPECT_EQ(course.at("title"), "新");
  EXPECT_EQ(course.at("status"), 4);
  EXPECT_NE(course.at("videoUrl"), "");
  EXPECT_EQ(course.at("more"), (json::array{1, 2}));
  server.removeCourse(id);
  EXPECT_FALSE(server.course(id));
  EXPECT_NE(recorded(client).at(0).at("roomID"), id);
  EXPECT_THROW(server.removeCourse(id), std::invalid_argument);
  EXPECT_THROW(server.changeCourse(id, {}), std::invalid_argument);
}

TEST_F(Courses, RoomIdMayBeChosenWhereItIsFree) {
  EXPECT_EQ(server.addCourse({{"roomID", 60'000}, {"title", "老"}}), 60'000);
  EXPECT_THROW(server.addCourse({{"roomID", 60'000}, {"title", "老"}}), std::invalid_argument);
}

TEST_F(Courses, RoomIdsDoNotRunOut) {
  constexpr std::int64_t kLast = std::numeric_limits<std::int64_t>::max();
  EXPECT_THROW(server.addCourse({{"roomID", kLast}, {"title", "末"}}), std::invalid_argument);
  EXPECT_EQ(server.addCourse({{"roomID", 9'007'199'254'740'991}, {"title", "末"}}), 9'007'199'254'740'991);
  EXPECT_EQ(server.addCourse({{"status", 5}, {"title", "又"}}), 9'007'199'254'740'992);
}

TEST_F(Courses, PushNamesEveryRoom) {
  RawClient client = signedIn(), other = signedIn(kStudent);
  EXPECT_EQ(server.pushCourses({71, 72}, 3, "100001"), 1u);
  EXPECT_EQ(client.receiveObject().at("v"),
            json::parse(R"({"data":[{"data":{"roomID":71,"code":3}},{"data":{"roomID":72,"code":3}}]})"));
  EXPECT_EQ(alive(other), "PONG");
}

TEST_F(Courses, ControlDoesTheSame) {
  RawClient client = signedIn();
  const json::object added =
      control({{"course", "add"}, {"count", 3}, {"fields", {{"title", "批量"}, {"coursePrice", 1}}}});
  EXPECT_EQ(added.at("affected"), 3);
  ASSERT_EQ(added.at("roomIDs").as_array().size(), 3u);
  const json::value id = added.at("roomIDs").at(2);
  EXPECT_EQ(recorded(client).at(0).at("title"), "批量 3");
  control({{"course", "change"}, {"roomID", id}, {"fields", {{"title", "改"}, {"status", 4}}}});
  EXPECT_EQ(control({{"course", "get"}, {"roomID", id}}).at("course").at("title"), "改");
  EXPECT_EQ(control({{"course", "push"}, {"roomID", id}, {"code", 0}}).at("affected"), 1);
  EXPECT_EQ(client.receiveObject().at("v"), publishedPush(id.as_int64()));
  EXPECT_EQ(control({{"course", "remove"}, {"roomID", id}}).at("affected"), 1);
  int status = 0;
  const std::string again =
      RawClient::http(server.port(), "POST", "/control",
                      json::serialize(json::object{{"course", "remove"}, {"roomID", id}}), status);
  EXPECT_EQ(status, 400);
  EXPECT_NE(again.find("there is no course"), std::string::npos);
}

}  // namespace
}  // namespace orv::test::courses_test
