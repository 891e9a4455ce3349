// What viewers do with a course: walls, comments, likes, follows, enrolments; and what teachers earn by it.

#include "tests/devserver/ServerTest.h"

#include <string>
#include <vector>

namespace orv::test::interactions_test {
namespace {

class Interactions : public ServerTest {
 protected:
  void SetUp() override {
    ServerTest::SetUp();
    id = server.addCourse({{"title", "课"}, {"courseType", 2}, {"coursePrice", 9.9}});
  }
  json::object room(json::object more = {}) const {
    json::object values = one("roomID", std::to_string(id).c_str());
    for (auto& [key, value] : more) values[key] = value;
    return values;
  }
  std::int64_t post(RawClient& client, const char* text, json::object more = {}) {
    more["content"] = text;
    const auto reply = client.request("Course.Post.wall", room(more));
    EXPECT_EQ(code(reply), 0) << json::serialize(reply);
    return data(reply).at("id").as_int64();
  }
  static std::vector<std::string> contents(const json::array& messages) {
    std::vector<std::string> texts;
    for (const auto& message : messages) texts.emplace_back(message.at("content").as_string().c_str());
    return texts;
  }
  using Texts = std::vector<std::string>;

  std::int64_t id = 0;
};

TEST_F(Interactions, WallShowsPostsNewestFirstAndCommentsEverythingInOrder) {
  RawClient ming = signedIn(kStudent), hong = signedIn(kSecondStudent);
  const std::int64_t first = post(ming, "一");
  post(hong, "二");
  post(hong, "答一", one("commentID", std::to_string(first).c_str()));
  const json::array wall = list(ming.request("Course.Get.Wall", room({{"start", 0}, {"limit", 300}})));
  EXPECT_EQ(contents(wall), (Texts{"二", "一"}));
  EXPECT_EQ(wall.at(0).at("nick"), "小红");
  const json::array comments = list(hong.request("Course.Get.Comment", room({{"start", 0}, {"limit", 30}})));
  EXPECT_EQ(contents(comments), (Texts{"一", "二", "答一"}));
  EXPECT_EQ(comments.at(2).at("commentID"), first);
  EXPECT_EQ(contents(list(hong.request("Course.Get.Comment", room({{"start", 1}, {"limit", 1}})))),
            Texts{"二"});
  EXPECT_EQ(data(ming.request("Course.Get.Row", room())).at("wallCnt"), 3);
}

TEST_F(Interactions, PostMayBeAFileOrAPictureAndIsNeverEmpty) {
  RawClient client = signedIn(kStudent);
  const auto file =
      client.request("Course.Post.wall", room({{"fileID", "m1"}, {"oss", "1"}, {"photoID", "p1"}}));
  EXPECT_EQ(data(file).at("fileID"), "m1");
  EXPECT_EQ(data(file).at("photoID"), "p1");
  EXPECT_EQ(code(client.request("Course.Post.wall", room())), 1104);
  EXPECT_EQ(code(client.request("Course.Post.wall", room(one("content", "")))), 1104);
  EXPECT_EQ(code(client.request("Course.Post.wall", room(one("content", json::string(20'001, 'x'))))), 1104);
  EXPECT_EQ(code(client.request("Course.Post.wall", one("content", "x"))), 1104);
  EXPECT_EQ(code(client.request("Course.Post.wall", room({{"content", "x"}, {"commentID", "77777"}}))), 1205);
}

TEST_F(Interactions, LikingTwiceIsLikingOnce) {
  RawClient ming = signedIn(kStudent), hong = signedIn(kSecondStudent);
  const std::int64_t wall = post(ming, "一");
  const json::object values = one("wallID", std::to_string(wall).c_str());
  EXPECT_EQ(data(ming.request("Course.Wall.like", values)).at("likeCnt"), 1);
  EXPECT_EQ(data(ming.request("Course.Wall.like", values)).at("likeCnt"), 1);
  EXPECT_EQ(data(hong.request("Course.Wall.like", values)).at("likeCnt"), 2);
  EXPECT_EQ(list(hong.request("Course.Get.Wall", room())).at(0).at("liked"), true);
  EXPECT_EQ(code(hong.request("Course.Wall.like", one("wallID", 77'777))), 1205);
  EXPECT_EQ(code(hong.request("Course.Wall.like", one("wallID", ""))), 1104);
}

TEST_F(Interactions, MessageIsDeletedByItsAuthorOrATeacherWithItsAnswers) {
  RawClient ming = signedIn(kStudent), hong = signedIn(kSecondStudent), teacher = signedIn();
  const std::int64_t first = post(ming, "一"), second = post(ming, "二");
  post(hong, "答一", one("commentID", first));
  auto remove = [&](RawClient& client, std::int64_t message) {
    return code(client.request("Course.Comment.Delete", room(one("commentID", message))));
  };
  EXPECT_EQ(remove(hong, first), 1203);
  EXPECT_EQ(remove(teacher, first), 0);
  EXPECT_EQ(remove(ming, first), 1205);
  EXPECT_EQ(remove(ming, second), 0);
  EXPECT_TRUE(list(ming.request("Course.Get.Comment", room())).empty());
}

TEST_F(Interactions, FollowedCoursesAreListed) {
  RawClient client = signedIn(kStudent);
  auto follow = [&](int type) {
    return client.request("Course.User.Follow", {{"roomID", id}, {"type", type}});
  };
  auto followed = [&](json::value room) {
    return list(client.request("Course.User.Myfollow", {{"roomID", room}, {"start", 0}, {"limit", 30}}))
        .size();
  };
  EXPECT_EQ(data(follow(1)).at("followed"), true);
  EXPECT_EQ(code(follow(1)), 0);
  EXPECT_EQ(followed(0), 1u);
  EXPECT_EQ(followed(id), 1u);
  EXPECT_EQ(followed(id - 1), 0u);
  EXPECT_EQ(data(client.request("Course.Get.Info", room())).at("followed"), true);
  EXPECT_EQ(data(follow(0)).at("followed"), false);
  EXPECT_EQ(followed(0), 0u);
  EXPECT_EQ(code(follow(7)), 1104);
}

TEST_F(Interactions, EnrolmentCountsListsAndEarns) {
  RawClient teacher = signedIn(), ming = signedIn(kStudent), hong = signedIn(kSecondStudent);
  EXPECT_EQ(data(ming.request("Course.User.Enroll", room())).at("price"), 9.9);
  EXPECT_EQ(code(ming.request("Course.User.Enroll", room())), 0);
  EXPECT_EQ(code(hong.request("Course.User.Enroll", room())), 0);
  EXPECT_EQ(server.course(id)->at("enrolmentCnt"), 2);
  EXPECT_EQ(server.course(id)->at("income"), 20);
  EXPECT_EQ(data(ming.request("Course.Get.Info", room())).at("enrolled"), true);
  const json::array mine = list(hong.request("Course.User.Mycourse", {{"start", 0}, {"limit", 1}}));
  ASSERT_EQ(mine.size(), 1u);
  EXPECT_EQ(mine.at(0).at("roomID").as_int64(), id);
  const json::array enrolled =
      list(teacher.request("Course.Get.Enrolist", room({{"start", 0}, {"limit", 30}})));
  ASSERT_EQ(enrolled.size(), 2u);
  EXPECT_EQ(enrolled.at(0).at("nick"), "小明");
  EXPECT_EQ(code(ming.request("Course.Get.Enrolist", room())), 1203);
  const json::object income = data(teacher.request("Course.Get.Income", {{"start", 0}, {"limit", 30}}));
  EXPECT_EQ(income.at("total"), "19.80");
  EXPECT_EQ(income.at("items").at(0).at("roomID"), id);
  EXPECT_EQ(data(teacher.request("Course.Room.Info", {})).at("income"), "19.80");
}

TEST_F(Interactions, EnrolmentFormAndWithdrawnCourses) {
  RawClient client = signedIn(kStudent);
  server.changeCourse(id, {{"enrollTableEnable", 1}, {"enrollcols", {{{"name", "姓名"}, {"id", 0}}}}});
  const json::object form = data(client.request("Course.Enrolment.Column", one("roomID", id)));
  EXPECT_EQ(form.at("enrollTableEnable"), 1);
  EXPECT_EQ(form.at("enrollcols").at(0).at("name"), "姓名");
  server.changeCourse(id, one("status", 4));
  EXPECT_EQ(code(client.request("Course.User.Enroll", room())), 1204);
}

TEST_F(Interactions, RewardsAreListedForTeachers) {
  RawClient teacher = signedIn(), student = signedIn(kStudent);
  const json::array over =
      list(teacher.request("Course.Get.Coming", {{"classroomID", 5001}, {"status", 3}, {"limit", 1}}));
  const json::object values = one("roomID", over.at(0).at("roomID"));
  const json::array rewards = list(teacher.request("Classroom.Reward.Get", values));
  ASSERT_EQ(rewards.size(), 1u);
  EXPECT_EQ(rewards.at(0).at("nick"), "小红");
  EXPECT_EQ(rewards.at(0).at("amount"), 6.6);
  EXPECT_EQ(code(student.request("Classroom.Reward.Get", values)), 1203);
}

TEST_F(Interactions, BillingRunsOnceAndStops) {
  RawClient teacher = signedIn();
  auto ask = [&](const char* command, const char* type) {
    return code(teacher.request(command, {{"roomID", id}, {"type", type}}));
  };
  EXPECT_EQ(ask("Course.Billing.Stop", "live"), 1204);
  EXPECT_EQ(ask("Course.Billing.Start", "live"), 0);
  EXPECT_EQ(ask("Course.Billing.Start", "live"), 1204);
  EXPECT_EQ(ask("Course.Billing.Start", "vod"), 0) << "the other kind runs by itself";
  EXPECT_EQ(ask("Course.Billing.Stop", "live"), 0);
  EXPECT_EQ(ask("Course.Billing.Start", "live"), 0);
  EXPECT_EQ(ask("Course.Billing.Start", "air"), 1104);
  EXPECT_EQ(code(teacher.request("Course.Billing.Start", one("roomID", id))), 1104);
}

}  // namespace
}  // namespace orv::test::interactions_test
