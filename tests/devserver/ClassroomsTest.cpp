// Classrooms, corporations and teachers.

#include "tests/devserver/ServerTest.h"

#include <string>

namespace orv::test::classrooms_test {
namespace {

class Classrooms : public ServerTest {};

TEST_F(Classrooms, MembersClassroomsAreListedWithTheCurrentOne) {
  RawClient zhou = signedIn(kSecondTeacher);
  const json::array mine = list(zhou.request("Classroom.Get.Items", {}));
  ASSERT_EQ(mine.size(), 2u);
  EXPECT_EQ(mine.at(0).at("id"), "5001");
  EXPECT_EQ(mine.at(0).at("role"), 2);
  EXPECT_EQ(mine.at(0).at("current"), false);
  EXPECT_EQ(mine.at(1).at("id"), "5002");
  EXPECT_EQ(mine.at(1).at("current"), true);
  RawClient student = signedIn(kStudent);
  EXPECT_TRUE(list(student.request("Classroom.Get.Items", {})).empty());
}

TEST_F(Classrooms, ChangeMovesTheUserAndLasts) {
  RawClient zhou = open();
  const json::object user = data(login(zhou, kSecondTeacher));
  const auto changed = zhou.request("Classroom.Post.Change", one("classroomID", "5001"));
  ASSERT_EQ(code(changed), 0);
  EXPECT_EQ(data(changed).at("current"), true);
  const json::object again =
      data(zhou.request("User.Post.Session", {{"uID", user.at("uID")}, {"token", user.at("token")}}));
  EXPECT_EQ(again.at("classroom"), "5001");
  EXPECT_EQ(again.at("classroominfo").at("title"), "林老师的数学课堂");
  EXPECT_EQ(code(zhou.request("Classroom.Post.Change", one("classroomID", 5003))), 1203);
  EXPECT_EQ(code(zhou.request("Classroom.Post.Change", one("classroomID", 9))), 1201);
  EXPECT_EQ(code(zhou.request("Classroom.Post.Change", {})), 1104);
}

TEST_F(Classrooms, PageIsMadeWithACodeAndItsMakerTeachesThere) {
  RawClient student = open();
  const json::object user = data(login(student, kStudent));
  json::object values{
      {"title", "小明的课堂"}, {"description", "我也教"}, {"phone", kStudent}, {"code", "000000"}};
  EXPECT_EQ(code(student.request("Course.Room.Create", values)), 1103);
  values["code"] = "123456";
  const auto made = student.request("Course.Room.Create", values);
  ASSERT_EQ(code(made), 0);
  EXPECT_EQ(data(made).at("description"), "我也教");
  EXPECT_EQ(data(made).at("role"), 1);
  const json::object again =
      data(student.request("User.Post.Session", {{"uID", user.at("uID")}, {"token", user.at("token")}}));
  EXPECT_EQ(again.at("classroom"), data(made).at("id"));
  EXPECT_EQ(again.at("teacher"), 1);
  EXPECT_EQ(code(student.request("Course.Post.Create", one("title", "第一课"))), 0);
  EXPECT_EQ(code(student.request("Course.Room.Create", one("title", "x"))), 1104);
}

TEST_F(Classrooms, PageIsChangedByItsOwner) {
  RawClient teacher = signedIn();
  const auto changed = teacher.request(
      "Course.Room.Update", {{"title", "新名"}, {"headMediaId", "77"}, {"oss", 1}, {"bgMediaId", "78"}});
  ASSERT_EQ(code(changed), 0);
  EXPECT_EQ(data(changed).at("title"), "新名");
  EXPECT_EQ(data(changed).at("headPicID"), "77");
  EXPECT_EQ(data(changed).at("bgPicID"), "78");
  EXPECT_NE(data(changed).at("headPicUrl"), "");
  EXPECT_EQ(data(changed).at("description"), "把难题讲成故事，把公式画成图。");
  EXPECT_EQ(data(teacher.request("Course.Room.Update", {})), data(changed));
  RawClient zhou = signedIn(kSecondTeacher);
  EXPECT_EQ(code(zhou.request("Classroom.Post.Change", one("classroomID", 5001))), 0);
  EXPECT_EQ(code(zhou.request("Course.Room.Update", one("title", "抢"))), 1203);
  RawClient student = signedIn(kStudent);
  EXPECT_EQ(code(student.request("Course.Room.Update", one("title", "抢"))), 1201) << "has no classroom";
}

TEST_F(Classrooms, UserHasTwentyAtMost) {
  RawClient teacher = signedIn();
  for (int i = 0; i < 19; ++i) {
    ASSERT_EQ(code(teacher.request("Classroom.Post.Create", one("title", "又一间"))), 0);
  }
  EXPECT_EQ(code(teacher.request("Classroom.Post.Create", one("title", "又一间"))), 1206);
  EXPECT_EQ(code(teacher.request("Classroom.Post.Create", {})), 1104);
  EXPECT_EQ(list(teacher.request("Classroom.Get.Items", {})).size(), 20u);
}

TEST_F(Classrooms, TeachersAreListedAndTakePartInCourses) {
  RawClient lin = signedIn(), zhou = signedIn(kSecondTeacher);
  const std::int64_t room = server.addCourse({{"liveType", 1}, {"status", 1}});
  auto teachers = [&] {
    return list(lin.request("Multiplayer.Classroom.Teachers", {{"classroomID", "5001"}, {"roomID", room}}));
  };
  json::array present = teachers();
  ASSERT_EQ(present.size(), 2u);
  EXPECT_EQ(present.at(0).at("uID"), "100001");
  EXPECT_EQ(present.at(0).at("courseRole"), 1) << "the course is hers";
  EXPECT_EQ(present.at(0).at("online"), true);
  EXPECT_EQ(present.at(1).at("courseRole"), 0);
  EXPECT_EQ(code(zhou.request("Live.Room.Post.Start", one("roomID", room))), 1203);

  auto change = [&](json::value teacher, int role) {
    return code(
        lin.request("Course.Teacher.Changerole", {{"roomID", room}, {"role", role}, {"teacherID", teacher}}));
  };
  EXPECT_EQ(change(100'002, 2), 0);
  const auto push = zhou.receiveObject();
  EXPECT_EQ(push.at("v").at("data").at(0).at("data").at("role"), 2);
  EXPECT_EQ(push.at("v").at("data").at(0).at("data").at("code"), 12);
  EXPECT_EQ(teachers().at(1).at("courseRole"), 2);
  EXPECT_EQ(code(zhou.request("Live.Room.Post.Start", one("roomID", room))), 0);
  EXPECT_EQ(change(100'003, 2), 1203) << "teaches elsewhere";
  EXPECT_EQ(change(100'002, -1), 1104);

  auto remove = [&](std::int64_t teacher) {
    return code(lin.request("Course.Teacher.Delete", {{"roomID", room}, {"teacherID", teacher}}));
  };
  EXPECT_EQ(remove(100'001), 1203);
  EXPECT_EQ(remove(100'002), 0);
  EXPECT_EQ(remove(100'002), 1205);
  const auto invitation = lin.request("Course.Teacher.Invite", one("roomID", room));
  EXPECT_NE(data(invitation).at("url").as_string().find(data(invitation).at("code").as_string()),
            std::string::npos);
  EXPECT_EQ(code(lin.request("Multiplayer.Classroom.Teachers", one("classroomID", 9))), 1201);
}

TEST_F(Classrooms, CorporationOnTrialIsRegisteredAndLinkedOnce) {
  RawClient guest = open();
  json::object values{{"classroomname", "晨光学堂"},
                      {"code", "1"},
                      {"contactphone", "13600000001"},
                      {"passwd", "abc"},
                      {"guid", "g"}};
  EXPECT_EQ(code(guest.request("Corporation.Demo.Register", values)), 1103);
  values["code"] = "123456";
  const auto made = guest.request("Corporation.Demo.Register", values);
  ASSERT_EQ(code(made), 0);
  EXPECT_EQ(code(guest.request("Corporation.Demo.Register", values)), 1105);
  const auto user = guest.request("User.Post.Login", {{"phone", "13600000001"}, {"pwd", "abc"}});
  ASSERT_EQ(code(user), 0);
  EXPECT_EQ(data(user).at("classroominfo").at("isCorp"), true);
  EXPECT_EQ(data(user).at("classroominfo").at("demo"), true);
  EXPECT_EQ(data(user).at("corpID"), data(made).at("corpID"));

  RawClient teacher = signedIn();
  const json::object link = one("corpTempToken", data(made).at("corpTempToken"));
  EXPECT_EQ(code(teacher.request("Corporation.User.Link",
                                 {{"corpTempToken", link.at("corpTempToken")}, {"uID", "5"}})),
            1203);
  const auto linked = teacher.request("Corporation.User.Link", link);
  ASSERT_EQ(code(linked), 0);
  EXPECT_EQ(data(linked).at("corpID"), data(made).at("corpID"));
  EXPECT_EQ(list(teacher.request("Classroom.Get.Items", {})).size(), 2u);
  EXPECT_EQ(code(teacher.request("Corporation.User.Link", link)), 1205);
}

}  // namespace
}  // namespace orv::test::classrooms_test
