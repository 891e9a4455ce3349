#include <orvnetwork/client/CourseList.h>
#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/session/QXUserInfoMgr.h>

#include "CourseListFixture.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace orv::course_list_live_test {
namespace {

class CourseListLive : public CourseListFixture {
 protected:
  static Rooms storedLive(std::size_t status) {
    Rooms rooms;
    for (const auto& key : list(status)) rooms.push_back(std::stoll(key));
    return rooms;
  }
  static QXCourseManager::Course makeLive(std::int64_t room, std::int64_t status, std::int64_t start) {
    auto item = courseItem(room, live_type::kLive, status);
    item["startTimeEnable"] = 1;
    item["startTime"] = start;
    return makeCourse(item);
  }
};

TEST_F(CourseListLive, LoadsTheListOfItsStatusToItsEnd) {
  signIn();
  listLive(1, 1, 65);
  listLive(3, 200, 230);
  auto coming = CourseList::live(1);
  auto over = CourseList::live(3);
  auto onAir = CourseList::live(2);
  loadAll(coming);
  loadAll(over);
  loadAll(onAir);
  EXPECT_EQ(coming.keys(), rooms(1, 65));
  EXPECT_EQ(over.keys(), rooms(200, 230));
  EXPECT_EQ(onAir.keys(), Rooms{});
  EXPECT_EQ(storedLive(1), rooms(1, 65));
  EXPECT_EQ(storedLive(3), rooms(200, 230));
  EXPECT_EQ(liveFile(65)->at("title"), "课程 65");
}

TEST_F(CourseListLive, EndsAtAFullPage) {
  signIn();
  listLive(1, 1, 60);
  auto list = CourseList::live(1);
  loadAll(list);
  EXPECT_EQ(list.keys(), rooms(1, 60));
  EXPECT_EQ(pagesAsked.size(), 5u);
}

TEST_F(CourseListLive, ListsThatAreLoadedAtTheSameTimeKeepTheirEnds) {
  signIn();
  listLive(1, 1, 5);
  listLive(2, 10, 14);
  listLive(3, 20, 24);
  std::vector<CourseList> lists;
  for (const std::uint64_t status : {1u, 2u, 3u}) lists.push_back(CourseList::live(status));
  settle();
  std::vector<std::unique_ptr<View>> views;
  for (auto& list : lists) views.push_back(std::make_unique<View>(list));
  for (auto& list : lists) list.loadMore();
  runFor(5);
  for (std::size_t index = 0; index < lists.size(); ++index) {
    EXPECT_TRUE(lists[index].atEnd()) << "status " << index + 1;
    EXPECT_EQ(views[index]->phases(), (Strings{"Loading", "End"})) << "status " << index + 1;
  }
  EXPECT_EQ(pagesAsked.size(), 3u);
}

TEST_F(CourseListLive, ACourseThatThePagesOfTwoListsHaveIsInOneOfThem) {
  signIn();
  listLive(1, 1, 5);
  listLive(2, 10, 14);
  auto coming = CourseList::live(1);
  auto onAir = CourseList::live(2);
  holdPages();
  coming.loadMore();
  onAir.loadMore();
  settle();
  ASSERT_EQ(held.size(), 2u);
  // It has changed its status after the first page was made.
  live[2].push_back(courseItem(3, live_type::kLive, 2));
  for (const json::object& request : std::exchange(held, {})) {
    server.reply(server.latest(), request, pageAsked(request));
  }
  runFor(5);
  EXPECT_NE(coming.indexOf(3).has_value(), onAir.indexOf(3).has_value());
  EXPECT_TRUE(coming.atEnd());
  EXPECT_TRUE(onAir.atEnd());
}

TEST_F(CourseListLive, ACourseThatLeavesAListWhileAnotherIsLoadedForTheFirstTimeIsInThatOne) {
  signIn();
  listLive(1, 1, 5);
  listLive(2, 10, 14);
  auto coming = CourseList::live(1);
  loadAll(coming);
  unlist(live[1], 3);
  live[2].insert(live[2].begin(), courseItem(3, live_type::kLive, 2));
  auto onAir = CourseList::live(2);
  settle();
  holdPages();
  coming.refresh();
  onAir.loadMore();
  settle();
  ASSERT_EQ(held.size(), 2u);
  for (const json::object& request : std::exchange(held, {})) {
    server.reply(server.latest(), request, pageAsked(request));
    runFor(0.5);
  }
  EXPECT_EQ(coming.keys(), (Rooms{1, 2, 4, 5}));
  EXPECT_EQ(onAir.keys(), (Rooms{3, 10, 11, 12, 13, 14}));
  EXPECT_EQ(storedLive(2), (Rooms{3, 10, 11, 12, 13, 14}));
  ASSERT_TRUE(liveFile(3).has_value());
  EXPECT_EQ(liveFile(3)->at("status"), 2);
}

TEST_F(CourseListLive, AStatusThatIsNotListedIsRefused) {
  signIn();
  for (const std::uint64_t status : {0u, 4u, 5u, 77u}) {
    auto list = CourseList::live(status);
    settle();
    list.loadMore();
    settle();
    ASSERT_TRUE(list.lastError());
    EXPECT_EQ(list.lastError()->kind, CourseListErrorKind::Refused);
  }
  EXPECT_EQ(pagesAsked, Strings{});
}

TEST_F(CourseListLive, ACourseThatChangesItsStatusLeavesTheOneListForTheOther) {
  signIn();
  listLive(1, 1, 10);
  listLive(2, 100, 105);
  auto coming = CourseList::live(1);
  auto onAir = CourseList::live(2);
  loadAll(coming);
  loadAll(onAir);
  json::object begun = live[1][4].as_object();
  unlist(live[1], 5);
  begun["status"] = 2;
  live[2].insert(live[2].begin(), begun);
  onAir.refresh();
  settle();
  EXPECT_EQ(onAir.keys(), (Rooms{5, 100, 101, 102, 103, 104, 105}));
  EXPECT_EQ(coming.keys(), (Rooms{1, 2, 3, 4, 6, 7, 8, 9, 10})) << "the other list follows at once";
  EXPECT_EQ(storedLive(1), (Rooms{1, 2, 3, 4, 6, 7, 8, 9, 10}));
  EXPECT_EQ(storedLive(2), (Rooms{5, 100, 101, 102, 103, 104, 105}));
  EXPECT_EQ(liveFile(5)->at("status"), 2);
  coming.refresh();
  settle();
  EXPECT_EQ(coming.keys(), (Rooms{1, 2, 3, 4, 6, 7, 8, 9, 10}));
}

TEST_F(CourseListLive, FollowsCoursesThatAreAddedChangedAndDeleted) {
  signIn();
  for (const std::int64_t room : {10, 20, 30}) live[1].push_back(makeLive(room, 1, room)->jsonObject());
  auto list = CourseList::live(1);
  loadAll(list);
  View view(list);
  courses().addLiveCourse(makeLive(25, 1, 25));
  settle();
  EXPECT_EQ(list.keys(), (Rooms{10, 20, 25, 30}));
  courses().addLiveCourse(makeLive(5, 1, 5));
  courses().addLiveCourse(makeLive(40, 1, 40));
  settle();
  EXPECT_EQ(list.keys(), (Rooms{5, 10, 20, 25, 30, 40}));
  const auto changed = makeLive(20, 1, 20);
  changed->title = "新";
  courses().refreshLiveCourse(changed);
  settle();
  EXPECT_EQ(list.at(2)->title.get(), "新");
  courses().deleteLiveCourse(changed);
  courses().addLiveCourse(makeLive(30, 3, 1));
  settle();
  EXPECT_EQ(list.keys(), (Rooms{5, 10, 25, 40})) << "one is gone, and one has another status";
  EXPECT_EQ(view.rowChanges(), 4u);
}

TEST_F(CourseListLive, ACourseThatIsAddedBehindWhatIsLoadedComesWithItsPage) {
  signIn();
  for (std::int64_t room = 1; room <= 40; ++room) live[1].push_back(makeLive(room, 1, room)->jsonObject());
  auto list = CourseList::live(1);
  list.loadMore();
  settle();
  courses().addLiveCourse(makeLive(900, 1, 900));
  settle();
  EXPECT_EQ(list.keys(), rooms(1, 30));
  live[1].push_back(makeLive(900, 1, 900)->jsonObject());
  loadAll(list);
  EXPECT_EQ(list.keys(), serverRooms(live[1]));
}

TEST_F(CourseListLive, IsReadThoughTheManagerLoadsNoMoreLivePages) {
  signIn();
  listLive(1, 1, 10);
  holdPages();
  askLive("stuck", 0, 30, 1);
  settle();
  QXUserInfoMgr::getInstance().setUserInfo(makeUser("100001", "5002"));
  settle();
  answerHeld(pageOf({}));
  instead = nullptr;
  auto list = CourseList::live(1);
  loadAll(list);
  EXPECT_EQ(list.keys(), rooms(1, 10));
}

TEST_F(CourseListLive, AnEmptyPageEndsTheListAndClearsIt) {
  signIn();
  listLive(1, 1, 10);
  auto list = CourseList::live(1);
  loadAll(list);
  live[1].clear();
  list.refresh();
  settle();
  EXPECT_EQ(list.size(), 0u);
  EXPECT_TRUE(list.atEnd());
  EXPECT_EQ(storedLive(1), Rooms{});
  EXPECT_FALSE(hasLiveFile(3));
}

TEST_F(CourseListLive, ASilentServerHasNoLiveCourses) {
  signIn();
  instead = [](const json::object&) { return json::object{{"ret", 0}}; };
  auto list = CourseList::live(1);
  loadAll(list);
  EXPECT_EQ(list.size(), 0u);
}

}  // namespace
}  // namespace orv::course_list_live_test
