#include "tests/unit/course/PagingFixture.h"

namespace orv {

namespace {

class RecordedPaging : public PagingFixture {};

TEST_F(RecordedPaging, LoadsThePageOfARangeThatIsMissing) {
  listRooms(100, 51);
  signIn();
  EXPECT_EQ(getCourses(0, 30), (Answer{true, 30}));
  EXPECT_EQ(pagesAsked, Strings{"items 1"});
  EXPECT_EQ(courses().getRecordCourseCount(), 30u);
  ASSERT_NE(courses().getRecordCourseWithIndex(0), nullptr);
  EXPECT_EQ(courses().getRecordCourseWithIndex(0)->title, "课程 100");
  EXPECT_EQ(getCourses(0, 60), (Answer{true, 50}));
  EXPECT_EQ(pagesAsked, (Strings{"items 1", "items 2"}));
  EXPECT_EQ(courses().getRecordCourseWithIndex(49)->title, "课程 51");
  EXPECT_EQ(courses().getRecordCourseWithIndex(50), nullptr);
}

TEST_F(RecordedPaging, KeepsLiveCoursesApart) {
  live[2] = {courseItem(7, 1, 2), courseItem(5, 3, 2)};
  signIn();
  EXPECT_EQ(getLiveCourses(0, 30, 2), (Answer{true, 2}));
  EXPECT_EQ(courses().getLiveCourseCountWithStatus(2), 2u);
  EXPECT_EQ(courses().getLiveCourseWithIndex_courseStatus(1, 2)->title, "课程 5");
  EXPECT_EQ(courses().getRecordCourseCount(), 0u);
  EXPECT_TRUE(courses().courseQueue().empty());
}

TEST_F(RecordedPaging, AsksTheServerForTheClassroomsRecordedCourses) {
  signIn("100001", "5001");
  getCourses(0, 1);
  const auto request = server.lastRequest("Course.Get.Items");
  ASSERT_TRUE(request);
  json::object values = request->at("v").as_object();
  values.erase("guid");
  EXPECT_EQ(values.at("classroomID"), "5001");
  EXPECT_EQ(values.at("start"), 1);
  EXPECT_EQ(values.at("liveType"), 2);
  EXPECT_EQ(values.at("limit"), 30);
  EXPECT_EQ(values.at("draft"), false);
  EXPECT_EQ(values.at("uID"), 100001);
  for (const auto* absent : {"keyword", "toTime", "fromTime"})
    EXPECT_FALSE(values.contains(absent)) << absent;
}

TEST_F(RecordedPaging, AnswersFromTheListWhatItHolds) {
  listRooms(100, 51);
  signIn();
  getCourses(0, 30);
  pagesAsked.clear();
  EXPECT_EQ(getCourses(0, 30), (Answer{true, 30}));
  EXPECT_EQ(getCourses(29, 1), (Answer{true, 1}));
  EXPECT_EQ(getCourses(0, 0), (Answer{true, 0}));
  EXPECT_EQ(pagesAsked, Strings{});
}

TEST_F(RecordedPaging, AsksForNothingWhenNothingIsWanted) {
  listRooms(100, 51);
  signIn();
  EXPECT_EQ(getCourses(0, 0), (Answer{true, 0}));
  EXPECT_EQ(pagesAsked, Strings{});
  EXPECT_EQ(getCourses(10, 0), (Answer{true, 0}));
  EXPECT_EQ(pagesAsked, Strings{"items 1"});
}

TEST_F(RecordedPaging, ContinuesBehindWhatTheListHolds) {
  listRooms(100, 59);  // 42
  signIn();
  getCourses(0, 30);
  EXPECT_EQ(getCourses(45, 10), (Answer{true, 0}));
  EXPECT_EQ(pagesAsked, (Strings{"items 1", "items 2"}));
  EXPECT_EQ(courses().getRecordCourseCount(), 42u);
  EXPECT_EQ(getCourses(20, 30), (Answer{true, 22}));
}

TEST_F(RecordedPaging, AsksForTheLastPageAnewWhenARangeEndsBehindIt) {
  listRooms(100, 59);
  signIn();
  getCourses(0, 60);
  pagesAsked.clear();
  recorded.push_back(courseItem(10));
  EXPECT_EQ(getCourses(0, 60), (Answer{true, 43}));
  EXPECT_EQ(pagesAsked, Strings{"items 2"});
}

TEST_F(RecordedPaging, LoadsPageAfterPageUntilTheRangeIsThere) {
  listRooms(200, 81);
  signIn();
  EXPECT_EQ(getCourses(70, 15), (Answer{true, 15}));
  EXPECT_EQ(pagesAsked, (Strings{"items 1", "items 2", "items 3"}));
  EXPECT_EQ(courses().cloudCourseList(), roomKeys(200, 111));
}

TEST_F(RecordedPaging, StopsAtAPageThatIsNotFull) {
  listRooms(200, 166);  // 35
  signIn();
  EXPECT_EQ(getCourses(0, 1000), (Answer{true, 35}));
  EXPECT_EQ(pagesAsked, (Strings{"items 1", "items 2"}));
}

TEST_F(RecordedPaging, HoldsRangesThatCannotBeCounted) {
  listRooms(200, 166);
  signIn();
  constexpr auto kMost = std::numeric_limits<std::uint64_t>::max();
  EXPECT_EQ(getCourses(kMost, kMost), (Answer{true, 0}));
  EXPECT_EQ(getCourses(5, kMost), (Answer{true, 30}));
  EXPECT_EQ(getCourses(kMost, kMost, true), (Answer{true, 0}));
}

// By force -------------------------------------------------------------------------------------------------------

TEST_F(RecordedPaging, ForcedRangeLoadsItsPagesAnew) {
  listRooms(100, 11);
  signIn();
  getCourses(0, 90);
  pagesAsked.clear();
  EXPECT_EQ(getCourses(30, 30, true), (Answer{true, 30}));
  EXPECT_EQ(pagesAsked, Strings{"items 2"});
}

TEST_F(RecordedPaging, ForcedRangeBeginsWithThePageOfItsStart) {
  listRooms(100, 1);
  signIn();
  getCourses(0, 90);
  pagesAsked.clear();
  EXPECT_EQ(getCourses(45, 30, true), (Answer{true, 30}));
  EXPECT_EQ(pagesAsked, (Strings{"items 2", "items 3"}));
  pagesAsked.clear();
  EXPECT_EQ(getCourses(29, 2, true), (Answer{true, 2}));
  EXPECT_EQ(pagesAsked, (Strings{"items 1", "items 2"}));
}

TEST_F(RecordedPaging, ForcedRangeEndsAtTheLastPage) {
  listRooms(100, 61);
  signIn();
  EXPECT_EQ(getCourses(0, 500, true), (Answer{true, 40}));
  EXPECT_EQ(pagesAsked, (Strings{"items 1", "items 2"}));
}

TEST_F(RecordedPaging, ForcedRangeOfNothingAsksForNothingAtTheFront) {
  listRooms(100, 61);
  signIn();
  EXPECT_EQ(getCourses(0, 0, true), (Answer{true, 0}));
  EXPECT_EQ(pagesAsked, Strings{});
  EXPECT_EQ(getCourses(1, 0, true), (Answer{true, 0}));
  EXPECT_EQ(pagesAsked, Strings{"items 1"});
}

TEST_F(RecordedPaging, ForcedRangeTakesOverWhatHasChanged) {
  listRooms(100, 91);
  signIn();
  getCourses(0, 30);
  recorded[3].as_object()["title"] = "新的";
  getCourses(0, 10);
  EXPECT_EQ(courses().getRecordCourseWithIndex(3)->title, "课程 97");
  getCourses(0, 10, true);
  EXPECT_EQ(courses().getRecordCourseWithIndex(3)->title, "新的");
}

// The pass over the list -----------------------------------------------------------------------------------------

TEST_F(RecordedPaging, CursorIsTheLastCourseThatTheServerConfirmed) {
  listRooms(100, 51);
  signIn();
  EXPECT_EQ(courses().lastValidCourse(), std::nullopt);
  getCourses(0, 30);
  EXPECT_EQ(courses().lastValidCourse(), "71");
  getCourses(30, 20);
  EXPECT_EQ(courses().lastValidCourse(), "51");
}

TEST_F(RecordedPaging, NewRequestBeginsAPassOfItsOwn) {
  listRooms(100, 41);
  signIn();
  getCourses(0, 60);
  unlist(recorded, 71);  // The last one of page 1: page 2 now begins one further on.
  getCourses(30, 30, true);
  // Nothing says what lies in front of the first course of page 2, so nothing there is dropped.
  EXPECT_EQ(courses().cloudCourseList().at(29), "71");
  EXPECT_EQ(courses().cloudCourseList().at(30), "70");
}

TEST_F(RecordedPaging, PassOverSeveralPagesDropsWhatVanishedBetweenThem) {
  listRooms(100, 31);
  signIn();
  getCourses(0, 70);
  unlist(recorded, 71);
  unlist(recorded, 70);
  getCourses(0, 60, true);
  EXPECT_EQ(courses().cloudCourseList().at(28), "72");
  EXPECT_EQ(courses().cloudCourseList().at(29), "69");
}

TEST_F(RecordedPaging, CursorIsResetByAPassFromPageOne) {
  listRooms(100, 91);
  signIn();
  getCourses(0, 10);
  courses().setLastValidCourse("95");
  unlist(recorded, 100);
  courses().loadRecordCourseWithPage_retryCount(1, 3);
  settle();
  EXPECT_EQ(courses().cloudCourseList(), roomKeys(99, 91));
}

TEST_F(RecordedPaging, CursorGoesOnWithALaterPage) {
  listRooms(100, 51);
  signIn();
  getCourses(0, 50);
  courses().setLastValidCourse("75");
  courses().loadRecordCourseWithPage_retryCount(2, 3);
  settle();
  // What stands between the cursor and the first course of page 2 is gone.
  Keys expected = roomKeys(100, 75);
  for (const auto& key : roomKeys(70, 51)) expected.push_back(key);
  EXPECT_EQ(courses().cloudCourseList(), expected);
}

// What a page does to lists, memory and files --------------------------------------------------------------------

TEST_F(RecordedPaging, WritesEveryRecordAndTheList) {
  listRooms(100, 98);
  signIn();
  getCourses(0, 30);
  EXPECT_EQ(cloudListFile(), asArray({"100", "99", "98"}));
  ASSERT_TRUE(cloudFile(99));
  EXPECT_EQ(*cloudFile(99), courses().getRecordCourseWithIndex(1)->jsonObject());
  EXPECT_EQ(cloudFile(99)->at("title"), "课程 99");
}

TEST_F(RecordedPaging, UpdatesTheRecordThatCallersShare) {
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

TEST_F(RecordedPaging, UpdatesARecordThatIsOnlyOnTheDisk) {
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

TEST_F(RecordedPaging, ListedCourseWithoutARecordFileGetsNoneFromAPage) {
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

TEST_F(RecordedPaging, PassesOverDraftsAndWithdrawnCourses) {
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

TEST_F(RecordedPaging, FullPageOfDraftsRewritesTheListAndTrimsNothing) {
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

TEST_F(RecordedPaging, ShortPageOfDraftsTrimsNothingWithoutACursor) {
  listRooms(100, 96);
  signIn();
  getCourses(0, 30);
  recorded = {courseItem(1, 2, 4)};
  getCourses(0, 30, true);
  EXPECT_EQ(courses().cloudCourseList(), roomKeys(100, 96));
}

TEST_F(RecordedPaging, ShortPageOfDraftsTrimsBehindTheCursor) {
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

TEST_F(RecordedPaging, VanishedCourseLeavesListMemoryAndDisk) {
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

TEST_F(RecordedPaging, FileOfAVanishedCourseThatIsNotInMemoryStays) {
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

TEST_F(RecordedPaging, VanishedCourseIsRemovedUnderItsOwnRoom) {
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

TEST_F(RecordedPaging, WhatLeavesTheListKeepsItsPlaceInTheQueue) {
  listRooms(100, 98);
  signIn();
  getCourses(0, 30);
  recorded = {courseItem(100)};
  getCourses(0, 30, true);
  EXPECT_EQ(courses().cloudCourseList(), Keys{"100"});
  EXPECT_EQ(courses().courseQueue().size(), 3u);
}

TEST_F(RecordedPaging, LastPageCutsOffWhatLiesBehindIt) {
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

TEST_F(RecordedPaging, EmptyPageClearsTheWholeListAndLeavesItsFile) {
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

TEST_F(RecordedPaging, NewCourseMayStandInFrontOfItsNeighbourAndCostItItsPlaceForAPass) {
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

TEST_F(RecordedPaging, CourseAppendedOnePlaceBeyondItsOwnIsDroppedAtOnce) {
  recorded = {courseItem(50, 2, 4), courseItem(40)};
  signIn();
  EXPECT_EQ(getCourses(0, 30), (Answer{true, 0}));
  EXPECT_EQ(courses().cloudCourseList(), Keys{});
  EXPECT_FALSE(isInMemory(40));
  EXPECT_FALSE(hasCloudFile(40));
  EXPECT_EQ(cloudListFile(), json::array{});
}

TEST_F(RecordedPaging, ItemsThatAreNoCoursesDoNoHarm) {
  recorded = {courseItem(50), 7, "text", nullptr, json::array{}, courseItem(40)};
  signIn();
  getCourses(0, 30);
  EXPECT_EQ(courses().cloudCourseList().front(), "50");
  recorded = {json::object{{"title", "ohne Raum"}}};
  getCourses(0, 30, true);
  EXPECT_TRUE(hasCloudFile(0));
}

TEST_F(RecordedPaging, FileThatCannotBeWrittenLeavesTheMemoryAsItIs) {
  listRooms(100, 98);
  signIn();
  courses();
  settle();
  platform.files().failAlways(testing::FileOperation::WriteAtomically);
  EXPECT_EQ(getCourses(0, 30), (Answer{true, 3}));
  EXPECT_EQ(courses().cloudCourseList(), roomKeys(100, 98));
  EXPECT_EQ(courses().getRecordCourseWithIndex(2)->title, "课程 98");
}

// Memory ---------------------------------------------------------------------------------------------------------

TEST_F(RecordedPaging, KeepsSixtyRecordsInMemoryAndReadsTheOthersBack) {
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

TEST_F(RecordedPaging, AnswerOfMoreThanTwicePlentyLeavesTheMemoryInTwoLooks) {
  listRooms(300, 151);
  signIn();
  EXPECT_EQ(getCourses(0, 150), (Answer{true, 150}));
  EXPECT_EQ(courses().cloudCourseDict().size(), 74u);
  courses().checkCourseRequestPage_arriveLastPage_retryCount(-1, false, 3);
  EXPECT_EQ(courses().cloudCourseDict().size(), 60u);
  EXPECT_EQ(courses().courseQueue().size(), 60u);
}

TEST_F(RecordedPaging, ServedCoursesComeToTheFrontOfTheQueue) {
  listRooms(100, 91);
  signIn();
  getCourses(0, 10);
  getCourses(4, 2);
  EXPECT_EQ(courses().courseQueue().at(0), "c-95");
  EXPECT_EQ(courses().courseQueue().at(1), "c-96");
}

TEST_F(RecordedPaging, LoadedCoursesThatAreNotServedWaitAtTheEndOfTheQueue) {
  listRooms(100, 71);
  signIn();
  getCourses(0, 2);
  Keys expected{"c-99", "c-100"};
  for (const auto& key : roomKeys(98, 71)) expected.push_back("c-" + key);
  EXPECT_EQ(courses().courseQueue(), expected);
}

// Several callers ------------------------------------------------------------------------------------------------

TEST_F(RecordedPaging, CallbacksComeOnAWorkerOnceEach) {
  listRooms(100, 51);
  signIn();
  ask("a", 0, 30);
  ask("b", 0, 60);
  ask("c", 0, 1);
  settle();
  std::ranges::sort(answers);
  EXPECT_EQ(answers, (Strings{"a true 30", "b true 50", "c true 1"}));
  EXPECT_TRUE(courses().requestRecordList().empty());
}

TEST_F(RecordedPaging, WorksWithoutACallback) {
  listRooms(100, 99);
  signIn();
  courses().getCoursesWithStartIndex_count_force_coursesBlock(0, 30, false, nullptr);
  settle();
  EXPECT_EQ(courses().getRecordCourseCount(), 2u);
  EXPECT_TRUE(courses().requestRecordList().empty());
}

TEST_F(RecordedPaging, CallbackFindsNothingLocked) {
  listRooms(100, 99);
  signIn();
  std::string title;
  courses().getCoursesWithStartIndex_count_force_coursesBlock(0, 1, false, [&](bool, std::int64_t) {
    title = courses().getRecordCourseWithIndex(0)->title.get().value();
    ask("inner", 0, 2);
  });
  settle();
  EXPECT_EQ(title, "课程 100");
  EXPECT_EQ(answers, Strings{"inner true 2"});
}

TEST_F(RecordedPaging, WhatACallbackHoldsGoesWhenNothingIsLocked) {
  struct Host {
    ~Host() { destroyed = courses().dataSemaphore()->tryWait(); }
    bool& destroyed;
  };
  listRooms(100, 99);
  signIn();
  bool wasFree = false;
  auto host = std::make_shared<Host>(wasFree);
  platform.holdGlobalQueue(true);
  courses().getCoursesWithStartIndex_count_force_coursesBlock(0, 2, false, [host](bool, std::int64_t) {});
  host.reset();
  platform.holdGlobalQueue(false);
  settle();
  EXPECT_TRUE(wasFree);
}

TEST_F(RecordedPaging, CallbackThatThrowsIsToldAndHarmsNobody) {
  listRooms(100, 99);
  signIn();
  courses().getCoursesWithStartIndex_count_force_coursesBlock(
      0, 1, false, [](bool, std::int64_t) { throw std::runtime_error("host trouble"); });
  ask("next", 0, 2);
  settle();
  EXPECT_EQ(answers, Strings{"next true 2"});
  EXPECT_EQ(
      std::ranges::count_if(
          console, [](const std::string& line) { return line.find("host trouble") != std::string::npos; }),
      1);
}

TEST_F(RecordedPaging, OnePageIsOnTheWireAtATime) {
  signIn();
  holdPages();
  ask("a", 0, 60);
  ask("b", 0, 30, true);
  ask("c", 90, 30, true);
  settle();
  EXPECT_EQ(held.size(), 1u);
  courses().loadRecordCourseWithPage_retryCount(7, 3);
  settle();
  EXPECT_EQ(held.size(), 1u);
  EXPECT_FALSE(courses().reqRecordSemaphore()->tryWait());
}

TEST_F(RecordedPaging, NextPageIsForTheOldestRequest) {
  listRooms(300, 151);
  signIn();
  holdPages();
  ask("a", 0, 60);
  settle();
  ask("b", 120, 30, true);
  settle();
  answerHeld(pageAsked(held.front()));
  EXPECT_EQ(pagesAsked, (Strings{"items 1", "items 2"}));
  answerHeld(pageAsked(held.front()));
  EXPECT_EQ(answers, Strings{"a true 60"});
  EXPECT_EQ(pagesAsked.back(), "items 5");
}

TEST_F(RecordedPaging, LookWhileAPageIsUnderWayCountsForTheForcedRequestThatWaits) {
  listRooms(300, 151);
  signIn();
  holdPages();
  ask("forced", 0, 60, true);
  settle();
  EXPECT_EQ(courses().requestRecordList().at(0).endIndex, 30u);
  ask("other", 0, 1);  // Moves the forced one on to page 2, which cannot be loaded now.
  settle();
  EXPECT_EQ(courses().requestRecordList().at(0).endIndex, 60u);
  answerHeld(pageAsked(held.front()));
  std::ranges::sort(answers);
  EXPECT_EQ(answers, (Strings{"forced true 30", "other true 1"}));
  EXPECT_EQ(pagesAsked, Strings{"items 1"});
}

TEST_F(RecordedPaging, RequestThatWaitsSaysWhatItAsksFor) {
  signIn();
  holdPages();
  ask("a", 3, 4);
  ask("b", 31, 5, true);
  settle();
  const auto requests = courses().requestRecordList();
  ASSERT_EQ(requests.size(), 2u);
  EXPECT_EQ(requests[0].values(), (json::object{{"ReqCourseStartIndex", 3},
                                                {"ReqCourseCount", 4},
                                                {"ReqCourseForce", false},
                                                {"ReqCourseRequestEndIndex", 30}}));
  EXPECT_EQ(requests[1].values(),
            (json::object{{"ReqCourseStartIndex", 31}, {"ReqCourseCount", 5}, {"ReqCourseForce", true}}));
  EXPECT_TRUE(requests[0].blockHandler);
}

TEST_F(RecordedPaging, LookAlwaysAnswersFalse) {
  signIn();
  EXPECT_FALSE(courses().checkCourseRequestPage_arriveLastPage_retryCount(-1, false, 3));
  holdPages();
  ask("a", 0, 1);
  EXPECT_FALSE(courses().checkCourseRequestPage_arriveLastPage_retryCount(1, true, 0));
}

TEST_F(RecordedPaging, LookAtTheLastPageServesEverybody) {
  listRooms(100, 51);
  signIn();
  getCourses(0, 30);
  holdPages();
  ask("a", 0, 60);
  ask("b", 0, 60, true);
  settle();
  courses().checkCourseRequestPage_arriveLastPage_retryCount(-1, true, 3);
  settle();
  std::ranges::sort(answers);
  EXPECT_EQ(answers, (Strings{"a true 30", "b true 30"}));
}

}  // namespace

}  // namespace orv
