#include <orvnetwork/session/QXUserInfoMgr.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include "tests/unit/course/PagingFixture.h"

#include <algorithm>
#include <string>

namespace orv::page_of_another_user_test {

namespace {

/// The user changes while a page is on its way, or while one that has come waits for a worker.
class PageOfAnotherUser : public PagingFixture {
 protected:
  /// Lets replies reach the main thread, and nothing of what they start be done.
  void answerWhileNobodyWorks() {
    platform.holdGlobalQueue(true);
    answerHeld(pageOf(page));
    QXUserInfoMgr::getInstance().setUserInfo(makeUser("100002", "5002"));
    platform.holdGlobalQueue(false);
    settle();
  }
  bool hasRecordFiles() {
    const auto files = platform.files().snapshot();
    return std::any_of(files.begin(), files.end(),
                       [](const auto& file) { return file.first.find("/5002/") != std::string::npos; });
  }

  json::array page;
};

TEST_F(PageOfAnotherUser, RecordedCoursesAreNotMergedIntoTheNextCatalogue) {
  listRooms(30, 1);
  page = recorded;
  signIn();
  holdPages();
  ask("first", 0, 30);
  settle();
  answerWhileNobodyWorks();
  EXPECT_EQ(courses().currentClassroomID(), "5002");
  EXPECT_EQ(courses().cloudCourseList(), Keys{});
  EXPECT_FALSE(hasRecordFiles());
}

TEST_F(PageOfAnotherUser, LiveCoursesAreNotMergedIntoTheNextCatalogue) {
  listLive(2, 1, 30);
  page = live[2];
  signIn();
  holdPages();
  askLive("first", 0, 30, 2);
  settle();
  answerWhileNobodyWorks();
  EXPECT_EQ(courses().getLiveCourseCountWithStatus(2), 0u);
  EXPECT_FALSE(hasRecordFiles());
}

TEST_F(PageOfAnotherUser, RecordedCoursesThatWereOnTheirWayAreNotMergedEither) {
  signIn();
  holdPages();
  ask("first", 0, 30);
  settle();
  QXUserInfoMgr::getInstance().setUserInfo(makeUser("100002", "5002"));
  settle();
  ask("second", 0, 30, true);
  settle();
  ASSERT_EQ(held.size(), 1u) << "one page at a time";
  answerHeld(pageOf({courseItem(3), courseItem(2), courseItem(1)}));
  EXPECT_EQ(courses().cloudCourseList(), Keys{});
  EXPECT_FALSE(hasRecordFiles());
  EXPECT_EQ(answers, Strings{}) << "what waits is not answered with nothing for the other one's page";
  ASSERT_EQ(held.size(), 1u);
  EXPECT_EQ(held[0].at("v").at("classroomID"), "5002");
  EXPECT_EQ(held[0].at("v").at("start"), 1);
  answerHeld(pageOf({courseItem(5), courseItem(4)}));
  EXPECT_EQ(answers, Strings{"second true 2"});
  EXPECT_EQ(courses().cloudCourseList(), (Keys{"5", "4"}));
}

TEST_F(PageOfAnotherUser, LiveCoursesThatWereOnTheirWayAreNotMergedEither) {
  signIn("100001", "5001");
  holdPages();
  askLive("first", 0, 30, 2);
  settle();
  QXUserInfoMgr::getInstance().setUserInfo(makeUser("100002", "5001"));
  settle();
  askLive("second", 0, 30, 2, true);
  settle();
  ASSERT_EQ(held.size(), 1u);
  answerHeld(pageOf({courseItem(1, live_type::kLive, 2)}));
  EXPECT_EQ(list(2), Keys{});
  EXPECT_EQ(answers, Strings{});
  ASSERT_EQ(held.size(), 1u);
  EXPECT_EQ(held[0].at("v").at("uID"), 100002);
  answerHeld(pageOf({courseItem(7, live_type::kLive, 2)}));
  EXPECT_EQ(answers, Strings{"second true 1"});
  EXPECT_EQ(list(2), Keys{"7"});
}

TEST_F(PageOfAnotherUser, IsNotAskedForAgainInTheNameOfTheNextOne) {
  listRooms(40, 1);
  signIn();
  getCourses(0, 30);
  holdPages();
  ask("first", 30, 10);
  settle();
  ASSERT_EQ(held.at(0).at("v").at("start"), 2);
  QXUserInfoMgr::getInstance().setUserInfo(makeUser("100002", "5002"));
  ask("second", 0, 30);
  runFor(11);
  ASSERT_EQ(held.size(), 2u);
  EXPECT_EQ(held[1].at("v").at("start"), 1);
  EXPECT_EQ(held[1].at("v").at("uID"), 100002);
  held.erase(held.begin());
  answerHeld(pageOf({courseItem(5)}));
  EXPECT_EQ(answers, Strings{"second true 1"});
}

TEST_F(PageOfAnotherUser, IsNotAskedForInTheNextCatalogueWhenItWasWantedForTheOneBefore) {
  signIn();
  holdPages();
  // A worker has the loads of the pages still before it when the user changes.
  platform.holdGlobalQueue(true);
  ask("first", 60, 30, true);
  askLive("first", 60, 30, 2, true);
  courses().checkCourseRequestPage_arriveLastPage_retryCount(-1, false, MaxRetryCount);
  courses().checkLiveCourseRequestPage_courseStatus_arriveLastPage_retryCount(-1, 2, false, MaxRetryCount);
  QXUserInfoMgr::getInstance().setUserInfo(makeUser("100002", "5002"));
  platform.holdGlobalQueue(false);
  settle();
  EXPECT_EQ(held.size(), 0u) << "nobody wants the third page of this one";
  ask("second", 0, 30);
  askLive("second", 0, 30, 2);
  settle();
  ASSERT_EQ(held.size(), 2u);
  for (const json::object& request : held) EXPECT_EQ(request.at("v").at("start"), 1);
}

TEST_F(PageOfAnotherUser, IsNotMergedWhenTheFirstOneIsBackBefore) {
  signIn();
  holdPages();
  ask("first", 0, 30);
  settle();
  QXUserInfoMgr::getInstance().setUserInfo(makeUser("100002", "5002"));
  QXUserInfoMgr::getInstance().setUserInfo(makeUser());
  settle();
  answerHeld(pageOf({courseItem(3)}));
  EXPECT_EQ(courses().cloudCourseList(), Keys{}) << "nobody waits for it any more";
}

TEST_F(PageOfAnotherUser, WaitsForASessionAndIsNotMergedIntoTheNextCatalogue) {
  signIn();
  holdPages();
  ask("first", 0, 30);
  settle();
  server.reply(server.latest(), held.at(0), {{"ret", 1001}});
  settle();
  ASSERT_EQ(link.parkedRequestCount(), 1u);
  held.clear();
  QXUserInfoMgr::getInstance().setUserInfo(makeUser("100002", "5002"));
  ask("second", 0, 30);
  QXUserInfoMgr::getInstance().refresheSession();
  settle();
  ASSERT_EQ(held.size(), 1u) << "sent again as it was";
  EXPECT_EQ(held[0].at("v").at("classroomID"), "5001");
  answerHeld(pageOf({courseItem(3)}));
  EXPECT_EQ(courses().cloudCourseList(), Keys{});
  answerHeld(pageOf({courseItem(5)}));
  EXPECT_EQ(courses().cloudCourseList(), Keys{"5"});
  EXPECT_EQ(answers, Strings{"second true 1"});
}

}  // namespace

}  // namespace orv::page_of_another_user_test
