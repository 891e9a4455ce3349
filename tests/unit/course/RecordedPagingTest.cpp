#include "tests/unit/course/PagingFixture.h"

#include <limits>
#include <optional>

namespace orv::recorded_paging_test {

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
  for (const auto* absent : {"keyword", "toTime", "fromTime"}) {
    EXPECT_FALSE(values.contains(absent)) << absent;
  }
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

// By force ------------------------------------------------------------------------------------------------------

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

// The pass over the list ----------------------------------------------------------------------------------------

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

}  // namespace

}  // namespace orv::recorded_paging_test
