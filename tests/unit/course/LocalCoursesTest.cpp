#include "tests/unit/course/LocalFixture.h"

#include <chrono>
#include <limits>
#include <optional>
#include <system_error>

namespace orv::local_courses_test {

namespace {

class LocalCourses : public LocalFixture {
 protected:
  void setSeconds(double seconds) {
    platform.setWallTime(WallTime(std::chrono::duration_cast<WallTime::duration>(Seconds(seconds))));
  }
};

// Creating -------------------------------------------------------------------------------------------------------

TEST_F(LocalCourses, NewCourseIsNumberedByTheClockAndMarkedAsLocal) {
  setSeconds(1'706'691'902.9);
  const Course course = courses().createLocalCourse();
  EXPECT_TRUE(course->orv_local);
  EXPECT_TRUE(course->isEditting());
  EXPECT_EQ(course->publishStatus, 99u);
  EXPECT_EQ(course->addtime, 1'706'691'902);
  EXPECT_EQ(course->roomID, 691'902);
  EXPECT_EQ(course->liveType, 2u);
  EXPECT_EQ(course->title.get(), std::nullopt);
  EXPECT_EQ(course->orv_cloudRoomID, 0);
}

TEST_F(LocalCourses, CreatingReservesNothing) {
  setSeconds(5'000'007);
  const Course first = courses().createLocalCourse();
  const Course second = courses().createLocalCourse();
  EXPECT_NE(first, second);
  EXPECT_EQ(first->roomID, 7);
  EXPECT_EQ(second->roomID, 7);
  EXPECT_EQ(courses().getLocalCourseCount(), 0u);
  EXPECT_FALSE(courses().containCourse(first));
  EXPECT_TRUE(courses().courseQueue().empty());
  settle();
  EXPECT_FALSE(hasRecord(7));
  EXPECT_EQ(listOnDisk(), Keys{"no file"});
}

TEST_F(LocalCourses, NumbersThatAreTakenAreSkipped) {
  setSeconds(5'000'007);
  for (std::int64_t room = 7; room < 10; ++room) {
    const Course course = courses().createLocalCourse();
    EXPECT_EQ(course->roomID, room);
    EXPECT_TRUE(courses().addLocalCourse(course));
  }
  courses().deleteLocalCourseWithRoomID(8);
  EXPECT_EQ(courses().createLocalCourse()->roomID, 8);
}

TEST_F(LocalCourses, NumbersTakenOnDiskAreSkippedToo) {
  setSeconds(5'000'007);
  addRooms(7, 8);
  startAnew();
  EXPECT_EQ(courses().createLocalCourse()->roomID, 9);
}

TEST_F(LocalCourses, NumberGoesBeyondAMillionWhenTheLastOneIsTaken) {
  setSeconds(5'999'999);
  add(999'999);
  EXPECT_EQ(courses().createLocalCourse()->roomID, 1'000'000);
}

TEST_F(LocalCourses, CourseOfTheRoundMomentHasNoNumberThatCanBeAdded) {
  setSeconds(5'000'000);
  const Course course = courses().createLocalCourse();
  EXPECT_EQ(course->roomID, 0);
  EXPECT_FALSE(courses().addLocalCourse(course));
  EXPECT_EQ(courses().getLocalCourseCount(), 0u);
}

TEST_F(LocalCourses, CloudCourseOfTheSameNumberDoesNotMatter) {
  setSeconds(5'000'007);
  courses().setCloudCourseList({"7"});
  EXPECT_EQ(courses().createLocalCourse()->roomID, 7);
}

// Adding ---------------------------------------------------------------------------------------------------------

TEST_F(LocalCourses, NewestCourseStandsInFront) {
  EXPECT_TRUE(courses().addLocalCourse(makeLocal(3)));
  EXPECT_TRUE(courses().addLocalCourse(makeLocal(1)));
  EXPECT_TRUE(courses().addLocalCourse(makeLocal(2)));
  EXPECT_EQ(courses().localCourseList(), (Keys{"2", "1", "3"}));
  EXPECT_EQ(courses().getLocalCourseCount(), 3u);
  EXPECT_EQ(listOnDisk(), (Keys{"2", "1", "3"}));
  EXPECT_EQ(courses().courseQueue(), (Keys{"l-2", "l-1", "l-3"}));
}

TEST_F(LocalCourses, AddingAgainMovesToTheFrontAndIsNoNewOne) {
  addRooms(1, 3);
  const Course again = makeLocal(1, "anew");
  EXPECT_FALSE(courses().addLocalCourse(again));
  EXPECT_EQ(courses().localCourseList(), (Keys{"1", "3", "2"}));
  EXPECT_EQ(listOnDisk(), (Keys{"1", "3", "2"}));
  EXPECT_EQ(courses().courseQueue(), (Keys{"l-1", "l-3", "l-2"}));
  EXPECT_EQ(courses().getLocalCourseWithRoomID(1), again);
  EXPECT_EQ(titleOnDisk(1), "anew");
}

TEST_F(LocalCourses, AddedCourseIsTheCallersOwn) {
  const Course course = add(7);
  EXPECT_EQ(courses().getLocalCourseWithRoomID(7), course);
  EXPECT_EQ(courses().getLocalCourseWithIndex(0), course);
  EXPECT_EQ(courses().localCourseDict().at("7"), course);
}

TEST_F(LocalCourses, WhatIsNoLocalCourseIsIgnored) {
  add(5, "keep");
  const Course cloud = makeCloud(5);
  cloud->title = "no";
  const auto writes = platform.files().calls(testing::FileOperation::WriteAtomically);
  for (const Course& course : {Course(), makeLocal(0), makeLocal(-7), cloud}) {
    EXPECT_FALSE(courses().addLocalCourse(course));
    courses().refreshLocalCourse(course);
    courses().saveLocalCourse(course);
  }
  EXPECT_EQ(platform.files().calls(testing::FileOperation::WriteAtomically), writes);
  EXPECT_EQ(courses().localCourseList(), Keys{"5"});
  EXPECT_EQ(courses().getLocalCourseWithRoomID(5)->title, "keep");
  EXPECT_EQ(courses().courseQueue(), Keys{"l-5"});
}

TEST_F(LocalCourses, LargestNumberIsANumber) {
  constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
  EXPECT_TRUE(courses().addLocalCourse(makeLocal(kMost, "last")));
  EXPECT_EQ(courses().localCourseList(), Keys{"9223372036854775807"});
  startAnew();
  ASSERT_NE(courses().getLocalCourseWithRoomID(kMost), nullptr);
  EXPECT_EQ(courses().getLocalCourseWithRoomID(kMost)->title, "last");
}

// Refreshing and saving ------------------------------------------------------------------------------------------

TEST_F(LocalCourses, RefreshedCourseMovesToTheFront) {
  addRooms(1, 3);
  const Course other = makeLocal(2, "refreshed");
  courses().refreshLocalCourse(other);
  EXPECT_EQ(courses().localCourseList(), (Keys{"2", "3", "1"}));
  EXPECT_EQ(listOnDisk(), (Keys{"2", "3", "1"}));
  EXPECT_EQ(courses().courseQueue(), (Keys{"l-2", "l-3", "l-1"}));
  EXPECT_EQ(courses().localCourseDict().at("2"), other);
  EXPECT_EQ(titleOnDisk(2), "refreshed");
}

TEST_F(LocalCourses, RefreshingACourseThatIsNotListedDoesNothing) {
  add(1);
  const auto writes = platform.files().calls(testing::FileOperation::WriteAtomically);
  courses().refreshLocalCourse(makeLocal(2));
  EXPECT_EQ(courses().localCourseList(), Keys{"1"});
  EXPECT_FALSE(hasRecord(2));
  EXPECT_FALSE(courses().containCourse(makeLocal(2)));
  EXPECT_EQ(platform.files().calls(testing::FileOperation::WriteAtomically), writes);
}

TEST_F(LocalCourses, SavedCourseKeepsItsPlaces) {
  addRooms(1, 3);
  const Course other = makeLocal(2, "saved");
  courses().saveLocalCourse(other);
  EXPECT_EQ(courses().localCourseList(), (Keys{"3", "2", "1"}));
  EXPECT_EQ(courses().courseQueue(), (Keys{"l-3", "l-2", "l-1"}));
  EXPECT_EQ(courses().localCourseDict().at("2"), other);
  EXPECT_EQ(titleOnDisk(2), "saved");
}

TEST_F(LocalCourses, SavedCourseThatWasNotInMemoryIsTheLastInTheQueue) {
  addRooms(1, 3);
  startAnew();
  courses().getLocalCourseWithRoomID(3);
  courses().saveLocalCourse(makeLocal(2));
  EXPECT_EQ(courses().courseQueue(), (Keys{"l-3", "l-2"}));
}

TEST_F(LocalCourses, SavingACourseThatIsNotListedWritesTheListAlone) {
  addRooms(1, 2);
  std::error_code error;
  platform.files().remove(listPath(), error);
  courses().saveLocalCourse(makeLocal(7));
  EXPECT_FALSE(hasRecord(7));
  EXPECT_EQ(courses().localCourseList(), (Keys{"2", "1"}));
  EXPECT_EQ(listOnDisk(), (Keys{"2", "1"}));
  EXPECT_EQ(courses().courseQueue(), (Keys{"l-2", "l-1"}));
  EXPECT_FALSE(courses().containCourse(makeLocal(7)));
}

// Looking up -----------------------------------------------------------------------------------------------------

TEST_F(LocalCourses, LooksUpByIndex) {
  addRooms(1, 3);
  EXPECT_EQ(courses().getLocalCourseWithIndex(0)->roomID, 3);
  EXPECT_EQ(courses().getLocalCourseWithIndex(2)->roomID, 1);
  EXPECT_EQ(courses().getLocalCourseWithIndex(3), nullptr);
  EXPECT_EQ(courses().getLocalCourseWithIndex(std::numeric_limits<std::uint64_t>::max()), nullptr);
}

TEST_F(LocalCourses, NothingIsFoundInAnEmptyList) {
  EXPECT_EQ(courses().getLocalCourseCount(), 0u);
  EXPECT_EQ(courses().getRecordCourseCount(), 0u);
  EXPECT_EQ(courses().getLocalCourseWithIndex(0), nullptr);
  EXPECT_EQ(courses().getRecordCourseWithIndex(0), nullptr);
  EXPECT_EQ(courses().getLocalCourseWithRoomID(1), nullptr);
}

TEST_F(LocalCourses, OnlyListedCoursesAreFoundByNumber) {
  add(5);
  putRecord("6", {{"roomID", 6}, {"orv_local", true}});
  EXPECT_NE(courses().getLocalCourseWithRoomID(5), nullptr);
  EXPECT_EQ(courses().getLocalCourseWithRoomID(6), nullptr);
  EXPECT_EQ(courses().getLocalCourseWithRoomID(0), nullptr);
  EXPECT_EQ(courses().getLocalCourseWithRoomID(-5), nullptr);
}

TEST_F(LocalCourses, NumbersThatAreNotAboveZeroAreNeverFound) {
  putList({"0", "-5"});
  putRecord("0", {{"roomID", 0}, {"orv_local", true}});
  putRecord("-5", {{"roomID", -5}, {"orv_local", true}});
  startAnew();
  EXPECT_EQ(courses().getLocalCourseWithRoomID(0), nullptr);
  EXPECT_EQ(courses().getLocalCourseWithRoomID(-5), nullptr);
  courses().deleteLocalCourseWithRoomID(0);
  courses().deleteLocalCourseWithRoomID(-5);
  EXPECT_EQ(courses().localCourseList(), (Keys{"0", "-5"}));
}

TEST_F(LocalCourses, LookUpByNumberMovesToTheFrontOfTheQueue) {
  addRooms(1, 3);
  courses().getLocalCourseWithRoomID(1);
  EXPECT_EQ(courses().courseQueue(), (Keys{"l-1", "l-3", "l-2"}));
  EXPECT_EQ(courses().localCourseList(), (Keys{"3", "2", "1"}));
}

TEST_F(LocalCourses, LookUpByIndexLeavesTheQueueWhenTheCourseIsInMemory) {
  addRooms(1, 3);
  courses().getLocalCourseWithIndex(2);
  EXPECT_EQ(courses().courseQueue(), (Keys{"l-3", "l-2", "l-1"}));
}

TEST_F(LocalCourses, CourseThatIsNotInMemoryComesFromItsFile) {
  add(1, "one");
  add(2, "two");
  startAnew();
  EXPECT_TRUE(courses().localCourseDict().empty());
  const Course byIndex = courses().getLocalCourseWithIndex(1);
  ASSERT_NE(byIndex, nullptr);
  EXPECT_EQ(byIndex->title, "one");
  EXPECT_TRUE(byIndex->orv_local);
  const Course byNumber = courses().getLocalCourseWithRoomID(2);
  ASSERT_NE(byNumber, nullptr);
  EXPECT_EQ(byNumber->title, "two");
  EXPECT_EQ(courses().courseQueue(), (Keys{"l-2", "l-1"}));
  EXPECT_EQ(courses().getLocalCourseWithIndex(1), byIndex);
  EXPECT_EQ(courses().getLocalCourseWithRoomID(2), byNumber);
}

TEST_F(LocalCourses, OnlyCoursesInMemoryAreContained) {
  add(1);
  EXPECT_TRUE(courses().containCourse(makeLocal(1)));
  EXPECT_TRUE(courses().containCourse(makeCloud(1)));
  EXPECT_FALSE(courses().containCourse(makeLocal(2)));
  EXPECT_FALSE(courses().containCourse(nullptr));
  startAnew();
  EXPECT_FALSE(courses().containCourse(makeLocal(1)));
  courses().setCloudCourseDict({{"0012", makeCloud(3)}, {"x", makeCloud(4)}});
  EXPECT_TRUE(courses().containCourse(makeLocal(12))) << "it is the key's number that counts";
  EXPECT_FALSE(courses().containCourse(makeLocal(3)));
  EXPECT_TRUE(courses().containCourse(makeLocal(0))) << "a key without a number is 0";
}

}  // namespace

}  // namespace orv::local_courses_test
