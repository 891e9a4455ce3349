// Replays, materials, uploads, vendors, the voice library and the small rest.

#include "tests/devserver/ServerTest.h"

#include <string>

namespace orv::test::media_test {
namespace {

class Media : public ServerTest {
 protected:
  /// A replay of the teacher with user id 100001.
  static json::object someReplay(RawClient& client) {
    return list(client.request("Musician.Replay.Get.Itemlist",
                               {{"uID", "100001"}, {"start", 0}, {"limit", 1}}))
        .at(0)
        .as_object();
  }
};

TEST_F(Media, ReplaysAreListedByTeacherCourseAndRoom) {
  RawClient teacher = signedIn(), student = signedIn(kStudent);
  EXPECT_EQ(list(student.request("Musician.Replay.Get.Itemlist", one("uID", 100'001))).size(), 8u);
  EXPECT_EQ(list(teacher.request("Course.Replay.Courselist", {{"start", 6}, {"limit", 30}})).size(), 2u);
  EXPECT_TRUE(list(student.request("Course.Replay.Courselist", {})).empty());
  const json::object replay = someReplay(student);
  const json::object room = one("roomID", replay.at("roomID"));
  EXPECT_EQ(list(student.request("Course.Replay.Videolist", room)).at(0).at("id"), replay.at("id"));
  EXPECT_EQ(list(student.request("Live.Room.Get.Replay", room)).at(0).at("id"), replay.at("id"));
}

TEST_F(Media, ReplayIsViewedNamedCoveredAndDeleted) {
  RawClient teacher = signedIn(), student = signedIn(kStudent);
  const json::object replay = someReplay(student);
  const json::value id = replay.at("id");
  const std::int64_t views = replay.at("viewCnt").as_int64();
  EXPECT_EQ(data(student.request("Musician.Replay.Post.View", one("id", id))).at("viewCnt"), views + 1);
  EXPECT_EQ(code(student.request("Course.Replay.Title", {{"id", id}, {"title", "抢"}})), 1203);
  EXPECT_EQ(data(teacher.request("Course.Replay.Title", {{"id", id}, {"title", "新名"}})).at("title"),
            "新名");
  EXPECT_NE(data(teacher.request("Course.Replay.Cover", {{"id", id}, {"fileID", "77"}, {"oss", 1}}))
                .at("coverUrl")
                .as_string()
                .find("77"),
            std::string::npos);
  EXPECT_EQ(code(student.request("Musician.Replay.Post.Delete", one("id", id))), 1203);
  EXPECT_EQ(code(teacher.request("Musician.Replay.Post.Delete", one("id", id))), 0);
  EXPECT_EQ(code(teacher.request("Course.Replay.Delete", one("id", id))), 1205);
  EXPECT_EQ(code(teacher.request("Course.Replay.Title", one("title", "x"))), 1104);
}

TEST_F(Media, MaterialsAreAddedListedAndDeleted) {
  RawClient teacher = signedIn(), student = signedIn(kStudent);
  const std::int64_t room = server.addCourse();
  const auto added = teacher.request(
      "Course.Whiteboard.Material.Add",
      {{"roomID", room}, {"fileID", "f1"}, {"title", "讲义"}, {"images", {"a.png", "b.png"}}});
  ASSERT_EQ(code(added), 0);
  EXPECT_EQ(data(added).at("images"), (json::array{"a.png", "b.png"}));
  teacher.request("Course.Whiteboard.Material.Add", {{"roomID", room}, {"fileID", "f2"}, {"title", "习题"}});
  EXPECT_EQ(list(student.request("Course.Material.Items", one("roomID", room))).size(), 2u);
  const json::object byCourse{{"courseID", room}, {"start", 0}, {"limit", 50}};
  EXPECT_EQ(list(student.request("Course.Whiteboard.Material.Items", byCourse)).at(1).at("title"), "习题");
  const json::object id = one("id", data(added).at("id"));
  EXPECT_EQ(code(student.request("Course.Whiteboard.Material.Delete", id)), 1203);
  EXPECT_EQ(code(teacher.request("Course.Whiteboard.Material.Delete", id)), 0);
  EXPECT_EQ(code(teacher.request("Course.Whiteboard.Material.Delete", id)), 1205);
  EXPECT_EQ(code(student.request("Course.Whiteboard.Material.Add",
                                 {{"roomID", room}, {"fileID", "f"}, {"title", "t"}})),
            1203);
  EXPECT_EQ(code(teacher.request("Course.Whiteboard.Material.Add", {{"roomID", room}, {"title", "t"}})),
            1104);
  EXPECT_EQ(code(teacher.request("Course.Whiteboard.Material.Items", {})), 1104);
}

TEST_F(Media, UploadsAreAuthorisedEachWithAFileOfItsOwn) {
  RawClient client = signedIn();
  const json::object first = data(client.request("User.Get.Upload", {}));
  const json::object second = data(client.request("User.Get.Upload", {{"kind", "log"}, {"n", 1}}));
  EXPECT_NE(first.at("fileID"), second.at("fileID"));
  const json::object sts =
      data(client.request("User.Aliyunsts.Upload", {{"type", 3}, {"name", "a.mp3"}, {"size", 12'345}}));
  EXPECT_NE(sts.at("object").as_string().find("a.mp3"), std::string::npos);
  EXPECT_EQ(code(client.request("User.Aliyunsts.Upload", {{"type", 3}, {"name", "a"}, {"size", -1}})), 1104);
  EXPECT_EQ(code(client.request("User.Aliyunsts.Upload", {{"type", 3}, {"size", 1}})), 1104);
}

TEST_F(Media, HeadPictureShowsInTheUsersData) {
  RawClient client = open();
  const json::value token = data(login(client)).at("token");
  EXPECT_EQ(code(client.request("User.Post.Headpic", {{"fileID", "900001"}, {"oss", 1}})), 0);
  const json::object user = data(client.request("User.Post.Session", {{"uID", "100001"}, {"token", token}}));
  EXPECT_EQ(user.at("pictureID"), "900001");
  EXPECT_NE(user.at("userpic").as_string().find("900001"), std::string::npos);
  EXPECT_EQ(code(client.request("User.Post.Headpic", one("oss", 1))), 1104);
}

TEST_F(Media, VendorsAreBoundByPublishingAndUnbound) {
  RawClient teacher = signedIn();
  const std::int64_t room = server.addCourse({{"liveType", 1}, {"status", 1}});
  EXPECT_EQ(list(teacher.request("Live.Room.Vendor.Items", {})).size(), 3u);
  EXPECT_EQ(
      code(teacher.request("Live.Room.Vendor.Publish", {{"status", 1}, {"vendorID", "2"}, {"roomID", room}})),
      0);
  json::array vendors = list(teacher.request("Live.Room.Vendor.Items", {}));
  EXPECT_EQ(vendors.at(1).at("bound"), true);
  EXPECT_EQ(vendors.at(1).at("roomID"), room);
  EXPECT_EQ(vendors.at(0).at("bound"), false);
  EXPECT_EQ(code(teacher.request("Live.Room.Vendor.Unbind", one("vendorID", 2))), 0);
  EXPECT_EQ(code(teacher.request("Live.Room.Vendor.Unbind", one("vendorID", 2))), 1205);
  EXPECT_EQ(
      code(teacher.request("Live.Room.Vendor.Publish", {{"status", 1}, {"vendorID", 9}, {"roomID", room}})),
      1205);
}

TEST_F(Media, VoiceLibraryNeedsNoSession) {
  RawClient client = open();
  const json::array roots = list(client.request("Setting.Voicelibrary.Category", one("parent", "0")));
  EXPECT_EQ(roots.size(), 3u);
  const json::array below = list(client.request("Setting.Voicelibrary.Category", one("parent", "1")));
  EXPECT_EQ(below.at(0).at("name"), "女声");
  const json::object values{{"cateID", below.at(0).at("id")}, {"lang", "en"}, {"version", "2.3.1.57"}};
  const auto parameters = client.request("Setting.Voicelibrary.Params", values);
  EXPECT_EQ(data(parameters).at("name"), "Female voice");
  EXPECT_EQ(data(parameters).at("params").at("speed"), 50);
  EXPECT_EQ(code(client.request("Setting.Voicelibrary.Params", one("cateID", 77))), 1205);
}

TEST_F(Media, CardsAndCodesNameTheCourse) {
  RawClient client = signedIn(kStudent);
  const std::int64_t room = server.addCourse({{"title", "分享"}, {"n", 1}});
  EXPECT_EQ(data(client.request("Course.Get.Sharecard", one("roomID", room))).at("title"), "分享");
  auto code = [&](const std::string& path, double width) {
    return ServerTest::code(client.request("Course.Get.Qr", {{"path", path}, {"width", width}}));
  };
  const std::string path = "page/intro/index?roomID=";
  EXPECT_EQ(code(path + std::to_string(room), 280.5), 0);
  EXPECT_EQ(code(path + "1", 280), 1202);
  EXPECT_EQ(code(path, 280), 1104);
  EXPECT_EQ(code(path + std::to_string(room), 0), 1104);
}

TEST_F(Media, ReportsAndSignInSettings) {
  RawClient client = open();
  EXPECT_EQ(data(client.request("Setting.Weixin.Close", {{"version", "2.3.1.57"}, {"app", "orvcourse"}}))
                .at("close"),
            0);
  EXPECT_TRUE(data(client.request("User.Get.Wxpclogin", {})).contains("state"));
  EXPECT_EQ(code(client.request("User.Post.Report", {{"type", 1}, {"content", "坏了"}})), 1001);
  login(client);
  EXPECT_EQ(code(client.request("User.Post.Report", {{"type", 1}, {"content", "坏了"}})), 0);
  EXPECT_EQ(code(client.request("User.Post.Report", one("content", "坏了"))), 1104);
}

}  // namespace
}  // namespace orv::test::media_test
