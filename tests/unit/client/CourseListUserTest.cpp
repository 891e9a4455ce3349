// The user changes.

#include <orvnetwork/client/CourseList.h>
#include <orvnetwork/platform/Executor.h>
#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/session/QXUserInfoMgr.h>
#include <orvnetwork/transport/QXNotification.h>

#include "CourseListFixture.h"
#include <tests/support/LocalCourse.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace orv::course_list_user_test {
namespace {

using CourseListUser = CourseListFixture;

TEST_F(CourseListUser, RowsOfTheOldUserGoInOneChangeAndThoseOfTheNewOneCome) {
  auto list = loadedList(40);
  View view(list);
  recorded = items(105, 100);
  changeUser("100002");
  settle();
  EXPECT_EQ(list.keys(), rooms(105, 100));
  ASSERT_EQ(view.rowChanges(), 2u);
  EXPECT_EQ(view.changes()[0].removed, (std::vector<CourseListRange>{{0, 40}}));
  EXPECT_TRUE(view.changes()[0].after->empty());
  EXPECT_EQ(stored(), rooms(105, 100));
}

TEST_F(CourseListUser, IsHeardOfAlsoAmongMoreChangesThanAreKept) {
  auto list = loadedList(40);
  View view(list);
  holdPages();
  changeUser("100002");
  courses().reload();
  courses().addLocalCourse(test::localCourse(1, "课程"));
  courses().addLocalCourse(test::localCourse(2, "课程"));
  for (std::int64_t room = 1; room <= 1500; ++room) {
    courses().refreshLocalCourse(test::localCourse(1 + room % 2, "课程"));
  }
  settle();
  EXPECT_EQ(list.size(), 0u);
}

TEST_F(CourseListUser, AnotherClassroomIsAnotherList) {
  auto list = loadedList(40);
  recorded = items(105, 100);
  changeUser("100001", "5002");
  settle();
  EXPECT_EQ(list.keys(), rooms(105, 100));
}

TEST_F(CourseListUser, AClassroomThatTheServerChangesIsAnotherListToo) {
  auto list = loadedList(40);
  recorded = items(105, 100);
  instead = [this](const json::object& frame) -> std::optional<json::object> {
    if (frame.at("c") == "Course.Get.Items") return pageAsked(frame);
    return json::object{{"ret", 0}, {"data", {{"id", "5002"}}}};
  };
  QXUserInfoMgr::getInstance().refreshClassroomInfo();
  settle();
  EXPECT_EQ(list.keys(), rooms(105, 100));
  EXPECT_EQ(courses().currentClassroomID(), "5002");
  EXPECT_EQ(stored(), rooms(105, 100));
}

TEST_F(CourseListUser, ComesBackToWhatIsStored) {
  auto list = loadedList(40);
  changeUser("100002");
  settle();
  instead = [this](const json::object&) { return kRefused; };
  changeUser("100001");
  settle();
  EXPECT_EQ(list.keys(), rooms(40, 1));
  EXPECT_EQ(list.state().phase, CourseListPhase::Failed);
}

TEST_F(CourseListUser, SigningOutEmptiesTheList) {
  auto list = loadedList(40);
  View view(list);
  QXUserInfoMgr::getInstance().setUserInfo(nullptr);
  settle();
  EXPECT_EQ(list.size(), 0u);
  EXPECT_EQ(list.state(), CourseListState{});
  EXPECT_EQ(view.rowChanges(), 1u);
}

TEST_F(CourseListUser, SigningOutFailsALoadThatIsUnderWay) {
  signIn();
  auto list = CourseList::recorded();
  holdPages();
  list.loadMore();
  settle();
  QXUserInfoMgr::getInstance().setUserInfo(nullptr);
  settle();
  ASSERT_TRUE(list.lastError());
  EXPECT_EQ(list.lastError()->kind, CourseListErrorKind::NoUser);
  answerHeld(pageOf(items(40, 30)));
  EXPECT_EQ(list.size(), 0u);
}

TEST_F(CourseListUser, APageOfTheOldUserThatComesLateGoesNowhere) {
  signIn();
  auto list = CourseList::recorded();
  holdPages();
  list.loadMore();
  settle();
  changeUser("100002");
  settle();
  ASSERT_EQ(held.size(), 2u);
  answerHeld(pageOf(items(40, 30)));
  EXPECT_EQ(list.size(), 0u);
  answerHeld(pageOf(items(9, 5)));
  EXPECT_EQ(list.keys(), rooms(9, 5));
  EXPECT_EQ(stored(), rooms(9, 5));
}

TEST_F(CourseListUser, NothingIsReadForAUserWhoseSignInIsGivenUp) {
  auto list = loadedList(10);
  unlist(recorded, 5);
  instead = [this](const json::object& frame) -> std::optional<json::object> {
    if (frame.at("c") != "Course.Get.Items") return json::object{{"ret", 0}, {"data", json::object()}};
    const bool isOther = json::serialize(frame.at("v")).find("100002") != std::string::npos;
    return isOther ? pageOf(items(105, 100)) : pageAsked(frame);
  };
  const auto user = QXUserInfoMgr::getInstance().userInfo();
  for (int round = 0; round < 200; ++round) {
    list.refresh();
    for (int step = 0; step < round / 10; ++step) platform.step();
    // A worker stores the other one, and the main thread does not hear of it at once.
    bool isStored = false;
    platform.globalQueue().post([&] {
      changeUser("100002");
      isStored = true;
    });
    while (!isStored) platform.step();
    for (int step = 0; step < round % 10 && courses().currentUserID() == 100001; ++step) platform.step();
    QXUserInfoMgr::getInstance().setUserInfo(user);
    runFor(1);
    list.refresh();
    ASSERT_EQ(list.keys(), serverRooms(recorded)) << "round " << round;
    settle();
    ASSERT_EQ(list.keys(), serverRooms(recorded)) << "round " << round;
    ASSERT_EQ(stored(), serverRooms(recorded)) << "round " << round;
  }
}

TEST_F(CourseListUser, NothingIsAskedForWhileTheCatalogueIsAnothersAndInTheEndThatIsAFailure) {
  signIn();
  listRooms(10, 1);
  auto list = CourseList::recorded();
  courses().setCurrentUserID(42);
  list.loadMore();
  runFor(11.5);
  EXPECT_TRUE(list.isLoading());
  EXPECT_EQ(pagesAsked, Strings{});
  runFor(1);
  ASSERT_TRUE(list.lastError());
  EXPECT_EQ(list.lastError()->text, "another user is signing in");
  EXPECT_EQ(list.lastError()->kind, CourseListErrorKind::NoUser);
}

TEST_F(CourseListUser, APageThatComesWhileTheCatalogueIsAnothersIsAskedForAgain) {
  signIn();
  auto list = CourseList::recorded();
  holdPages();
  list.loadMore();
  settle();
  courses().setCurrentUserID(42);
  answerHeld(pageOf(items(40, 30)));
  EXPECT_EQ(list.size(), 0u);
  EXPECT_TRUE(list.isLoading());
  courses().setCurrentUserID(100001);
  runFor(0.3);
  ASSERT_EQ(held.size(), 1u);
  answerHeld(pageOf(items(9, 5)));
  EXPECT_EQ(list.keys(), rooms(9, 5));
}

TEST_F(CourseListUser, ChangesAtEveryStepOfALoadLeadToTheNewUsersList) {
  signIn();
  auto list = CourseList::recorded();
  View view(list);
  settle();
  for (int steps = 0; steps < 120; ++steps) {
    recorded = items(70, 1);
    changeUser("10000" + std::to_string(steps % 2 + 1));
    list.refresh();
    for (int step = 0; step < steps; ++step) platform.step();
    recorded = items(170, 100);
    changeUser("10000" + std::to_string((steps + 1) % 2 + 1));
    settle();
    list.refresh();
    settle();
    loadAll(list);
    ASSERT_EQ(list.keys(), rooms(170, 100)) << "after " << steps << " steps";
    ASSERT_EQ(stored(), rooms(170, 100)) << "after " << steps << " steps";
  }
}

}  // namespace
}  // namespace orv::course_list_user_test
