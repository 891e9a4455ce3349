// The user changes, and lists go away.

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

class CourseListUser : public CourseListFixture {
 protected:
  void changeUser(std::string uID, std::string classroom = "5001") {
    QXUserInfoMgr::getInstance().setUserInfo(makeUser(std::move(uID), std::move(classroom)));
  }
};

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

using CourseListLife = CourseListUser;

TEST_F(CourseListLife, DestroyingItIsSilenceAtEveryStep) {
  signIn();
  listRooms(95, 1);
  for (int steps = 0; steps < 150; ++steps) {
    int told = 0;
    auto list = std::make_unique<CourseList>(CourseList::recorded());
    const Subscription seen = list->onChanged([&told](const auto&) { ++told; });
    list->loadMore();
    for (int step = 0; step < steps; ++step) platform.step();
    if (steps % 3 == 0) changeUser("10000" + std::to_string(steps % 2 + 1));
    list.reset();
    const int before = told;
    settle();
    ASSERT_EQ(told, before) << "after " << steps << " steps";
  }
}

TEST_F(CourseListLife, ItMayBeDestroyedFromInsideItsOwnCallback) {
  signIn();
  listRooms(95, 1);
  int told = 0, toldOther = 0;
  auto list = std::make_unique<CourseList>(CourseList::recorded());
  const Subscription seen = list->onChanged([&](const CourseListChange& change) {
    ++told;
    if (change.changesRows()) list.reset();
  });
  const Subscription other = list->onChanged([&](const CourseListChange& change) {
    if (change.changesRows()) ++toldOther;
  });
  list->loadMore();
  settle();
  EXPECT_EQ(list, nullptr);
  EXPECT_EQ(toldOther, 0);
  const int before = told;
  runFor(30);
  EXPECT_EQ(told, before);
}

TEST_F(CourseListLife, TheMainThreadWaitsNeitherForTheDiskNorForTheCatalogue) {
  signIn();
  listRooms(95, 1);
  auto list = CourseList::recorded();
  list.loadMore();
  settle();
  // From here on whoever waits for the catalogue waits for ever, and no worker works.
  platform.holdGlobalQueue(true);
  const auto catalogue = courses().dataSemaphore();
  catalogue->wait();
  const auto calls = platform.files().calls();
  auto local = CourseList::local();
  auto coming = CourseList::live(1);
  for (CourseList* each : {&list, &local, &coming}) {
    each->loadMore();
    settle();
    each->refresh();
    settle();
    for (std::size_t index = 0; index < each->size(); ++index) EXPECT_NE(each->at(index), nullptr);
    EXPECT_EQ(each->indexOf(-1), std::nullopt);
  }
  EXPECT_EQ(list.keys(), rooms(95, 66));
  { const auto gone = CourseList::recorded(); }
  settle();
  EXPECT_EQ(platform.files().calls(), calls);
  catalogue->signal();
  platform.holdGlobalQueue(false);
  settle();
  loadAll(list);
  EXPECT_EQ(list.keys(), rooms(95, 1));
  EXPECT_TRUE(local.atEnd());
}

TEST_F(CourseListLife, WhatIsWithdrawnIsNotCalled) {
  signIn();
  listRooms(95, 1);
  auto list = CourseList::recorded();
  int told = 0;
  Subscription seen = list.onChanged([&](const auto&) {
    ++told;
    seen.reset();
  });
  loadAll(list);
  EXPECT_EQ(told, 1);
  EXPECT_EQ(list.keys(), rooms(95, 1));
}

TEST_F(CourseListLife, ALoadMayBeAskedForInsideTheCallback) {
  signIn();
  listRooms(95, 1);
  auto list = CourseList::recorded();
  View view(list);
  view.also = [&](const CourseListChange&) {
    if (list.canLoadMore()) list.loadMore();
  };
  list.loadMore();
  settle();
  EXPECT_TRUE(list.atEnd());
  EXPECT_EQ(list.keys(), rooms(95, 1));
}

TEST_F(CourseListLife, MovesToAnotherOwner) {
  signIn();
  listRooms(10, 1);
  auto list = CourseList::recorded();
  list.loadMore();
  CourseList owner = std::move(list);
  settle();
  EXPECT_EQ(owner.keys(), rooms(10, 1));
  owner = CourseList::local();
  settle();
  EXPECT_EQ(owner.size(), 0u);
  EXPECT_TRUE(owner.atEnd());
}

TEST_F(CourseListLife, OneChangeATurn) {
  signIn();
  listRooms(95, 1);
  auto list = CourseList::recorded();
  std::uint64_t turn = 0, lastTurn = 0;
  int twice = 0;
  const Subscription seen = list.onChanged([&](const auto&) {
    if (turn == lastTurn) ++twice;
    lastTurn = turn;
  });
  list.loadMore();
  for (int round = 0; round < 400; ++round) {
    ++turn;
    if (round % 20 == 0) changeUser("10000" + std::to_string(round / 20 % 2 + 1));
    if (round % 7 == 0) list.refresh();
    if (round % 9 == 0) list.loadMore();
    platform.step();
  }
  EXPECT_EQ(twice, 0);
}

}  // namespace
}  // namespace orv::course_list_user_test
