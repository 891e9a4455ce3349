// The life of a live room, and what those in it see of each other.

#include "tests/devserver/ServerTest.h"

#include <set>

namespace orv::test::live_rooms_test {
namespace {

class LiveRooms : public ServerTest {
 protected:
  static json::object room(std::int64_t id, json::object more = {}) {
    json::object values = one("roomID", id);
    for (auto& [key, value] : more) values[key] = value;
    return values;
  }
  static std::int64_t create(RawClient& teacher) {
    const auto reply = teacher.request("Live.Room.Post.Create", one("appType", "2"));
    EXPECT_EQ(code(reply), 0);
    return data(reply).at("roomID").as_int64();
  }
  static std::int64_t ask(RawClient& client, const char* command, const json::object& values) {
    return code(client.request(command, values));
  }
  /// The next frame, which has to be a room's push: its item.
  static json::object event(RawClient& client) {
    const json::object frame = client.receiveObject();
    EXPECT_EQ(frame.at("C"), "Rooms.Push.Message") << json::serialize(frame);
    return frame.at("v").at("data").at(0).at("data").as_object();
  }
};

TEST_F(LiveRooms, RoomLivesFromItsMakingToItsReplay) {
  RawClient teacher = signedIn();
  const std::int64_t id = create(teacher);
  EXPECT_EQ(server.course(id)->at("status"), 1);
  EXPECT_EQ(data(teacher.request("Live.Room.Get.Live", {})).at("roomID").as_int64() == id, false);
  EXPECT_EQ(ask(teacher, "Live.Room.Post.Close", room(id)), 1204) << "not on the air yet";

  const auto started = teacher.request("Live.Room.Post.Start", room(id, one("title", "开讲")));
  ASSERT_EQ(code(started), 0);
  EXPECT_EQ(data(started).at("status"), 2);
  EXPECT_EQ(data(started).at("liveStatus"), 1);
  EXPECT_EQ(data(started).at("title"), "开讲");
  EXPECT_GT(data(started).at("liveStartTime").as_int64(), 1'700'000'000);
  EXPECT_EQ(ask(teacher, "Course.Post.Delete", room(id)), 1204) << "not while it is on the air";

  const auto closed = teacher.request("Live.Room.Post.Close", room(id));
  ASSERT_EQ(code(closed), 0);
  EXPECT_EQ(data(closed).at("status"), 3);
  EXPECT_EQ(data(closed).at("liveStatus"), 2);
  EXPECT_EQ(ask(teacher, "Live.Room.Post.Start", room(id)), 1204);
  EXPECT_EQ(ask(teacher, "Live.Room.Post.Enter", room(id)), 1204);
  const json::array replays = list(teacher.request("Live.Room.Get.Replay", room(id)));
  ASSERT_EQ(replays.size(), 1u);
  EXPECT_EQ(replays.at(0).at("title"), "开讲");
}

TEST_F(LiveRooms, OwnBroadcastAndAllBroadcastsAreListed) {
  RawClient zhou = signedIn(kSecondTeacher);
  const json::array before = list(zhou.request("Channel.Get.Live", {}));
  EXPECT_EQ(before.size(), 4u);
  const std::int64_t id = create(zhou);
  ASSERT_EQ(ask(zhou, "Live.Room.Post.Start", room(id)), 0);
  EXPECT_EQ(list(zhou.request("Channel.Get.Live", {})).size(), 5u);
  EXPECT_EQ(data(zhou.request("Live.Room.Get.Live", {})).at("roomID"), id);
  RawClient student = signedIn(kStudent);
  EXPECT_EQ(data(student.request("Live.Room.Get.Live", {})).at("liveStatus"), 0);
}

TEST_F(LiveRooms, WhoSignsOutOrInAsAnotherLeavesTheRooms) {
  RawClient teacher = signedIn(), student = signedIn(kStudent);
  const std::int64_t id = create(teacher);
  ASSERT_EQ(ask(teacher, "Live.Room.Post.Start", room(id)), 0);
  for (const char* next : {"", kSecondStudent}) {
    ASSERT_EQ(code(login(student, kStudent)), 0);
    ASSERT_EQ(ask(student, "Live.Room.Post.Enter", room(id)), 0);
    EXPECT_EQ(event(teacher).at("code"), 1);
    const auto reply =
        *next == '\0' ? student.request("User.Post.Logout", {}) : login(student, kSecondStudent);
    ASSERT_EQ(code(reply), 0);
    const json::object left = event(teacher);
    EXPECT_EQ(left.at("code"), 2);
    EXPECT_EQ(left.at("uID"), "100004");
    EXPECT_EQ(left.at("lost"), false);
    EXPECT_EQ(data(teacher.request("Course.Get.Row", room(id))).at("onlineCnt"), 1);
  }
}

TEST_F(LiveRooms, ThoseInTheRoomHearOfEachOther) {
  RawClient teacher = signedIn(), student = signedIn(kStudent), outsider = signedIn(kSecondStudent);
  const std::int64_t id = create(teacher);
  ASSERT_EQ(ask(teacher, "Live.Room.Post.Start", room(id)), 0);
  ASSERT_EQ(ask(student, "Live.Room.Post.Enter", room(id)), 0);
  json::object heard = event(teacher);
  EXPECT_EQ(heard.at("roomID"), id);
  EXPECT_EQ(heard.at("code"), 1);
  EXPECT_EQ(heard.at("nick"), "小明");
  ASSERT_EQ(ask(student, "Live.Room.Post.Enter", room(id)), 0) << "entering twice tells nobody";

  const auto barrage = student.request(
      "Course.Post.wall", room(id, {{"content", "老师好"}, {"fileType", 1}, {"issue", 0}, {"duration", 1}}));
  ASSERT_EQ(code(barrage), 0);
  heard = event(teacher);
  EXPECT_EQ(heard.at("code"), 3);
  EXPECT_EQ(heard.at("content"), "老师好");
  EXPECT_EQ(heard.at("fileType"), 1);
  EXPECT_EQ(heard.at("uID"), "100004");

  ASSERT_EQ(ask(teacher, "Live.Room.Put.Title", room(id, one("title", "新题目"))), 0);
  heard = event(student);
  EXPECT_EQ(heard.at("code"), 8);
  EXPECT_EQ(heard.at("title"), "新题目");
  ASSERT_EQ(ask(teacher, "Course.Play.Live", room(id, one("command", 2))), 0);
  EXPECT_EQ(event(student).at("command"), 2);
  ASSERT_EQ(ask(teacher, "Course.Play.Progress", room(id, {{"value", 30}, {"type", 1}})), 0);
  EXPECT_EQ(event(student).at("value"), 30);
  ASSERT_EQ(ask(teacher, "Course.Play.Ppt", room(id, one("page", 4))), 0);
  EXPECT_EQ(event(student).at("page"), 4);

  ASSERT_EQ(ask(student, "Live.Room.Post.Leave", room(id)), 0);
  heard = event(teacher);
  EXPECT_EQ(heard.at("code"), 2);
  EXPECT_EQ(heard.at("lost"), false);
  EXPECT_EQ(alive(outsider), "PONG") << "others get nothing of it all";
}

TEST_F(LiveRooms, LostConnectionLeavesTheRoom) {
  RawClient teacher = signedIn();
  const std::int64_t id = create(teacher);
  ASSERT_EQ(ask(teacher, "Live.Room.Post.Start", room(id)), 0);
  {
    RawClient student = signedIn(kStudent);
    ASSERT_EQ(ask(student, "Live.Room.Post.Enter", room(id)), 0);
    EXPECT_EQ(event(teacher).at("code"), 1);
    EXPECT_EQ(data(teacher.request("Live.Room.Get.Stat", room(id))).at("onlineCnt"), 2);
  }
  const json::object heard = event(teacher);
  EXPECT_EQ(heard.at("code"), 2);
  EXPECT_EQ(heard.at("lost"), true);
  EXPECT_EQ(data(teacher.request("Live.Room.Get.Stat", room(id))).at("onlineCnt"), 1);
}

TEST_F(LiveRooms, ThoseWhoEnrolledHearOfBeginAndEnd) {
  RawClient teacher = signedIn(), student = signedIn(kStudent), other = signedIn(kSecondStudent);
  const std::int64_t id = create(teacher);
  ASSERT_EQ(ask(student, "Course.User.Enroll", room(id)), 0);
  ASSERT_EQ(ask(teacher, "Live.Room.Post.Start", room(id)), 0);
  EXPECT_EQ(event(student).at("code"), 6);
  ASSERT_EQ(ask(teacher, "Live.Room.Post.Close", room(id)), 0);
  EXPECT_EQ(event(student).at("code"), 7);
  EXPECT_EQ(alive(other), "PONG");
}

TEST_F(LiveRooms, NoEventOfARoomLooksLikeAPublishedCourse) {
  RawClient teacher = signedIn(), student = signedIn(kStudent);
  const std::int64_t id = create(teacher);
  ASSERT_EQ(ask(student, "Live.Room.Post.Enter", room(id)), 0);
  ASSERT_EQ(ask(teacher, "Live.Room.Post.Start", room(id)), 0);
  ASSERT_EQ(ask(teacher, "Multiplayer.Course.Teachercontrol", room(id, {{"code", 0}, {"mic", "on"}})), 0);
  std::set<std::int64_t> codes{event(student).at("code").as_int64(), event(student).at("code").as_int64()};
  EXPECT_EQ(codes, (std::set<std::int64_t>{6, 12}));
}

TEST_F(LiveRooms, ForbiddenUserMaySpeakNoMoreAndEverybodyHears) {
  RawClient teacher = signedIn(), student = signedIn(kStudent);
  const std::int64_t id = create(teacher);
  ASSERT_EQ(ask(teacher, "Live.Room.Post.Start", room(id)), 0);
  ASSERT_EQ(ask(student, "Live.Room.Post.Enter", room(id)), 0);
  event(teacher);
  ASSERT_EQ(ask(teacher, "Live.Room.Post.Forbid", room(id, one("uID", 100'004))), 0);
  EXPECT_EQ(event(student).at("code"), 5);
  EXPECT_EQ(ask(student, "Course.Post.wall", room(id, one("content", "为什么"))), 1207);
  EXPECT_EQ(alive(teacher), "PONG");
  EXPECT_EQ(data(student.request("Live.Room.Post.Enter", room(id))).at("forbidden"), true);
  EXPECT_EQ(ask(teacher, "Live.Room.Post.Forbid", room(id, one("uID", "100001"))), 1203) << "a teacher";
  EXPECT_EQ(ask(teacher, "Live.Room.Post.Forbid", room(id, one("uID", 5))), 1101);
}

TEST_F(LiveRooms, ChargedRoomIsForThoseWhoEnrolled) {
  RawClient student = signedIn(kStudent);
  const std::int64_t id =
      server.addCourse({{"liveType", 1}, {"status", 2}, {"courseType", 2}, {"coursePrice", 9.9}});
  EXPECT_EQ(ask(student, "Live.Room.Post.Enter", room(id)), 1203);
  ASSERT_EQ(ask(student, "Course.User.Enroll", room(id)), 0);
  EXPECT_EQ(ask(student, "Live.Room.Post.Enter", room(id)), 0);
  EXPECT_EQ(server.course(id)->at("viewCnt"), 1);
}

TEST_F(LiveRooms, StreamInformationHasThePublishingAddressForTeachersOnly) {
  RawClient teacher = signedIn(), student = signedIn(kStudent);
  const std::int64_t id = create(teacher);
  const json::object mine = data(teacher.request("Live.Room.Get.Streaminfo", room(id)));
  const json::object theirs = data(student.request("Live.Room.Get.Streaminfo", room(id)));
  EXPECT_TRUE(mine.contains("publishUrl"));
  EXPECT_FALSE(theirs.contains("publishUrl"));
  for (const char* key : {"flvUrl", "rtmpUrl", "hlsUrl"}) {
    EXPECT_FALSE(theirs.at(key).as_string().empty()) << key;
  }
}

TEST_F(LiveRooms, OnlyTeachersSteerARoom) {
  RawClient teacher = signedIn(), student = signedIn(kStudent);
  const std::int64_t id = create(teacher);
  EXPECT_EQ(ask(student, "Live.Room.Post.Create", one("appType", "2")), 1203);
  EXPECT_EQ(ask(teacher, "Live.Room.Post.Create", {}), 1104);
  const json::object all =
      room(id, {{"title", "t"}, {"uID", 100'005}, {"command", 1}, {"value", 1}, {"type", 1}, {"page", 1}});
  for (const char* command :
       {"Live.Room.Post.Start", "Live.Room.Post.Close", "Live.Room.Put.Title", "Live.Room.Post.Forbid",
        "Course.Play.Live", "Course.Play.Progress", "Course.Play.Ppt", "Multiplayer.Course.Teachercontrol"}) {
    EXPECT_EQ(ask(student, command, all), 1203) << command;
    EXPECT_EQ(ask(teacher, command, one("title", "t")), 1104) << command;
    EXPECT_EQ(ask(teacher, command, room(1)), 1202) << command;
  }
}

TEST_F(LiveRooms, RecordedCourseIsNoRoom) {
  RawClient teacher = signedIn();
  const std::int64_t id = server.addCourse();
  EXPECT_EQ(ask(teacher, "Live.Room.Post.Start", room(id)), 1204);
  EXPECT_EQ(ask(teacher, "Live.Room.Post.Enter", room(id)), 1204);
  EXPECT_EQ(ask(teacher, "Live.Room.Get.Streaminfo", room(id)), 1204);
}

TEST_F(LiveRooms, OtherDeviceIsReportedLiveWhileItsRoomIs) {
  RawClient host = signedIn(), desk = open();
  const std::int64_t id = create(host);
  ASSERT_EQ(ask(host, "Live.Room.Post.Start", room(id)), 0);
  const json::object reply = login(desk);
  const json::value live = {{"isLogin", true}, {"liveStatus", true}},
                    idle = {{"isLogin", true}, {"liveStatus", false}};
  EXPECT_EQ(data(reply).at("otherDeviceLogin"), live);
  EXPECT_EQ(host.receiveObject().at("C"), "User.OtherDevice.Login");
  auto seen = [&] {
    return data(desk.request("User.Post.Session", {{"uID", "100001"}, {"token", data(reply).at("token")}}))
        .at("otherDeviceLogin");
  };
  ASSERT_EQ(ask(host, "Live.Room.Post.Close", room(id)), 0);
  EXPECT_EQ(seen(), idle);
}

TEST_F(LiveRooms, ExpiredSessionFindsItsRoomAgain) {
  RawClient teacher = signedIn(), student = open();
  const json::value token = data(login(student, kStudent)).at("token");
  const std::int64_t id = create(teacher);
  ASSERT_EQ(ask(student, "Live.Room.Post.Enter", room(id)), 0);
  server.expireSessions("100004");
  ASSERT_EQ(ask(teacher, "Live.Room.Put.Title", room(id, one("title", "a"))), 0);
  EXPECT_EQ(alive(student), "PONG") << "nothing without a session";
  ASSERT_EQ(ask(student, "User.Post.Session", {{"uID", "100004"}, {"token", token}}), 0);
  ASSERT_EQ(ask(teacher, "Live.Room.Put.Title", room(id, one("title", "b"))), 0);
  EXPECT_EQ(event(student).at("title"), "b");
}

TEST_F(LiveRooms, ConnectionIsInTwentyRoomsAtMost) {
  RawClient student = signedIn(kStudent);
  const auto rooms = server.addCourses(21, {{"liveType", 1}, {"status", 1}});
  for (std::size_t i = 0; i < 20; ++i) ASSERT_EQ(ask(student, "Live.Room.Post.Enter", room(rooms[i])), 0);
  EXPECT_EQ(ask(student, "Live.Room.Post.Enter", room(rooms[20])), 1206);
  ASSERT_EQ(ask(student, "Live.Room.Post.Leave", room(rooms[0])), 0);
  EXPECT_EQ(ask(student, "Live.Room.Post.Enter", room(rooms[20])), 0);
}

}  // namespace
}  // namespace orv::test::live_rooms_test
