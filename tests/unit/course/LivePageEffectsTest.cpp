// What a page of live courses does to lists, memory and files.

#include "tests/unit/course/PagingFixture.h"

#include <string>
#include <system_error>

namespace orv::live_page_effects_test {

namespace {

class LivePages : public PagingFixture {};

TEST_F(LivePages, KeepsTheOrderOfTheServer) {
  live[2] = {courseItem(5, 1, 2), courseItem(9, 1, 2), courseItem(1, 1, 2)};
  signIn();
  getLiveCourses(0, 30, 2);
  EXPECT_EQ(list(2), (Keys{"5", "9", "1"}));
  live[2] = {courseItem(1, 1, 2), courseItem(5, 1, 2), courseItem(7, 1, 2), courseItem(9, 1, 2)};
  getLiveCourses(0, 30, 2, true);
  EXPECT_EQ(list(2), (Keys{"1", "5", "7", "9"}));
  EXPECT_EQ(liveListFile().at(2), asArray({"1", "5", "7", "9"}));
}

TEST_F(LivePages, EveryItemIsTakenWhateverItsStatus) {
  live[2] = {courseItem(5, 1, 4), courseItem(9, 2, 5), courseItem(1, 1, 1)};
  signIn();
  EXPECT_EQ(getLiveCourses(0, 30, 2), (Answer{true, 3}));
  EXPECT_EQ(list(2), (Keys{"5", "9", "1"}));
}

TEST_F(LivePages, OnlyServedCoursesComeIntoMemory) {
  listLive(2, 1, 30);
  signIn();
  EXPECT_EQ(getLiveCourses(0, 10, 2), (Answer{true, 10}));
  EXPECT_EQ(courses().liveCourseDict().size(), 10u);
  EXPECT_EQ(courses().liveCourseQueue(), roomKeys(10, 1));
  EXPECT_TRUE(hasLiveFile(30));
  EXPECT_EQ(liveFile(30)->at("title"), "课程 30");
}

TEST_F(LivePages, CourseThatChangedItsStatusLeavesItsOldList) {
  live[1] = {courseItem(7, 1, 1), courseItem(8, 1, 1)};
  signIn();
  getLiveCourses(0, 30, 1);
  const auto course = courses().getLiveCourseWithRoomID(7);
  live[2] = {courseItem(7, 1, 2)};
  getLiveCourses(0, 30, 2);
  EXPECT_EQ(list(1), Keys{"8"});
  EXPECT_EQ(list(2), Keys{"7"});
  EXPECT_EQ(courses().getLiveCourseWithRoomID(7), course);
  EXPECT_EQ(course->status, 2u);
  EXPECT_EQ(liveListFile().at(1), asArray({"8"}));
}

TEST_F(LivePages, CourseThatIsOnlyOnTheDiskStaysInItsOldList) {
  live[1] = {courseItem(7, 1, 1)};
  signIn();
  getLiveCourses(0, 30, 1);
  courses().setLiveCourseDict({});
  live[2] = {courseItem(7, 1, 2)};
  getLiveCourses(0, 30, 2);
  EXPECT_EQ(list(1), Keys{"7"});
  EXPECT_EQ(list(2), Keys{"7"});
}

TEST_F(LivePages, ListedCourseIsUpdatedFromItsFile) {
  live[1] = {courseItem(7, 1, 1)};
  signIn();
  getLiveCourses(0, 30, 1);
  courses().getLiveCourseWithRoomID(7)->intro = "只在这里";
  getLiveCourses(0, 30, 1, true);
  courses().setLiveCourseDict({});
  live[1][0].as_object()["title"] = "新的";
  getLiveCourses(0, 30, 1, true);
  EXPECT_EQ(liveFile(7)->at("title"), "新的");
  EXPECT_EQ(liveFile(7)->at("intro"), "只在这里");
}

TEST_F(LivePages, ListedCourseWithoutAFileGetsANewRecord) {
  live[1] = {courseItem(7, 1, 1)};
  signIn();
  getLiveCourses(0, 30, 1);
  courses().setLiveCourseDict({});
  std::error_code error;
  platform.files().remove(*courses().liveCourseFolder() + "/7.plist", error);
  EXPECT_EQ(getLiveCourses(0, 30, 1, true), (Answer{true, 1}));
  EXPECT_EQ(liveFile(7)->at("title"), "课程 7");
}

TEST_F(LivePages, NewCourseOfAStatusForgetsWhatItsFileHeld) {
  live[1] = {courseItem(7, 1, 1)};
  signIn();
  getLiveCourses(0, 30, 1);
  courses().getLiveCourseWithRoomID(7)->intro = "只在这里";
  getLiveCourses(0, 30, 1, true);
  courses().setLiveCourseDict({});
  live[2] = {courseItem(7, 1, 2)};
  getLiveCourses(0, 30, 2);
  EXPECT_FALSE(liveFile(7)->contains("intro"));
}

TEST_F(LivePages, ShortPageCutsOffWhatLiesBehindIt) {
  listLive(2, 1, 10);
  signIn();
  getLiveCourses(0, 10, 2);
  unlist(live[2], 3);
  unlist(live[2], 10);
  getLiveCourses(0, 1, 2, true);
  EXPECT_EQ(list(2), (Keys{"1", "2", "4", "5", "6", "7", "8", "9"}));
  for (const std::int64_t room : {3, 10}) {
    EXPECT_FALSE(isLiveInMemory(room)) << room;
    EXPECT_FALSE(hasLiveFile(room)) << room;
    EXPECT_EQ(std::ranges::count(courses().liveCourseQueue(), std::to_string(room)), 0) << room;
  }
}

TEST_F(LivePages, VanishedCourseLeavesListMemoryAndDiskUnderItsOwnRoom) {
  listLive(2, 1, 4);
  signIn();
  getLiveCourses(0, 4, 2);
  courses().getLiveCourseWithRoomID(1)->roomID = 77;
  courses().setLiveCourseDict({{"1", courses().getLiveCourseWithRoomID(1)},
                               {"77", courses().getLiveCourseWithRoomID(2)},
                               {"2", courses().getLiveCourseWithRoomID(2)}});
  // What is no course has a place all the same, and what stands in it is gone.
  live[2] = {nullptr, courseItem(2, 1, 2), courseItem(3, 1, 2), courseItem(4, 1, 2)};
  courses().loadLiveCourseWithPage_courseStatus_retryCount(1, 2, 3);
  settle();
  EXPECT_EQ(list(2), (Keys{"2", "3", "4"}));
  EXPECT_TRUE(isLiveInMemory(1));
  EXPECT_TRUE(hasLiveFile(1));
  EXPECT_FALSE(isLiveInMemory(77));
}

TEST_F(LivePages, FileOfAVanishedCourseThatIsNotInMemoryStays) {
  listLive(2, 1, 4);
  signIn();
  getLiveCourses(0, 4, 2);
  auto records = courses().liveCourseDict();
  records.erase("1");
  courses().setLiveCourseDict(records);
  live[2] = {nullptr, courseItem(2, 1, 2), courseItem(3, 1, 2), courseItem(4, 1, 2)};
  courses().loadLiveCourseWithPage_courseStatus_retryCount(1, 2, 3);
  settle();
  EXPECT_EQ(list(2), (Keys{"2", "3", "4"}));
  EXPECT_TRUE(hasLiveFile(1));
}

TEST_F(LivePages, VanishedCourseInMemoryLosesItsFile) {
  listLive(2, 1, 4);
  signIn();
  getLiveCourses(0, 4, 2);
  live[2] = {nullptr, courseItem(2, 1, 2), courseItem(3, 1, 2), courseItem(4, 1, 2)};
  courses().loadLiveCourseWithPage_courseStatus_retryCount(1, 2, 3);
  settle();
  EXPECT_FALSE(hasLiveFile(1));
  EXPECT_FALSE(isLiveInMemory(1));
  EXPECT_EQ(std::ranges::count(courses().liveCourseQueue(), "1"), 1);
}

TEST_F(LivePages, EmptyPageCutsNothingAndLeavesTheListFile) {
  listLive(2, 1, 10);
  signIn();
  getLiveCourses(0, 30, 2);
  writePropertyListFile(*courses().liveCourseListFile(), json::array{"as it was"}, Durability::Plain);
  live[2].clear();
  EXPECT_EQ(getLiveCourses(0, 30, 2, true), (Answer{true, 10}));
  EXPECT_EQ(liveListFile(), json::array{"as it was"});
  EXPECT_TRUE(hasLiveFile(1));
}

TEST_F(LivePages, CursorGoesFromPageToPage) {
  listLive(2, 1, 50);
  signIn();
  getLiveCourses(0, 30, 2);
  EXPECT_EQ(courses().lastValidLiveCourse(), "30");
  getLiveCourses(0, 50, 2, true);
  EXPECT_EQ(courses().lastValidLiveCourse(), "50");
  EXPECT_EQ(list(2), roomKeys(1, 50));
}

TEST_F(LivePages, PageBehindACursorFollowsIt) {
  listLive(2, 1, 50);
  signIn();
  getLiveCourses(0, 50, 2);
  live[2].clear();
  listLive(2, 1, 30);
  live[2].push_back(courseItem(99, 1, 2));
  courses().setLastValidLiveCourse("5");
  courses().loadLiveCourseWithPage_courseStatus_retryCount(2, 2, 3);
  settle();
  EXPECT_EQ(list(2), (Keys{"1", "2", "3", "4", "5", "99"}));
}

TEST_F(LivePages, RequestWithoutACursorBeginsAtThePlaceOfItsPage) {
  listLive(2, 1, 50);
  signIn();
  getLiveCourses(0, 50, 2);
  live[2][30] = courseItem(99, 1, 2);
  getLiveCourses(30, 20, 2, true);
  Keys expected = roomKeys(1, 30);
  expected.push_back("99");
  for (const auto& key : roomKeys(32, 50)) expected.push_back(key);
  EXPECT_EQ(list(2), expected);
}

TEST_F(LivePages, KeepsSixtyRecordsInMemory) {
  listLive(3, 1, 100);
  signIn();
  EXPECT_EQ(getLiveCourses(0, 100, 3), (Answer{true, 100}));
  EXPECT_EQ(courses().liveCourseDict().size(), 60u);
  EXPECT_EQ(courses().liveCourseQueue().size(), 60u);
  EXPECT_TRUE(isLiveInMemory(100));
  EXPECT_FALSE(isLiveInMemory(1));
  EXPECT_EQ(courses().getLiveCourseWithIndex_courseStatus(0, 3)->title, "课程 1");
}

}  // namespace

}  // namespace orv::live_page_effects_test
