#include <orvnetwork/course/QXCourseManager.h>

#include "tests/unit/course/PagingFixture.h"

#include <optional>
#include <string>
#include <vector>

namespace orv::live_courses_test {

namespace {

/// Live courses as a host keeps them, without a server.
class LiveCourses : public PagingFixture {
 protected:
  static QXCourseManager::Course liveCourse(std::int64_t room, std::int64_t status,
                                            std::int64_t startTime = 0, std::int64_t startTimeEnable = 1) {
    auto course = makeCourse(courseItem(room, 1, status));
    course->startTime = startTime;
    course->startTimeEnable = startTimeEnable;
    return course;
  }
  static void add(std::int64_t room, std::int64_t status, std::int64_t startTime = 0,
                  std::int64_t startTimeEnable = 1) {
    courses().addLiveCourse(liveCourse(room, status, startTime, startTimeEnable));
  }
  /// Leaves the records on the disk only.
  static void forgetRecords() {
    courses().setLiveCourseDict({});
    courses().setLiveCourseQueue({});
  }
};

// Adding ---------------------------------------------------------------------------------------------------------

TEST_F(LiveCourses, EarliestStartComesFirstInStatusOne) {
  add(1, 1, 300);
  add(2, 1, 100);
  add(3, 1, 200);
  add(4, 1, 50);
  add(5, 1, 400);
  EXPECT_EQ(list(1), (Keys{"4", "2", "3", "1", "5"}));
}

TEST_F(LiveCourses, LatestStartComesFirstInEveryOtherStatus) {
  for (const std::int64_t status : {0, 2, 3, 4, 5}) {
    const std::int64_t room = 10 * status;
    add(room + 1, status, 300);
    add(room + 2, status, 100);
    add(room + 3, status, 200);
    add(room + 4, status, 400);
    Keys expected;
    for (const int place : {4, 1, 3, 2}) expected.push_back(std::to_string(room + place));
    EXPECT_EQ(list(static_cast<std::size_t>(status)), expected) << status;
  }
}

TEST_F(LiveCourses, OfEqualStartsTheNewOneComesFirstInStatusOneAndLastElsewhere) {
  add(1, 1, 100);
  add(2, 1, 100);
  EXPECT_EQ(list(1), (Keys{"2", "1"}));
  add(3, 2, 100);
  add(4, 2, 100);
  EXPECT_EQ(list(2), (Keys{"3", "4"}));
}

TEST_F(LiveCourses, CoursesWithoutAStartTimeComeFirst) {
  add(1, 1, 100);
  add(2, 1, 900, 0);
  add(3, 1, 50);
  EXPECT_EQ(list(1), (Keys{"2", "3", "1"}));
  add(4, 2, 100);
  add(5, 2, 0, 0);
  add(6, 2, 900);
  EXPECT_EQ(list(2), (Keys{"5", "6", "4"}));
}

TEST_F(LiveCourses, CoursesWithoutAStartTimeAreOrderedByItAllTheSame) {
  add(1, 1, 200, 0);
  add(2, 1, 100, 0);
  add(3, 3, 100, 0);
  add(4, 3, 200, 0);
  EXPECT_EQ(list(1), (Keys{"2", "1"}));
  EXPECT_EQ(list(3), (Keys{"4", "3"}));
}

TEST_F(LiveCourses, OtherKindsOfStartTimeAreKeptApartToo) {
  add(1, 1, 100, 2);
  add(2, 1, 50, 1);  // Differs, and has a start time: goes on to the end.
  EXPECT_EQ(list(1), (Keys{"1", "2"}));
  add(3, 1, 70, 1);
  EXPECT_EQ(list(1), (Keys{"1", "2", "3"}));
}

TEST_F(LiveCourses, NeighboursThatAreOnlyOnTheDiskCountAndComeIntoMemory) {
  add(1, 1, 100);
  add(2, 1, 200);
  forgetRecords();
  add(3, 1, 150);
  EXPECT_EQ(list(1), (Keys{"1", "3", "2"}));
  EXPECT_TRUE(isLiveInMemory(1));
  EXPECT_TRUE(isLiveInMemory(2));
  EXPECT_EQ(courses().liveCourseQueue(), (Keys{"3", "1", "2"}));
}

TEST_F(LiveCourses, NeighboursWithoutARecordArePassedOver) {
  courses().setLiveCourseList({{}, {"7", "8"}, {}, {}, {}, {}});
  add(1, 1, 100);
  EXPECT_EQ(list(1), (Keys{"7", "8", "1"}));
  add(2, 1, 50);
  EXPECT_EQ(list(1), (Keys{"7", "8", "2", "1"}));
}

TEST_F(LiveCourses, AddedCourseIsInMemoryOnTheDiskAndInTheList) {
  const auto course = liveCourse(5, 2, 100);
  courses().addLiveCourse(course);
  EXPECT_EQ(courses().getLiveCourseWithRoomID(5), course);
  EXPECT_EQ(courses().liveCourseQueue(), Keys{"5"});
  EXPECT_EQ(liveFile(5), course->jsonObject());
  EXPECT_EQ(liveListFile(), (json::array{json::array{}, json::array{}, json::array{"5"}, json::array{},
                                         json::array{}, json::array{}}));
}

TEST_F(LiveCourses, CourseOfTheListKeepsItsPlaceAndTakesTheNewRecord) {
  add(1, 1, 100);
  add(2, 1, 200);
  const auto again = liveCourse(2, 1, 50);
  courses().addLiveCourse(again);
  EXPECT_EQ(list(1), (Keys{"1", "2"}));
  EXPECT_EQ(courses().getLiveCourseWithRoomID(2), again);
  EXPECT_EQ(liveFile(2)->at("startTime"), 50);
}

TEST_F(LiveCourses, AddedCourseComesToTheFrontOfTheQueue) {
  add(1, 1, 100);
  add(2, 1, 200);
  EXPECT_EQ(courses().liveCourseQueue(), (Keys{"2", "1"}));
  add(1, 1, 100);
  EXPECT_EQ(courses().liveCourseQueue(), (Keys{"1", "2"}));
}

TEST_F(LiveCourses, CourseOfANewStatusLeavesItsOldList) {
  add(1, 1, 100);
  add(2, 1, 200);
  add(1, 2, 100);
  EXPECT_EQ(list(1), Keys{"2"});
  EXPECT_EQ(list(2), Keys{"1"});
}

TEST_F(LiveCourses, OnlyTheFirstListThatHoldsTheCourseIsLeft) {
  courses().setLiveCourseList({{}, {"1"}, {}, {"1"}, {}, {}});
  add(1, 2, 100);
  EXPECT_EQ(courses().liveCourseList(), (std::vector<Keys>{{}, {}, {"1"}, {"1"}, {}, {}}));
}

TEST_F(LiveCourses, SeriesCoursesAreLiveToo) {
  auto course = liveCourse(1, 1);
  course->liveType = live_type::kLiveWithVideo;
  courses().addLiveCourse(course);
  EXPECT_EQ(list(1), Keys{"1"});
}

TEST_F(LiveCourses, CoursesThatAreNotLiveAreIgnored) {
  for (const std::uint64_t liveType : {0, 2, 4}) {
    auto course = liveCourse(1, 1);
    course->liveType = liveType;
    courses().addLiveCourse(course);
    courses().refreshLiveCourse(course);
  }
  courses().addLiveCourse(nullptr);
  courses().refreshLiveCourse(nullptr);
  EXPECT_EQ(courses().liveCourseList(), std::vector<Keys>(6));
  EXPECT_FALSE(hasLiveFile(1));
}

TEST_F(LiveCourses, StatusWithoutAListTakesNothing) {
  add(1, 6);
  EXPECT_EQ(courses().liveCourseList(), std::vector<Keys>(6));
  EXPECT_EQ(courses().getLiveCourseCountWithStatus(6), 0u);
  EXPECT_EQ(courses().getLiveCourseWithIndex_courseStatus(0, 6), nullptr);
  EXPECT_EQ(courses().getIndexOfLiveCourse(liveCourse(1, 6)), -1);
}

TEST_F(LiveCourses, CourseWithoutARoomIsListedAndWrittenButNotKeptInMemory) {
  add(0, 1);
  EXPECT_EQ(list(1), Keys{"0"});
  EXPECT_TRUE(hasLiveFile(0));
  EXPECT_TRUE(courses().liveCourseDict().empty());
}

// Refreshing and deleting ----------------------------------------------------------------------------------------

TEST_F(LiveCourses, RefreshingTakesTheRecordWhereItIsAndLeavesTheQueue) {
  add(1, 1, 100);
  add(2, 1, 200);
  const auto changed = liveCourse(1, 1, 900);
  writePropertyListFile(*courses().liveCourseListFile(), json::array{}, Durability::Plain);
  courses().refreshLiveCourse(changed);
  EXPECT_EQ(list(1), (Keys{"1", "2"}));
  EXPECT_EQ(courses().getLiveCourseWithRoomID(1), changed);
  EXPECT_EQ(liveFile(1)->at("startTime"), 900);
  EXPECT_EQ(courses().liveCourseQueue(), (Keys{"2", "1"}));
  EXPECT_EQ(liveListFile().at(1), asArray({"1", "2"}));
}

TEST_F(LiveCourses, RefreshingACourseThatItsStatusDoesNotListDoesNothing) {
  add(1, 1, 100);
  courses().refreshLiveCourse(liveCourse(1, 2, 900));
  courses().refreshLiveCourse(liveCourse(7, 1, 900));
  courses().refreshLiveCourse(liveCourse(7, 99, 900));
  EXPECT_EQ(liveFile(1)->at("startTime"), 100);
  EXPECT_FALSE(hasLiveFile(7));
  EXPECT_FALSE(isLiveInMemory(7));
}

TEST_F(LiveCourses, RefreshingNeedsARoom) {
  courses().setLiveCourseList({{}, {"0", "-4"}, {}, {}, {}, {}});
  courses().refreshLiveCourse(liveCourse(0, 1));
  courses().refreshLiveCourse(liveCourse(-4, 1));
  EXPECT_TRUE(courses().liveCourseDict().empty());
  EXPECT_FALSE(hasLiveFile(0));
}

TEST_F(LiveCourses, DeletedCourseLeavesEverything) {
  add(1, 1, 100);
  add(2, 1, 200);
  auto lists = courses().liveCourseList();
  lists[4].push_back("1");
  courses().setLiveCourseList(lists);
  EXPECT_TRUE(courses().deleteLiveCourse(liveCourse(1, 3)));
  EXPECT_EQ(courses().liveCourseList(), (std::vector<Keys>{{}, {"2"}, {}, {}, {}, {}}));
  EXPECT_EQ(courses().liveCourseQueue(), Keys{"2"});
  EXPECT_FALSE(isLiveInMemory(1));
  EXPECT_FALSE(hasLiveFile(1));
  EXPECT_EQ(liveListFile().at(1), json::array{"2"});
}

TEST_F(LiveCourses, DeletingACourseThatIsNotThereRewritesTheList) {
  courses().liveCourseList();
  EXPECT_TRUE(courses().deleteLiveCourse(liveCourse(1, 1)));
  EXPECT_TRUE(courses().deleteLiveCourse(nullptr));
  EXPECT_EQ(liveListFile().size(), 6u);
}

// The step for callers that hold the catalogue -------------------------------------------------------------------

TEST_F(LiveCourses, TakesARecordOnlyWhenItsStatusListsTheKey) {
  add(1, 1, 100);
  add(2, 1, 100);
  forgetRecords();
  const auto course = liveCourse(1, 1);
  courses().refreshLiveCourse_key_keepFront(liveCourse(1, 2), "1", true);
  courses().refreshLiveCourse_key_keepFront(liveCourse(0, 1), "1", true);
  courses().refreshLiveCourse_key_keepFront(nullptr, "1", true);
  EXPECT_TRUE(courses().liveCourseDict().empty());
  courses().refreshLiveCourse_key_keepFront(course, std::nullopt, false);
  courses().refreshLiveCourse_key_keepFront(liveCourse(2, 1), "2", false);
  EXPECT_EQ(courses().liveCourseQueue(), (Keys{"1", "2"}));
  courses().refreshLiveCourse_key_keepFront(course, "1", false);
  EXPECT_EQ(courses().liveCourseQueue(), (Keys{"1", "2"}));
  courses().refreshLiveCourse_key_keepFront(course, "2", true);
  EXPECT_EQ(courses().liveCourseQueue(), (Keys{"2", "1"}));
  EXPECT_EQ(courses().getLiveCourseWithRoomID(2), course);
}

TEST_F(LiveCourses, LeastRecentlyUsedRecordsLeaveTheMemoryDownToSixty) {
  for (int room = 1; room <= 65; ++room) add(room, 2, room);
  EXPECT_EQ(courses().liveCourseDict().size(), 65u);
  courses().removeOverMuchLiveCourse();
  EXPECT_EQ(courses().liveCourseDict().size(), 60u);
  EXPECT_EQ(courses().liveCourseQueue().size(), 60u);
  EXPECT_FALSE(isLiveInMemory(5));
  EXPECT_TRUE(isLiveInMemory(6));
  EXPECT_EQ(courses().getLiveCourseCountWithStatus(2), 65u);
  EXPECT_TRUE(hasLiveFile(1));
  courses().removeOverMuchLiveCourse();
  EXPECT_EQ(courses().liveCourseDict().size(), 60u);
}

// Looking up -----------------------------------------------------------------------------------------------------

TEST_F(LiveCourses, LookUpByRoomFindsOnlyWhatIsInMemory) {
  add(1, 1, 100);
  ASSERT_NE(courses().getLiveCourseWithRoomID(1), nullptr);
  forgetRecords();
  EXPECT_EQ(courses().getLiveCourseWithRoomID(1), nullptr);
  EXPECT_EQ(courses().getLiveCourseWithRoomID(99), nullptr);
}

TEST_F(LiveCourses, LookUpByIndexReadsTheDiskAndKeepsTheRecord) {
  add(1, 1, 100);
  add(2, 1, 200);
  forgetRecords();
  const auto course = courses().getLiveCourseWithIndex_courseStatus(1, 1);
  ASSERT_NE(course, nullptr);
  EXPECT_EQ(course->roomID, 2);
  EXPECT_EQ(courses().getLiveCourseWithIndex_courseStatus(1, 1), course);
  courses().getLiveCourseWithIndex_courseStatus(0, 1);
  EXPECT_EQ(courses().liveCourseQueue(), (Keys{"2", "1"}));
  courses().getLiveCourseWithIndex_courseStatus(0, 1);  // In memory: the queue stays.
  EXPECT_EQ(courses().liveCourseQueue(), (Keys{"2", "1"}));
  EXPECT_EQ(courses().getLiveCourseWithIndex_courseStatus(2, 1), nullptr);
  EXPECT_EQ(courses().getLiveCourseWithIndex_courseStatus(0, 2), nullptr);
}

TEST_F(LiveCourses, LookUpByIndexFindsNothingWithoutARecordFile) {
  courses().setLiveCourseList({{}, {"7"}, {}, {}, {}, {}});
  EXPECT_EQ(courses().getLiveCourseWithIndex_courseStatus(0, 1), nullptr);
}

TEST_F(LiveCourses, LookUpByIndexKeepsARecordThatHasMovedOnOutOfTheQueue) {
  add(1, 1, 100);
  forgetRecords();
  const auto path = *courses().liveCourseFolder() + "/1.plist";
  auto values = *readDictionaryFile(path);
  values["status"] = 2;
  writePropertyListFile(path, values, Durability::Plain);
  EXPECT_NE(courses().getLiveCourseWithIndex_courseStatus(0, 1), nullptr);
  EXPECT_TRUE(isLiveInMemory(1));
  EXPECT_EQ(courses().liveCourseQueue(), Keys{});
}

TEST_F(LiveCourses, IndexIsLookedUpInTheListOfTheCoursesStatus) {
  add(1, 1, 100);
  add(2, 1, 200);
  EXPECT_EQ(courses().getIndexOfLiveCourse(liveCourse(2, 1)), 1);
  EXPECT_EQ(courses().getIndexOfLiveCourse(liveCourse(2, 2)), -1);
  EXPECT_EQ(courses().getIndexOfLiveCourse(liveCourse(3, 1)), -1);
  EXPECT_EQ(courses().getIndexOfLiveCourse(nullptr), -1);
}

TEST_F(LiveCourses, CountsAreReadWithoutTheSemaphore) {
  add(1, 1, 100);
  add(2, 3, 100);
  const auto semaphore = courses().dataSemaphore();
  semaphore->wait();
  EXPECT_EQ(courses().getLiveCourseCountWithStatus(1), 1u);
  EXPECT_EQ(courses().getLiveCourseCountWithStatus(2), 0u);
  EXPECT_EQ(courses().getLiveCourseCountWithStatus(3), 1u);
  semaphore->signal();
}

}  // namespace

}  // namespace orv::live_courses_test
