// Attempts to load a page of live courses, what is logged of them, and what a change of the classroom does.

#include <orvnetwork/data/TextFormat.h>
#include <orvnetwork/session/QXUserInfoMgr.h>

#include "tests/unit/course/PagingFixture.h"

#include <optional>
#include <string>

namespace orv::live_paging_failure_test {

namespace {

class LivePagingFailure : public PagingFixture {
 protected:
  static void changeClassroom(const std::string& classroom) {
    QXUserInfoMgr::getInstance().userInfo()->classroom = classroom;
  }
};

// Attempts ------------------------------------------------------------------------------------------------------

TEST_F(LivePagingFailure, TimeOutsAreTriedThreeTimes) {
  signIn();
  holdPages();
  askLive("a", 0, 30, 1);
  runFor(29.5);
  EXPECT_EQ(held.size(), 3u);
  EXPECT_EQ(answers, Strings{});
  runFor(1);
  EXPECT_EQ(answers, Strings{"a true 0"});
  EXPECT_EQ(courseLines(), Strings{});
  EXPECT_TRUE(courses().reqLiveSemaphore()->tryWait());
}

TEST_F(LivePagingFailure, RefusalsAreTriedThreeTimesWithoutDelay) {
  signIn();
  answerPagesWith({kRefused, kRefused, kRefused});
  const double begin = now();
  EXPECT_EQ(getLiveCourses(0, 30, 1), (Answer{true, 0}));
  EXPECT_EQ(now(), begin);
  EXPECT_EQ(pagesAsked.size(), 3u);
}

TEST_F(LivePagingFailure, RangeGoesOnAfterTheSecondAttempt) {
  listLive(1, 1, 60);
  signIn();
  answerPagesWith({kRefused});
  EXPECT_EQ(getLiveCourses(0, 60, 1), (Answer{true, 60}));
}

TEST_F(LivePagingFailure, ReplyWithoutValuesCountsAsAFailure) {
  signIn();
  holdPages();
  askLive("a", 0, 30, 1);
  settle();
  for (int attempt = 0; attempt < 3; ++attempt) {
    ASSERT_EQ(held.size(), 1u);
    const json::object request = held.front();
    held.clear();
    server.send(server.latest(),
                json::serialize(json::object{{"C", request.at("c")}, {"s", request.at("s")}}));
    settle();
  }
  EXPECT_EQ(answers, Strings{"a true 0"});
}

TEST_F(LivePagingFailure, DataOfTheWrongKindIsAnEmptyPage) {
  listLive(1, 1, 3);
  signIn();
  getLiveCourses(0, 30, 1);
  for (const json::object& odd :
       {json::object{{"ret", 0}}, json::object{{"ret", 0}, {"data", json::object{{"roomID", 1}}}},
        json::object{{"ret", 0}, {"data", "text"}}, json::object{{"ret", 0}, {"data", nullptr}}}) {
    pagesAsked.clear();
    answerPagesWith({odd});
    EXPECT_EQ(getLiveCourses(0, 30, 1, true), (Answer{true, 3})) << json::serialize(odd);
    EXPECT_EQ(pagesAsked.size(), 1u) << json::serialize(odd);
  }
}

TEST_F(LivePagingFailure, LoadWithoutALinkDoesNothing) {
  QXUserInfoMgr::getInstance().setUserInfo(makeUser());
  courses().setLastValidLiveCourse("7");
  courses().loadLiveCourseWithPage_courseStatus_retryCount(1, 1, 3);
  EXPECT_EQ(courses().lastValidLiveCourse(), "7");
  EXPECT_TRUE(courses().reqLiveSemaphore()->tryWait());
}

TEST_F(LivePagingFailure, OnePageIsOnTheWireAtATime) {
  signIn();
  holdPages();
  askLive("a", 0, 60, 1);
  askLive("b", 0, 30, 2, true);
  settle();
  courses().loadLiveCourseWithPage_courseStatus_retryCount(3, 2, 3);
  settle();
  EXPECT_EQ(held.size(), 1u);
}

// The log -------------------------------------------------------------------------------------------------------

TEST_F(LivePagingFailure, LogsWhatItLoads) {
  live[2] = {courseItem(7, 1, 2), courseItem(5, 3, 2)};
  live[2][1].as_object().erase("title");
  signIn("100001", "5001");
  getLiveCourses(0, 30, 2);
  EXPECT_EQ(courseLines(), (Strings{"拉取课程(状态 2)列表成功: 5001 五年级一班", "拉取课程(状态 2)个数: 2",
                                    "新拉取课程(state 2): 课程 7, (null), "}));
}

TEST_F(LivePagingFailure, LogsAClassroomWithoutAName) {
  signIn("100001", "5001");
  QXUserInfoMgr::getInstance().userInfo()->classroominfo = nullptr;
  getLiveCourses(0, 30, 1);
  EXPECT_EQ(courseLines(), (Strings{"拉取课程(状态 1)列表成功: 5001 (null)", "拉取课程(状态 1)个数: 0",
                                    "新拉取课程(state 1): "}));
}

TEST_F(LivePagingFailure, LogsARefusalWithTheWholeReply) {
  signIn("100001", "5001");
  answerPagesWith({json::object{{"ret", 5}}});
  courses().loadLiveCourseWithPage_courseStatus_retryCount(1, 3, 1);
  settle();
  const auto request = *server.lastRequest("Course.Get.Coming");
  const json::object reply{{"C", "Course.Get.Coming"}, {"s", request.at("s")}, {"v", {{"ret", 5}}}};
  const std::string text = "拉取课程(状态 3)列表失败: 5001 五年级一班 " + describe(reply);
  std::string lines;
  for (const auto& line : logLines()) lines += line + "\n";
  EXPECT_NE(lines.find(text + "\n"), std::string::npos) << lines;
}

// The classroom changes -----------------------------------------------------------------------------------------

TEST_F(LivePagingFailure, ChangeOfTheClassroomWhileAPageIsUnderWayEndsTheLoadingForGood) {
  listLive(1, 1, 3);
  signIn("100001", "5001");
  holdPages();
  askLive("a", 0, 3, 1);
  settle();
  changeClassroom("5002");  // Told to nobody, so that the request stays.
  answerHeld(pageAsked(held.front()));
  EXPECT_EQ(courses().getLiveCourseCountWithStatus(1), 0u);
  EXPECT_FALSE(courses().reqLiveSemaphore()->tryWait());
  EXPECT_EQ(courseLines(), Strings{"拉取课程(状态 1)列表成功: 5001 五年级一班"});
  changeClassroom("5001");
  askLive("b", 0, 3, 1);
  runFor(300);
  EXPECT_EQ(pagesAsked, Strings{"coming 1 of status 1"});
  EXPECT_EQ(answers, Strings{});
  EXPECT_EQ(courses().requestLiveList().size(), 2u);
  ask("recorded", 0, 1);  // Recorded courses go on.
  settle();
  EXPECT_EQ(pagesAsked.back(), "items 1");
}

TEST_F(LivePagingFailure, ChangeOfTheClassroomWithTheLastAttemptAnswersThoseThatWait) {
  listLive(1, 1, 3);
  signIn("100001", "5001");
  answerPagesWith({kRefused, kRefused, std::nullopt});
  askLive("a", 0, 3, 1);
  settle();
  const auto request = *server.lastRequest("Course.Get.Coming");
  changeClassroom("5002");
  server.reply(server.latest(), request, kRefused);
  settle();
  EXPECT_EQ(answers, Strings{"a true 0"});
  EXPECT_FALSE(courses().reqLiveSemaphore()->tryWait());
}

TEST_F(LivePagingFailure, LogOutWhileAPageIsUnderWayCountsAsAChange) {
  signIn("100001", "5001");
  holdPages();
  askLive("a", 0, 3, 1);
  settle();
  const auto request = held.front();
  platform.network().setDefaultPlan(testing::ConnectPlan::neverAnswer());
  server.reply(server.latest(), request, pageOf({}));
  platform.holdMainQueue(true);
  settle();
  // The reply is on its way to the main thread while the user goes.
  QXUserInfoMgr::getInstance().userInfo()->classroom = std::nullopt;
  platform.holdMainQueue(false);
  settle();
  EXPECT_FALSE(courses().reqLiveSemaphore()->tryWait());
}

TEST_F(LivePagingFailure, TimeOutAfterAChangeOfTheClassroomFreesThePage) {
  listLive(1, 1, 3);
  signIn("100001", "5001");
  answerPagesWith({std::nullopt});
  askLive("a", 0, 3, 1);
  settle();
  changeClassroom("5002");
  runFor(11);
  EXPECT_EQ(answers, Strings{"a true 3"});
  EXPECT_EQ(server.lastRequest("Course.Get.Coming")->at("v").at("classroomID"), 5002);
}

TEST_F(LivePagingFailure, PageOfAStatusThatHasNoListIsMergedNowhere) {
  listLive(2, 7, 9);
  signIn();
  answerPagesWith({pageOf({courseItem(5, live_type::kLive, 99)})});
  for (const std::uint64_t status : {std::uint64_t{6}, std::uint64_t{99}, ~std::uint64_t{0}}) {
    courses().loadLiveCourseWithPage_courseStatus_retryCount(1, status, 3);
    settle();
  }
  for (const auto& keys : courses().liveCourseList()) EXPECT_EQ(keys, Keys{});
  EXPECT_FALSE(isLiveInMemory(5));
  EXPECT_FALSE(hasLiveFile(5));
}

}  // namespace

}  // namespace orv::live_paging_failure_test
