// The catalogue changes by itself, and other lists are there.

#include <orvnetwork/client/CourseList.h>
#include <orvnetwork/course/CourseChange.h>
#include <orvnetwork/course/CourseStore.h>

#include "CourseListFixture.h"

namespace orv::course_list_others_test {
namespace {

using CourseListOthers = CourseListFixture;

TEST_F(CourseListOthers, FollowsACourseThatIsTakenOffTheCatalogue) {
  auto list = loadedList(10);
  View view(list);
  const auto gone = courses().getRecordCourseWithIndex(3);
  courses().deleteCloudCourse(gone);
  settle();
  EXPECT_EQ(list.keys(), (Rooms{10, 9, 8, 6, 5, 4, 3, 2, 1}));
  ASSERT_EQ(view.rowChanges(), 1u);
  EXPECT_EQ(view.changes()[0].removed, (std::vector<CourseListRange>{{3, 1}}));
  EXPECT_TRUE(list.atEnd()) << "as before";
}

TEST_F(CourseListOthers, ACourseThatIsTakenOffWhileAPageIsOnItsWayDoesNotComeBack) {
  auto list = loadedList(10);
  holdPages();
  list.refresh();
  settle();
  const auto gone = courses().getRecordCourseWithIndex(3);
  courses().deleteCloudCourse(gone);
  settle();
  answerHeld(pageOf(recorded));
  EXPECT_EQ(list.keys(), (Rooms{10, 9, 8, 6, 5, 4, 3, 2, 1}));
  EXPECT_EQ(stored(), (Rooms{10, 9, 8, 6, 5, 4, 3, 2, 1}));
}

TEST_F(CourseListOthers, FollowsARecordThatIsChanged) {
  auto list = loadedList(10);
  View view(list);
  const auto course = courses().getRecordCourseWithIndex(3);
  course->title = "新";
  courses().refreshRecordCourse(course);
  settle();
  EXPECT_EQ(list.at(3)->title.get(), "新");
  ASSERT_EQ(view.rowChanges(), 1u);
  EXPECT_EQ(view.changes()[0].updated, (std::vector<CourseListRange>{{3, 1}}));
}

TEST_F(CourseListOthers, TellsNothingOfARecordThatIsWrittenAgainAsItWas) {
  auto list = loadedList(10);
  View view(list);
  courses().refreshRecordCourse(courses().getRecordCourseWithIndex(3));
  settle();
  EXPECT_TRUE(view.changes().empty());
}

TEST_F(CourseListOthers, ARecordThatSaysThatItIsAnotherCourseIsNotShown) {
  auto list = loadedList(10);
  const auto course = courses().getRecordCourseWithIndex(3);
  course->title = "新";
  courses().refreshRecordCourse(course);
  course->roomID = 77;
  settle();
  EXPECT_EQ(list.keys(), (Rooms{10, 9, 8, 6, 5, 4, 3, 2, 1}));
}

TEST_F(CourseListOthers, RefreshesItselfWhenSomebodyElsesPagesDoNotFit) {
  auto list = loadedList(60);
  recorded.insert(recorded.begin() + 40, courseItem(1000));
  unlist(recorded, 60);
  getCourses(0, 60, true);
  runFor(1);
  EXPECT_EQ(list.keys(), serverRooms(recorded));
  EXPECT_EQ(stored(), serverRooms(recorded)) << "and puts the catalogue right";
  pagesAsked.clear();
  getCourses(0, 60, true);
  runFor(5);
  EXPECT_EQ(pagesAsked.size(), 2u) << "pages that fit are no reason";
}

TEST_F(CourseListOthers, IsRightAfterARangeBehindTheEndHasClearedTheCatalogue) {
  auto list = loadedList(30);
  getCourses(30, 30, true);
  EXPECT_EQ(stored(), Rooms{});
  EXPECT_EQ(list.keys(), rooms(30, 1)) << "the list does not follow that";
  runFor(1);
  EXPECT_EQ(stored(), rooms(30, 1));
  EXPECT_EQ(list.keys(), rooms(30, 1));
}

TEST_F(CourseListOthers, HasTheNewCourseAfterACreationWasFinished) {
  auto list = loadedList(20);
  recorded.insert(recorded.begin(), courseItem(21));
  const json::object info{{"roomID", 21}};
  courses().courseCreateFinishedNotification({.name = "done", .object = nullptr, .userInfo = &info});
  runFor(3);
  EXPECT_EQ(list.keys(), serverRooms(recorded));
}

TEST_F(CourseListOthers, IsReadOnceMoreWhereAnythingMayBeDifferentJustAsAPageHasCome) {
  signIn();
  listRooms(10, 1);
  getCourses(0, 10);
  auto list = CourseList::recorded();
  holdPages();
  list.loadMore();
  settle();
  // A worker is to make the rows of a change, and behind it those of the page, when anything may be different.
  platform.holdGlobalQueue(true);
  const auto course = courses().getRecordCourseWithIndex(3);
  course->title = "新";
  courses().refreshRecordCourse(course);
  settle();
  courses().setCloudCourseDict(courses().cloudCourseDict());
  settle();
  answerHeld(pageOf(recorded));
  // The main thread finds both.
  platform.holdMainQueue(true);
  platform.holdGlobalQueue(false);
  settle();
  platform.holdMainQueue(false);
  instead = nullptr;
  unlist(recorded, 5);
  settle();
  ASSERT_EQ(list.keys(), rooms(10, 1)) << "the page that has come";
  runFor(1);
  EXPECT_EQ(list.keys(), serverRooms(recorded));
}

TEST_F(CourseListOthers, ALoadTellsNothingAgainThatAnEarlierOneHasPutIn) {
  signIn();
  listRooms(65, 1);
  auto list = CourseList::recorded();
  for (int load = 0; load < 2; ++load) {
    list.loadMore();
    settle();
  }
  // News in the first page, which the next load does not read again.
  recorded[3].as_object()["title"] = "新";
  list.refresh();
  settle();
  ASSERT_EQ(cloudFile(62)->at("title"), "新");
  Rooms news;
  const auto seen = CourseStore::getInstance().observe([&news](const CourseChange& change) {
    news.insert(news.end(), change.news.begin(), change.news.end());
  });
  pagesAsked.clear();
  list.loadMore();
  settle();
  ASSERT_EQ(pagesAsked, (Strings{"items 3", "items 2"}));
  EXPECT_EQ(list.keys(), rooms(65, 1));
  EXPECT_EQ(news, rooms(5, 1));
}

TEST_F(CourseListOthers, TwoListsOfTheSameCoursesKeepEachOtherRight) {
  signIn();
  listRooms(70, 1);
  auto one = CourseList::recorded();
  auto other = CourseList::recorded();
  loadAll(one);
  loadAll(other);
  recorded.insert(recorded.begin(), courseItem(71));
  one.refresh();
  settle();
  runFor(2);
  EXPECT_EQ(one.keys(), serverRooms(recorded));
  EXPECT_EQ(other.keys(), serverRooms(recorded));
  pagesAsked.clear();
  runFor(30);
  EXPECT_EQ(pagesAsked, Strings{}) << "and then they rest";
}

TEST_F(CourseListOthers, ACourseAtTheEndThatOneListHasFoundGoneLeavesTheOtherToo) {
  signIn();
  listRooms(10, 1);
  auto one = CourseList::recorded();
  auto other = CourseList::recorded();
  loadAll(one);
  loadAll(other);
  unlist(recorded, 1);
  one.refresh();
  runFor(3);
  EXPECT_EQ(one.keys(), rooms(10, 2));
  EXPECT_EQ(other.keys(), rooms(10, 2));
}

class CourseListRest : public CourseListFixture, public ::testing::WithParamInterface<int> {};

TEST_P(CourseListRest, TwoListsOfTheSameCoursesAskForNothing) {
  signIn();
  listRooms(GetParam(), 1);
  auto one = CourseList::recorded();
  auto other = CourseList::recorded();
  loadAll(one);
  loadAll(other);
  runFor(2);
  pagesAsked.clear();
  runFor(60);
  EXPECT_EQ(pagesAsked, Strings{});
  one.refresh();
  settle();
  pagesAsked.clear();
  runFor(60);
  EXPECT_EQ(pagesAsked, Strings{}) << "after a refresh that brought nothing new";
}

TEST_P(CourseListRest, TwoListsOfAListThatIsClearedAskForNothing) {
  signIn();
  listRooms(GetParam(), 1);
  auto one = CourseList::recorded();
  auto other = CourseList::recorded();
  loadAll(one);
  loadAll(other);
  recorded.clear();
  one.refresh();
  runFor(2);
  EXPECT_EQ(one.size(), 0u);
  EXPECT_EQ(other.size(), 0u) << "it has followed";
  pagesAsked.clear();
  runFor(60);
  EXPECT_EQ(pagesAsked, Strings{});
}

INSTANTIATE_TEST_SUITE_P(All, CourseListRest, ::testing::Values(0, 30, 31));

}  // namespace
}  // namespace orv::course_list_others_test
