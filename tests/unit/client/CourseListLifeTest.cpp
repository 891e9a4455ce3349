// Lists of courses come, move and go away.

#include <orvnetwork/client/CourseList.h>
#include <orvnetwork/client/CourseListChange.h>
#include <orvnetwork/client/CourseRows.h>

#include "CourseListFixture.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace orv::course_list_life_test {
namespace {

using CourseListLife = CourseListFixture;

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

TEST_F(CourseListLife, ItsRowsAreDestroyedByAWorkerAlsoWhenAnotherListTakesItsPlace) {
  std::optional<CourseList> list(loadedList(40));
  const auto expectThatAWorkerDestroys = [this](const std::weak_ptr<const CourseRows>& rows) {
    settle();
    EXPECT_FALSE(rows.expired()) << "by the main thread";
    platform.holdGlobalQueue(false);
    settle();
    EXPECT_TRUE(rows.expired());
  };
  std::weak_ptr<const CourseRows> rows = list->rows();
  platform.holdGlobalQueue(true);
  *list = CourseList::recorded();
  expectThatAWorkerDestroys(rows);
  rows = list->rows();
  ASSERT_EQ(list->size(), 40u) << "what is stored";
  platform.holdGlobalQueue(true);
  list.reset();
  expectThatAWorkerDestroys(rows);
}

TEST_F(CourseListLife, WhatIsStoredIsNotReadForOneThatHasGone) {
  { const auto stored = loadedList(95); }
  changeUser("100002");
  settle();
  changeUser("100001");
  settle();
  platform.holdGlobalQueue(true);
  { const auto gone = CourseList::recorded(); }
  settle();
  const auto calls = platform.files().calls();
  platform.holdGlobalQueue(false);
  settle();
  EXPECT_EQ(platform.files().calls(), calls);
  const auto stays = CourseList::recorded();
  settle();
  EXPECT_EQ(stays.size(), 95u);
  EXPECT_GT(platform.files().calls(), calls) << "one that is there has them read";
}

TEST_F(CourseListLife, WhatWasReadFromTheServerIsStoredThoughItHasGoneMeanwhile) {
  signIn();
  listRooms(10, 1);
  bool isStoredLate = false;
  for (int steps = 0; steps < 150 && !isStoredLate; ++steps) {
    changeUser(std::to_string(200'000 + steps));
    settle();
    auto list = std::make_unique<CourseList>(CourseList::recorded());
    list->loadMore();
    for (int step = 0; step < steps; ++step) platform.step();
    platform.holdGlobalQueue(true);
    settle();
    list.reset();
    settle();
    const bool isNotYetStored = stored().empty();
    platform.holdGlobalQueue(false);
    settle();
    isStoredLate = isNotYetStored && stored() == rooms(10, 1);
  }
  EXPECT_TRUE(isStoredLate);
}

TEST_F(CourseListLife, WhatItWasToDoByAndByIsNotDoneOnceItHasGone) {
  std::optional<CourseList> list(loadedList(10));
  recorded.insert(recorded.begin(), courseItem(11));
  getCourses(0, 10, true);
  ASSERT_FALSE(list->isLoading()) << "it refreshes itself a second later";
  list.reset();
  pagesAsked.clear();
  runFor(5);
  EXPECT_EQ(pagesAsked, Strings{});
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

TEST_F(CourseListLife, AViewThatComesAtAnyStepFollowsFromThere) {
  signIn();
  listRooms(65, 1);
  for (int steps = 0; steps < 120; ++steps) {
    changeUser(steps % 2 == 0 ? "10002" : "10001");
    auto list = CourseList::recorded();
    list.loadMore();
    for (int step = 0; step < steps; ++step) platform.step();
    View late(list);
    late.cameLate = true;
    settle();
    loadAll(list);
    ASSERT_FALSE(HasFailure()) << "after " << steps << " steps";
    ASSERT_TRUE(late.shows(list.rows()->all())) << "after " << steps << " steps";
  }
}

TEST_F(CourseListLife, ALoopInsideACallbackHoldsUpTheViewThatRunsItAndNoOther) {
  signIn();
  listRooms(95, 1);
  auto list = CourseList::recorded();
  std::optional<View> waiting(std::in_place, list), other(std::in_place, list);
  std::size_t before = 0, heardByTheOther = 0;
  waiting->mayLag = true;
  waiting->also = [&](const CourseListChange& change) {
    if (!change.changesRows() || before != 0) return;
    before = waiting->changes().size();
    settle();
    loadAll(list);
    EXPECT_EQ(list.size(), 95u);
    EXPECT_EQ(waiting->changes().size(), before) << "told in the middle of a change";
    EXPECT_TRUE(other->shows(list.rows()->all()));
    heardByTheOther = other->changes().size();
  };
  list.loadMore();
  settle();
  EXPECT_GT(heardByTheOther, before);
  EXPECT_EQ(waiting->changes().size(), other->changes().size());
  EXPECT_TRUE(waiting->shows(list.rows()->all()));
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
}  // namespace orv::course_list_life_test
