// What a page of recorded courses does to lists, memory and files.

#include "tests/unit/course/PagingFixture.h"

#include <string>
#include <system_error>

namespace orv::recorded_page_effects_test {

namespace {

class RecordedPages : public PagingFixture {};

TEST_F(RecordedPages, WritesEveryRecordAndTheList) {
  listRooms(100, 98);
  signIn();
  getCourses(0, 30);
  EXPECT_EQ(cloudListFile(), asArray({"100", "99", "98"}));
  ASSERT_TRUE(cloudFile(99));
  EXPECT_EQ(*cloudFile(99), courses().getRecordCourseWithIndex(1)->jsonObject());
  EXPECT_EQ(cloudFile(99)->at("title"), "课程 99");
}

TEST_F(RecordedPages, StoresOfACourseWhatAFileCanHold) {
  recorded = {courseItem(9), courseItem(8)};
  recorded[0].as_object()["title"] = std::string("a\0b", 3);
  recorded[0].as_object()["intro"] = "introduction";
  signIn();
  EXPECT_EQ(getCourses(0, 30), (Answer{true, 2}));
  EXPECT_EQ(courses().getRecordCourseWithIndex(0)->title, std::string("a\0b", 3)) << "the memory has it all";
  ASSERT_TRUE(cloudFile(9));
  EXPECT_FALSE(cloudFile(9)->contains("title"));
  EXPECT_EQ(cloudFile(9)->at("intro"), "introduction");
  courses().init();
  EXPECT_EQ(courses().cloudCourseList(), (Keys{"9", "8"})) << "a course without a file would be gone";
  EXPECT_EQ(courses().getRecordCourseWithIndex(0)->intro, "introduction");
}

TEST_F(RecordedPages, UpdatesTheRecordThatCallersShare) {
  recorded = {courseItem(9)};
  signIn();
  getCourses(0, 1);
  const auto course = courses().getRecordCourseWithIndex(0);
  course->intro = "只在这里";
  recorded[0].as_object()["title"] = "新的";
  getCourses(0, 1, true);
  EXPECT_EQ(courses().getRecordCourseWithIndex(0), course);
  EXPECT_EQ(course->title, "新的");
  EXPECT_EQ(course->intro, "只在这里");
  EXPECT_EQ(cloudFile(9)->at("intro"), "只在这里");
}

TEST_F(RecordedPages, UpdatesARecordThatIsOnlyOnTheDisk) {
  recorded = {courseItem(9)};
  signIn();
  getCourses(0, 1);
  courses().getRecordCourseWithIndex(0)->intro = "只在这里";
  recorded[0].as_object()["viewCnt"] = 1;
  getCourses(0, 1, true);
  courses().setCloudCourseDict({});
  courses().setCourseQueue({});
  recorded[0].as_object()["title"] = "新的";
  courses().loadRecordCourseWithPage_retryCount(1, 3);
  settle();
  EXPECT_EQ(courses().courseQueue(), Keys{"c-9"});
  ASSERT_TRUE(isInMemory(9));
  EXPECT_EQ(courses().getRecordCourseWithIndex(0)->title, "新的");
  EXPECT_EQ(courses().getRecordCourseWithIndex(0)->intro, "只在这里");
  EXPECT_EQ(cloudFile(9)->at("title"), "新的");
  EXPECT_EQ(cloudFile(9)->at("intro"), "只在这里");
}

TEST_F(RecordedPages, ListedCourseWithoutARecordFileGetsNoneFromAPage) {
  recorded = {courseItem(9), courseItem(8)};
  signIn();
  getCourses(0, 2);
  courses().setCloudCourseDict({});
  std::error_code error;
  platform.files().remove(*courses().cloudCourseFolder() + "/9.plist", error);
  EXPECT_EQ(getCourses(0, 2, true), (Answer{true, 1}));
  EXPECT_EQ(courses().cloudCourseList(), (Keys{"9", "8"}));
  EXPECT_FALSE(hasCloudFile(9));
  EXPECT_EQ(courses().getRecordCourseWithIndex(0), nullptr);
}

TEST_F(RecordedPages, PassesOverDraftsAndWithdrawnCourses) {
  recorded = {courseItem(9, 2, 4), courseItem(8, 2, 5), courseItem(7, 2, 5),
              courseItem(6, 2, 5), courseItem(5, 2, 5), courseItem(4, 2, 3)};
  recorded[2].as_object()["publishStatus"] = 3;
  recorded[3].as_object()["publishStatus"] = 0;
  recorded[4].as_object()["publishStatus"] = 2;
  signIn();
  getCourses(0, 30);
  getCourses(0, 30, true);
  for (const std::int64_t room : {8, 7, 4}) {
    EXPECT_TRUE(hasCloudFile(room)) << room;
  }
  for (const std::int64_t room : {9, 6, 5}) {
    EXPECT_FALSE(hasCloudFile(room)) << room;
    EXPECT_FALSE(isInMemory(room)) << room;
  }
}

TEST_F(RecordedPages, FullPageOfDraftsRewritesTheListAndTrimsNothing) {
  listRooms(100, 96);
  signIn();
  getCourses(0, 30);
  writePropertyListFile(*courses().cloudCourseListFile(), json::array{}, Durability::Plain);
  recorded.clear();
  for (int room = 1; room <= 30; ++room) recorded.push_back(courseItem(room, 2, 4));
  getCourses(0, 30, true);
  EXPECT_EQ(courses().cloudCourseList(), roomKeys(100, 96));
  EXPECT_EQ(cloudListFile(), asArray(roomKeys(100, 96)));
}

TEST_F(RecordedPages, ShortPageOfDraftsTrimsNothingWithoutACursor) {
  listRooms(100, 96);
  signIn();
  getCourses(0, 30);
  recorded = {courseItem(1, 2, 4)};
  getCourses(0, 30, true);
  EXPECT_EQ(courses().cloudCourseList(), roomKeys(100, 96));
}

TEST_F(RecordedPages, ShortPageOfDraftsTrimsBehindTheCursor) {
  listRooms(100, 56);  // 45
  signIn();
  getCourses(0, 60);
  recorded.resize(30);
  recorded.push_back(courseItem(1, 2, 4));
  getCourses(0, 60, true);
  EXPECT_EQ(courses().cloudCourseList(), roomKeys(100, 71));
  EXPECT_EQ(cloudListFile(), asArray(roomKeys(100, 71)));
  EXPECT_FALSE(hasCloudFile(70));
  EXPECT_FALSE(isInMemory(70));
}

TEST_F(RecordedPages, VanishedCourseLeavesListMemoryAndDisk) {
  listRooms(100, 96);
  signIn();
  getCourses(0, 30);
  unlist(recorded, 98);
  getCourses(0, 30, true);
  EXPECT_EQ(courses().cloudCourseList(), (Keys{"100", "99", "97", "96"}));
  EXPECT_EQ(cloudListFile(), asArray({"100", "99", "97", "96"}));
  EXPECT_FALSE(isInMemory(98));
  EXPECT_FALSE(hasCloudFile(98));
}

TEST_F(RecordedPages, FileOfAVanishedCourseThatIsNotInMemoryStays) {
  listRooms(100, 96);
  signIn();
  getCourses(0, 30);
  auto dict = courses().cloudCourseDict();
  dict.erase("98");
  courses().setCloudCourseDict(dict);
  unlist(recorded, 98);
  getCourses(0, 30, true);
  EXPECT_EQ(courses().cloudCourseList(), (Keys{"100", "99", "97", "96"}));
  EXPECT_TRUE(hasCloudFile(98));
}

TEST_F(RecordedPages, VanishedCourseIsRemovedUnderItsOwnRoom) {
  listRooms(100, 96);
  signIn();
  getCourses(0, 30);
  // A host may have changed the record; its number decides.
  courses().cloudCourseDict().at("98")->roomID = 97;
  unlist(recorded, 98);
  unlist(recorded, 97);
  getCourses(0, 30, true);
  EXPECT_TRUE(isInMemory(98));
  EXPECT_TRUE(hasCloudFile(98));
  EXPECT_FALSE(hasCloudFile(97));
}

TEST_F(RecordedPages, WhatLeavesTheListKeepsItsPlaceInTheQueue) {
  listRooms(100, 98);
  signIn();
  getCourses(0, 30);
  recorded = {courseItem(100)};
  getCourses(0, 30, true);
  EXPECT_EQ(courses().cloudCourseList(), Keys{"100"});
  EXPECT_EQ(courses().courseQueue().size(), 3u);
}

TEST_F(RecordedPages, LastPageCutsOffWhatLiesBehindIt) {
  listRooms(100, 61);
  signIn();
  getCourses(0, 60);
  recorded.resize(33);
  getCourses(30, 30, true);
  EXPECT_EQ(courses().cloudCourseList(), roomKeys(100, 68));
  for (const std::int64_t room : {67, 61}) {
    EXPECT_FALSE(isInMemory(room)) << room;
    EXPECT_FALSE(hasCloudFile(room)) << room;
  }
  EXPECT_TRUE(hasCloudFile(68));
}

TEST_F(RecordedPages, EmptyPageClearsTheWholeListAndLeavesItsFile) {
  listRooms(100, 71);  // Exactly one page: the next one is empty.
  signIn();
  EXPECT_EQ(getCourses(0, 30), (Answer{true, 30}));
  EXPECT_EQ(getCourses(0, 31), (Answer{true, 0}));
  EXPECT_EQ(pagesAsked, (Strings{"items 1", "items 2"}));
  EXPECT_EQ(courses().getRecordCourseCount(), 0u);
  EXPECT_TRUE(courses().cloudCourseDict().empty());
  EXPECT_FALSE(hasCloudFile(100));
  EXPECT_FALSE(hasCloudFile(71));
  EXPECT_EQ(cloudListFile(), asArray(roomKeys(100, 71)));
}

TEST_F(RecordedPages, NewCourseMayStandInFrontOfItsNeighbourAndCostItItsPlaceForAPass) {
  recorded = {courseItem(50), courseItem(40), courseItem(30)};
  signIn();
  getCourses(0, 3);
  recorded = {courseItem(50), courseItem(45), courseItem(40), courseItem(30)};
  getCourses(0, 3, true);
  EXPECT_EQ(courses().cloudCourseList(), (Keys{"45", "40", "30"}));
  EXPECT_FALSE(hasCloudFile(50));
  getCourses(0, 3, true);
  EXPECT_EQ(courses().cloudCourseList(), (Keys{"50", "45", "40", "30"}));
}

TEST_F(RecordedPages, CourseAppendedOnePlaceBeyondItsOwnIsDroppedAtOnce) {
  recorded = {courseItem(50, 2, 4), courseItem(40)};
  signIn();
  EXPECT_EQ(getCourses(0, 30), (Answer{true, 0}));
  EXPECT_EQ(courses().cloudCourseList(), Keys{});
  EXPECT_FALSE(isInMemory(40));
  EXPECT_FALSE(hasCloudFile(40));
  EXPECT_EQ(cloudListFile(), json::array{});
}

TEST_F(RecordedPages, ItemsThatAreNoCoursesDoNoHarm) {
  recorded = {courseItem(50), 7, "text", nullptr, json::array{}, courseItem(40)};
  signIn();
  getCourses(0, 30);
  EXPECT_EQ(courses().cloudCourseList().front(), "50");
  recorded = {json::object{{"title", "ohne Raum"}}};
  getCourses(0, 30, true);
  EXPECT_TRUE(hasCloudFile(0));
}

TEST_F(RecordedPages, FileThatCannotBeWrittenLeavesTheMemoryAsItIs) {
  listRooms(100, 98);
  signIn();
  courses();
  settle();
  platform.files().failAlways(testing::FileOperation::WriteAtomically);
  EXPECT_EQ(getCourses(0, 30), (Answer{true, 3}));
  EXPECT_EQ(courses().cloudCourseList(), roomKeys(100, 98));
  EXPECT_EQ(courses().getRecordCourseWithIndex(2)->title, "课程 98");
}

// Memory --------------------------------------------------------------------------------------------------------

TEST_F(RecordedPages, KeepsSixtyRecordsInMemoryAndReadsTheOthersBack) {
  listRooms(300, 151);
  signIn();
  EXPECT_EQ(getCourses(0, 90), (Answer{true, 90}));
  EXPECT_EQ(courses().cloudCourseDict().size(), 60u);
  EXPECT_EQ(courses().courseQueue().size(), 60u);
  // The last ones served are the most recently used.
  EXPECT_TRUE(isInMemory(211));
  EXPECT_FALSE(isInMemory(300));
  EXPECT_EQ(courses().getRecordCourseWithIndex(0)->title, "课程 300");
  EXPECT_EQ(courses().courseQueue().front(), "c-300");
}

TEST_F(RecordedPages, AnswerOfMoreThanTwicePlentyLeavesTheMemoryInTwoLooks) {
  listRooms(300, 151);
  signIn();
  EXPECT_EQ(getCourses(0, 150), (Answer{true, 150}));
  EXPECT_EQ(courses().cloudCourseDict().size(), 74u);
  courses().checkCourseRequestPage_arriveLastPage_retryCount(-1, false, 3);
  EXPECT_EQ(courses().cloudCourseDict().size(), 60u);
  EXPECT_EQ(courses().courseQueue().size(), 60u);
}

TEST_F(RecordedPages, ServedCoursesComeToTheFrontOfTheQueue) {
  listRooms(100, 91);
  signIn();
  getCourses(0, 10);
  getCourses(4, 2);
  EXPECT_EQ(courses().courseQueue().at(0), "c-95");
  EXPECT_EQ(courses().courseQueue().at(1), "c-96");
}

TEST_F(RecordedPages, LoadedCoursesThatAreNotServedWaitAtTheEndOfTheQueue) {
  listRooms(100, 71);
  signIn();
  getCourses(0, 2);
  Keys expected{"c-99", "c-100"};
  for (const auto& key : roomKeys(98, 71)) expected.push_back("c-" + key);
  EXPECT_EQ(courses().courseQueue(), expected);
}

}  // namespace

}  // namespace orv::recorded_page_effects_test
