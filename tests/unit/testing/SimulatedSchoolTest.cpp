#include <orvnetwork/platform/Md5.h>
#include <orvnetwork/testing/SimulatedSchool.h>

#include "LinkFixture.h"

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>

#include <string>
#include <vector>

namespace orv::testing::simulated_school_test {
namespace {

using Rooms = std::vector<std::int64_t>;

class SimulatedSchoolTest : public LinkFixture {
 protected:
  void SetUp() override {
    connect();
    ann = school.addUser("13800000001", "secret", {{"nick", "Ann"}});
  }

  void send(const std::string& command, const json::object& values) {
    socket->send(text(json::serialize(
        json::object{{"c", json::string(command)}, {"s", std::to_string(++timestamp)}, {"v", values}})));
  }
  /// The frames that came, as they are.
  std::vector<json::object> frames() {
    std::vector<json::object> all;
    for (const auto& event : settled()) all.push_back(json::parse(event.substr(5)).as_object());
    return all;
  }
  /// "v" of the reply to a request.
  json::object ask(const std::string& command, const json::object& values = {}) {
    send(command, values);
    const auto came = frames();
    EXPECT_EQ(came.size(), 1U);
    if (came.size() != 1) return {};
    EXPECT_EQ(came[0].at("C"), json::value(json::string(command)));
    EXPECT_EQ(came[0].at("s"), json::value(json::string(std::to_string(timestamp))));
    return came[0].at("v").as_object();
  }
  std::int64_t code(const std::string& command, const json::object& values = {}) {
    return ask(command, values).at("ret").as_int64();
  }
  json::object logIn() {
    return ask("User.Post.Login", {{"phone", "13800000001"}, {"pwd", md5Hex("secret")}})
        .at("data")
        .as_object();
  }
  static Rooms rooms(const json::object& values) {
    Rooms roomIDs;
    for (const auto& course : values.at("data").as_array()) {
      roomIDs.push_back(course.at("roomID").as_int64());
    }
    return roomIDs;
  }
  Rooms recorded(int page, int limit = 30) {
    return rooms(ask("Course.Get.Items",
                     {{"classroomID", "5001"}, {"liveType", 2}, {"start", page}, {"limit", limit}}));
  }
  Rooms live(int status) {
    json::object values{{"start", 1}, {"limit", 30}, {"status", status}, {"test", 0}};
    if (status == 1) values["order"] = "asc";
    return rooms(ask("Course.Get.Coming", values));
  }

  SimulatedSchool school{platform};
  std::string ann;
  int timestamp = 0;
};

TEST_F(SimulatedSchoolTest, LogsInByPasswordAndByCode) {
  const json::object user = logIn();
  EXPECT_EQ(user.at("uID"), json::value(json::string(ann)));
  EXPECT_EQ(user.at("nick"), json::value("Ann"));
  EXPECT_EQ(user.at("classroominfo").at("id"), json::value("5001"));
  EXPECT_TRUE(school.isTokenGood(std::string_view(user.at("token").as_string())));
  EXPECT_TRUE(school.hasSession(ann));
  EXPECT_EQ(code("User.Post.Login", {{"phone", "13800000001"}, {"scode", "8888"}}), 0);
}

TEST_F(SimulatedSchoolTest, RefusesAWrongNumberPasswordOrCode) {
  EXPECT_EQ(code("User.Post.Login", {{"phone", "1"}, {"pwd", md5Hex("secret")}}), 1101);
  EXPECT_EQ(code("User.Post.Login", {{"phone", "13800000001"}, {"pwd", md5Hex("Secret")}}), 1102);
  EXPECT_EQ(code("User.Post.Login", {{"phone", "13800000001"}, {"scode", "1"}}), 1103);
  EXPECT_FALSE(school.hasSession(ann));
}

TEST_F(SimulatedSchoolTest, RenewsASessionByATokenThatCounts) {
  const json::string token(school.issueToken(ann));
  EXPECT_EQ(code("Course.Room.Info"), 1001);
  EXPECT_EQ(code("User.Post.Session", {{"uID", "12"}, {"token", token}}), 2);
  EXPECT_EQ(code("User.Post.Session", {{"uID", json::string(ann)}, {"token", token}}), 0);
  EXPECT_EQ(code("Course.Room.Info"), 0);
  school.endSessions();
  EXPECT_EQ(code("Course.Room.Info"), 1001);
  school.dropTokens(ann);
  EXPECT_EQ(code("User.Post.Session", {{"uID", json::string(ann)}, {"token", token}}), 2);
}

TEST_F(SimulatedSchoolTest, ASessionEndsWithItsConnection) {
  logIn();
  server.cut(id);
  settled();
  EXPECT_FALSE(school.hasSession(ann));
  connect();
  EXPECT_EQ(code("Course.Room.Info"), 1001);
}

TEST_F(SimulatedSchoolTest, LogsOut) {
  const json::object user = logIn();
  EXPECT_EQ(code("User.Post.Logout"), 0);
  EXPECT_FALSE(school.hasSession(ann));
  EXPECT_FALSE(school.isTokenGood(std::string_view(user.at("token").as_string())));
}

TEST_F(SimulatedSchoolTest, TellsTheClassroom) {
  logIn();
  school.changeClassroom("5001", {{"title", "Physics"}});
  EXPECT_EQ(ask("Course.Room.Info").at("data").at("title"), json::value("Physics"));
  EXPECT_EQ(code("Course.Room.Info", {{"classroomID", "5002"}}), 1201);
  school.changeUser(ann, {{"classroom", "5002"}});
  school.changeClassroom("5002", {});
  EXPECT_EQ(ask("Course.Room.Info").at("data").at("id"), json::value("5002"));
}

TEST_F(SimulatedSchoolTest, PagesRecordedCoursesTheNewestFirst) {
  logIn();
  const Rooms added = school.addCourses(60);
  EXPECT_EQ(added.size(), 60U);
  const Rooms expected(added.rbegin(), added.rend());
  Rooms first = recorded(1);
  const Rooms second = recorded(2);
  first.insert(first.end(), second.begin(), second.end());
  EXPECT_EQ(first, expected);
  EXPECT_TRUE(recorded(3).empty());
}

TEST_F(SimulatedSchoolTest, ListsWhatBelongsThere) {
  logIn();
  const auto shown = school.addCourse({{"title", "Algebra"}});
  const auto other = school.addCourse();
  school.addCourse({{"draft", true}});
  school.addCourse({{"classroomID", 5002}});
  const auto coming = school.addCourse({{"liveType", 1}});
  school.addCourse({{"liveType", 3}, {"test", true}});
  EXPECT_EQ(recorded(1), (Rooms{other, shown}));
  EXPECT_EQ(live(1), Rooms{coming});
  EXPECT_EQ(rooms(ask("Course.Get.Items", {{"classroomID", 5001}, {"liveType", 2}, {"keyword", "lge"}})),
            Rooms{shown});
  school.changeCourse(coming, {{"status", 2}});
  EXPECT_TRUE(live(1).empty());
  EXPECT_EQ(live(2), Rooms{coming});
  school.removeCourse(coming);
  EXPECT_TRUE(live(2).empty());
}

TEST_F(SimulatedSchoolTest, SortsLiveCoursesByTheirStart) {
  logIn();
  const Rooms added = school.addCourses(3, {{"liveType", 1}});
  EXPECT_EQ(live(1), added);
  school.changeCourse(added[0], {{"startTime", 4'000'000'000}});
  EXPECT_EQ(live(1), (Rooms{added[1], added[2], added[0]}));
  for (const auto roomID : added) school.changeCourse(roomID, {{"status", 3}});
  EXPECT_EQ(live(3), (Rooms{added[0], added[2], added[1]}));
  school.changeCourse(added[1], {{"startTimeEnable", 0}});
  EXPECT_EQ(live(3), (Rooms{added[1], added[0], added[2]}));
}

TEST_F(SimulatedSchoolTest, ListsInTheOrderThatWasSet) {
  logIn();
  const Rooms added = school.addCourses(4);
  school.setListOrder({added[1], added[3]});
  EXPECT_EQ(recorded(1), (Rooms{added[1], added[3], added[2], added[0]}));
  school.setListOrder({});
  EXPECT_EQ(recorded(1), Rooms(added.rbegin(), added.rend()));
}

TEST_F(SimulatedSchoolTest, MakesChangesAndDeletesCourses) {
  logIn();
  EXPECT_EQ(code("Course.Post.Create", {{"liveType", 2}}), 1104);
  const json::object made = ask("Course.Post.Create", {{"title", "New"}, {"liveType", 2}, {"draft", true}});
  const std::int64_t roomID = made.at("data").at("roomID").as_int64();
  EXPECT_EQ(school.course(roomID)->at("title"), json::value("New"));
  EXPECT_EQ(school.course(roomID)->at("publishStatus"), json::value(2));
  EXPECT_EQ(code("Course.Post.Update", {{"roomID", roomID}, {"title", "Newer"}}), 0);
  EXPECT_EQ(school.course(roomID)->at("title"), json::value("Newer"));
  EXPECT_EQ(code("Course.Get.Info", {{"roomID", std::to_string(roomID)}}), 0);
  EXPECT_EQ(code("Course.Post.Delete", {{"roomID", std::to_string(roomID)}}), 0);
  EXPECT_EQ(code("Course.Get.Info", {{"roomID", roomID}}), 1202);
  EXPECT_EQ(code("Course.Post.Update", {{"roomID", school.addCourse({{"uID", 99}})}}), 1203);
}

TEST_F(SimulatedSchoolTest, PublishesACourseWhoseFilesHaveCome) {
  logIn();
  const std::int64_t roomID =
      ask("Course.Post.Create", {{"title", "New"}, {"publishStatus", 2}}).at("data").at("roomID").as_int64();
  send("Course.Post.Update", {{"roomID", roomID}, {"whiteboardDataID", 5}, {"whiteboardMp3ID", 6}});
  const auto came = frames();
  ASSERT_EQ(came.size(), 2U);
  EXPECT_EQ(came[0].at("C"), json::value("Rooms.Push.Message"));
  EXPECT_EQ(came[0].at("v").at("data").at(0).at("data"), (json::value{{"roomID", roomID}, {"code", 0}}));
  EXPECT_EQ(came[1].at("v").at("data").at("publishStatus"), json::value(1));
}

TEST_F(SimulatedSchoolTest, PushesThatACourseWasPublishedToItsOwner) {
  const auto own = school.addCourse({{"publishStatus", 2}});
  const auto others = school.addCourse({{"uID", 99}});
  EXPECT_TRUE(school.publish(own));
  EXPECT_TRUE(frames().empty());  // nobody has a session
  logIn();
  EXPECT_TRUE(school.publish(others));
  EXPECT_FALSE(school.publish(1));
  EXPECT_TRUE(frames().empty());
  EXPECT_TRUE(school.publish(own));
  EXPECT_EQ(frames().size(), 1U);
  EXPECT_EQ(school.course(own)->at("publishStatus"), json::value(1));
  school.pushRooms({own, others}, 7);
  EXPECT_EQ(frames().at(0).at("v").at("data").as_array().size(), 2U);
}

TEST_F(SimulatedSchoolTest, TellsOfOtherDevices) {
  const json::object user = logIn();
  const json::object session{{"uID", user.at("uID")}, {"token", user.at("token")}};
  EXPECT_EQ(user.at("otherDeviceLogin"), (json::value{{"isLogin", false}, {"liveStatus", false}}));
  school.logInElsewhere(ann, true);
  const auto came = frames();
  ASSERT_EQ(came.size(), 1U);
  EXPECT_EQ(came[0].at("C"), json::value("User.OtherDevice.Login"));
  EXPECT_EQ(ask("User.Post.Session", session).at("data").at("otherDeviceLogin"),
            (json::value{{"isLogin", true}, {"liveStatus", true}}));
  EXPECT_EQ(code("User.Post.Logoutother"), 0);
  EXPECT_EQ(ask("User.Post.Session", session).at("data").at("otherDeviceLogin"),
            (json::value{{"isLogin", false}, {"liveStatus", false}}));
}

TEST_F(SimulatedSchoolTest, AnotherDeviceLogsThisOneOut) {
  const json::object user = logIn();
  school.logOutFromElsewhere(ann);
  const auto came = frames();
  ASSERT_EQ(came.size(), 1U);
  EXPECT_EQ(came[0].at("C"), json::value("User.OtherDevice.Logout"));
  EXPECT_EQ(came[0].at("v").at("uID"), user.at("uID"));
  EXPECT_EQ(code("Course.Room.Info"), 1001);
  EXPECT_EQ(code("User.Post.Session", {{"uID", user.at("uID")}, {"token", user.at("token")}}), 2);
}

TEST_F(SimulatedSchoolTest, RefusesAsOftenAsItIsTold) {
  logIn();
  school.refuse("Course.Room.Info", 7, "not now", 2);
  EXPECT_EQ(ask("Course.Room.Info"), (json::object{{"ret", 7}, {"err", "not now"}}));
  EXPECT_EQ(code("Dev.Echo"), 0);
  EXPECT_EQ(code("Course.Room.Info"), 7);
  EXPECT_EQ(code("Course.Room.Info"), 0);
  school.refuse("", 8, "nothing today");
  EXPECT_EQ(code("Dev.Echo"), 8);
  EXPECT_EQ(code("Course.Room.Info"), 8);
  school.clearFaults();
  EXPECT_EQ(code("Dev.Echo"), 0);
}

TEST_F(SimulatedSchoolTest, IgnoresWithoutCarryingOut) {
  logIn();
  school.ignore("Course.Post.Create", 1);
  send("Course.Post.Create", {{"title", "Lost"}});
  EXPECT_TRUE(frames().empty());
  EXPECT_EQ(school.courseCount(), 0U);
  EXPECT_EQ(code("Course.Post.Create", {{"title", "Found"}}), 0);
}

TEST_F(SimulatedSchoolTest, AnswersLater) {
  logIn();
  school.delay("Course.Post.Create", Seconds(5));
  send("Course.Post.Create", {{"title", "Slow"}});
  EXPECT_TRUE(frames().empty());
  EXPECT_EQ(school.courseCount(), 1U);
  platform.runFor(Seconds(4.9));
  EXPECT_TRUE(frames().empty());
  platform.runFor(Seconds(0.2));
  EXPECT_EQ(frames().size(), 1U);
}

TEST_F(SimulatedSchoolTest, StopsAnsweringAltogether) {
  logIn();
  school.delay("Dev.Slow", Seconds(1));
  send("Dev.Slow", {});
  EXPECT_TRUE(frames().empty());
  school.setAnswering(false);
  send("Dev.Echo", {});
  socket->send(text("PING"));
  platform.runFor(Seconds(2));
  EXPECT_TRUE(settled().empty());
  EXPECT_TRUE(server.isConnected(id));
  school.setAnswering(true);
  EXPECT_EQ(code("Dev.Echo"), 0);
  socket->send(text("PING"));
  EXPECT_EQ(settled(), Events{"text PONG"});
}

TEST_F(SimulatedSchoolTest, LetsTheTestAnswer) {
  EXPECT_EQ(code("Course.Get.Wall"), 1001);
  logIn();
  EXPECT_EQ(code("Course.Get.Wall"), 9000);
  school.answer("Course.Get.Wall", [](const json::object& values, const std::string& uID) {
    return json::object{{"ret", 0}, {"data", {json::value(values), json::value(json::string(uID))}}};
  });
  EXPECT_EQ(ask("Course.Get.Wall", {{"start", 0}}).at("data"),
            (json::array{json::object{{"start", 0}}, json::string(ann)}));
  school.answer("Course.Get.Wall", {});
  EXPECT_EQ(code("Course.Get.Wall"), 9000);
}

TEST_F(SimulatedSchoolTest, EchoesWhatBeginsWithDev) {
  EXPECT_EQ(ask("Dev.Echo", {{"x", 1}}).at("data"),
            (json::value{{"command", "Dev.Echo"}, {"values", {{"x", 1}}}}));
}

TEST_F(SimulatedSchoolTest, NothingOfItIsLeftWhenItGoes) {
  {
    SimulatedSchool other(platform);
    other.delay("", Seconds(1));
    send("Dev.Echo", {});
    platform.settle();
  }
  platform.runFor(Seconds(2));
  send("Dev.Echo", {});
  EXPECT_TRUE(settled().empty());
  EXPECT_EQ(server.requests("Dev.Echo").size(), 2U);
}

}  // namespace
}  // namespace orv::testing::simulated_school_test
