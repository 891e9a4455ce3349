#include <orvnetwork/session/QXUserInfoMgr.h>

#include "tests/unit/course/PagingFixture.h"

#include <algorithm>

namespace orv::live_paging_test {

namespace {

class LivePaging : public PagingFixture {};

// Asking --------------------------------------------------------------------------------------------------------

TEST_F(LivePaging, AnswersARangeOfAStatus) {
  listLive(2, 1, 45);
  signIn();
  EXPECT_EQ(getLiveCourses(0, 30, 2), (Answer{true, 30}));
  EXPECT_EQ(pagesAsked, Strings{"coming 1 of status 2"});
  EXPECT_EQ(getLiveCourses(20, 50, 2), (Answer{true, 25}));
  EXPECT_EQ(pagesAsked, (Strings{"coming 1 of status 2", "coming 2 of status 2"}));
  EXPECT_EQ(list(2), roomKeys(1, 45));
  EXPECT_EQ(getLiveCourses(0, 30, 2), (Answer{true, 30}));
  EXPECT_EQ(pagesAsked.size(), 2u);
}

TEST_F(LivePaging, OnlyStatusesOneToThreeCanBeAskedFor) {
  signIn();
  for (const std::uint64_t status : {0, 4, 5, 6, 99}) {
    answers.clear();
    askLive("refused", 0, 30, status);
    EXPECT_EQ(answers, Strings{"refused false -1 on main"}) << status;
  }
  settle();
  EXPECT_EQ(pagesAsked, Strings{});
  EXPECT_TRUE(courses().requestLiveList().empty());
  for (const std::uint64_t status : {1, 2, 3}) {
    EXPECT_EQ(getLiveCourses(0, 30, status), (Answer{true, 0})) << status;
  }
}

TEST_F(LivePaging, RefusesWithoutALinkAUserOrAClassroom) {
  askLive("closed", 0, 30, 1);
  bringUp();
  askLive("nobody", 0, 30, 1);
  auto user = makeUser();
  user->classroom = "0";
  QXUserInfoMgr::getInstance().setUserInfo(user);
  askLive("no classroom", 0, 30, 1);
  courses().getLiveCoursesWithStartIndex_count_courseStatus_force_coursesBlock(0, 1, 1, false, nullptr);
  settle();
  EXPECT_EQ(answers,
            (Strings{"closed false -1 on main", "nobody false -1 on main", "no classroom false -1 on main"}));
  EXPECT_EQ(pagesAsked, Strings{});
}

TEST_F(LivePaging, AsksTheServerForTheUsersCourses) {
  signIn("100001", "5001");
  getLiveCourses(0, 30, 1);
  auto values = server.lastRequest("Course.Get.Coming")->at("v").as_object();
  EXPECT_EQ(values.at("start"), 1);
  EXPECT_EQ(values.at("limit"), 30);
  EXPECT_EQ(values.at("classroomID"), 5001);
  EXPECT_EQ(values.at("uID"), 100001);
  EXPECT_EQ(values.at("status"), 1);
  EXPECT_EQ(values.at("order"), "asc");
  EXPECT_EQ(values.at("test"), 0);
  courses().setContainTest(true);
  getLiveCourses(0, 30, 3);
  values = server.lastRequest("Course.Get.Coming")->at("v").as_object();
  EXPECT_EQ(values.at("status"), 3);
  EXPECT_FALSE(values.contains("order"));
  EXPECT_EQ(values.at("test"), 3);
}

TEST_F(LivePaging, ForcedRangeLoadsItsPagesAnew) {
  listLive(3, 1, 80);
  signIn();
  getLiveCourses(0, 70, 3);
  pagesAsked.clear();
  EXPECT_EQ(getLiveCourses(31, 10, 3, true), (Answer{true, 10}));
  EXPECT_EQ(pagesAsked, Strings{"coming 2 of status 3"});
}

TEST_F(LivePaging, CallbacksComeOnAWorkerOnceEach) {
  listLive(1, 1, 40);
  signIn();
  askLive("a", 0, 30, 1);
  askLive("b", 0, 40, 1);
  courses().getLiveCoursesWithStartIndex_count_courseStatus_force_coursesBlock(0, 1, 1, false, nullptr);
  settle();
  std::ranges::sort(answers);
  EXPECT_EQ(answers, (Strings{"a true 30", "b true 40"}));
  EXPECT_TRUE(courses().requestLiveList().empty());
}

TEST_F(LivePaging, RequestThatWaitsSaysWhatItAsksFor) {
  signIn();
  holdPages();
  askLive("a", 3, 4, 2, true);
  settle();
  ASSERT_EQ(courses().requestLiveList().size(), 1u);
  EXPECT_EQ(courses().requestLiveList().front().values(), (json::object{{"ReqCourseStartIndex", 3},
                                                                        {"ReqCourseCount", 4},
                                                                        {"ReqCourseForce", true},
                                                                        {"ReqCourseRequestEndIndex", 30},
                                                                        {"ReqCourseStatus", 2}}));
}

TEST_F(LivePaging, RecordedAndLivePagesAreOnTheWireTogether) {
  listLive(1, 1, 3);
  listRooms(100, 98);
  signIn();
  holdPages();
  ask("recorded", 0, 3);
  askLive("live", 0, 3, 1);
  askLive("more", 0, 3, 2);
  settle();
  EXPECT_EQ(held.size(), 2u);
  instead = nullptr;
  answerHeld(pageAsked(held.front()));
  answerHeld(pageAsked(held.front()));
  std::ranges::sort(answers);
  EXPECT_EQ(answers, (Strings{"live true 3", "more true 0", "recorded true 3"}));
}

// Requests for several statuses ---------------------------------------------------------------------------------

TEST_F(LivePaging, RequestsForOtherStatusesWaitForTheirTurn) {
  listLive(1, 1, 40);
  listLive(2, 101, 103);
  signIn();
  askLive("one", 0, 40, 1);
  askLive("two", 0, 30, 2);
  settle();
  EXPECT_EQ(answers, (Strings{"one true 40", "two true 3"}));
  EXPECT_EQ(pagesAsked, (Strings{"coming 1 of status 1", "coming 2 of status 1", "coming 1 of status 2"}));
}

TEST_F(LivePaging, RequestForAnotherStatusWaitsEvenWhenItsListHoldsTheRange) {
  listLive(2, 101, 103);
  signIn();
  getLiveCourses(0, 3, 2);
  holdPages();
  askLive("one", 0, 30, 1);
  settle();
  platform.holdGlobalQueue(true);
  askLive("two", 0, 3, 2);
  courses().checkLiveCourseRequestPage_courseStatus_arriveLastPage_retryCount(-1, 1, false, 3);
  EXPECT_EQ(courses().requestLiveList().size(), 2u);
  courses().checkLiveCourseRequestPage_courseStatus_arriveLastPage_retryCount(-1, 1, true, 1);
  EXPECT_EQ(courses().requestLiveList().size(), 1u);  // The last page of status 1.
  EXPECT_EQ(courses().requestLiveList().front().status, 2u);
  platform.holdGlobalQueue(false);
  settle();
  EXPECT_EQ(answers, (Strings{"one true 0", "two true 3"}));
}

TEST_F(LivePaging, WithNoAttemptLeftRequestsForOtherStatusesAreServedFromTheirOwnLists) {
  listLive(2, 101, 103);
  signIn();
  getLiveCourses(0, 3, 2);
  answerPagesWith({kRefused, kRefused, kRefused});
  platform.holdMainQueue(true);
  askLive("one", 0, 30, 1);
  settle();
  askLive("two", 1, 30, 2, true);
  settle();
  platform.holdMainQueue(false);
  settle();
  std::ranges::sort(answers);
  EXPECT_EQ(answers, (Strings{"one true 0", "two true 2"}));
  EXPECT_EQ(pagesAsked, (Strings{"coming 1 of status 2", "coming 1 of status 1", "coming 1 of status 1",
                                 "coming 1 of status 1"}));
}

TEST_F(LivePaging, LookAlwaysAnswersTrue) {
  signIn();
  EXPECT_TRUE(courses().checkLiveCourseRequestPage_courseStatus_arriveLastPage_retryCount(-1, 1, false, 3));
}

TEST_F(LivePaging, RequestOfAStatusWithoutPagesIsNotLoaded) {
  signIn();
  CourseRequest request;
  request.start = 0;
  request.count = 3;
  request.status = 5;
  request.blockHandler = note("five");
  courses().setRequestLiveList({request});
  courses().checkLiveCourseRequestPage_courseStatus_arriveLastPage_retryCount(-1, 5, false, 3);
  settle();
  EXPECT_EQ(pagesAsked, Strings{});
  EXPECT_EQ(courses().requestLiveList().size(), 1u);
  courses().checkLiveCourseRequestPage_courseStatus_arriveLastPage_retryCount(-1, 1, false, 0);
  settle();
  EXPECT_EQ(answers, Strings{"five true 0"});
}

TEST_F(LivePaging, RequestWithoutARangeIsRefusedAndLeavesTheListOfTheOtherRequests) {
  signIn();
  holdPages();
  askLive("range", 0, 3, 1);
  settle();
  CourseRequest odd;
  odd.status = 1;
  odd.blockHandler = note("odd");
  CourseRequest different = odd;
  different.status = 2;
  auto requests = courses().requestLiveList();
  requests.push_back(odd);
  courses().setRequestLiveList(requests);
  courses().setRequestRecordList({different, odd, odd});
  courses().checkLiveCourseRequestPage_courseStatus_arriveLastPage_retryCount(-1, 1, false, 3);
  EXPECT_EQ(answers, Strings{});
  settle();
  EXPECT_EQ(answers, Strings{"odd false -1"});
  // It stays where it was, and leaves the other list.
  EXPECT_EQ(courses().requestLiveList().size(), 2u);
  ASSERT_EQ(courses().requestRecordList().size(), 1u);
  EXPECT_EQ(courses().requestRecordList().front().status, 2u);
}

TEST_F(LivePaging, RequestWithoutARangeGoesWhenItIsTheOldest) {
  listLive(1, 1, 3);
  signIn();
  CourseRequest odd;
  odd.page = 1;  // Live courses know no requests for a page.
  odd.blockHandler = note("odd");
  courses().setRequestLiveList({odd});
  askLive("range", 0, 3, 1);
  settle();
  EXPECT_EQ(answers, (Strings{"odd false -1", "range true 3"}));
  EXPECT_TRUE(courses().requestLiveList().empty());
  EXPECT_EQ(pagesAsked, Strings{"coming 1 of status 1"});
}

TEST_F(LivePaging, PageOfARequestForARangeMeansNothing) {
  listLive(1, 1, 3);
  signIn();
  CourseRequest both;
  both.start = 0;
  both.count = 3;
  both.page = 2;
  both.status = 1;
  both.blockHandler = note("both");
  courses().setRequestLiveList({both});
  courses().checkLiveCourseRequestPage_courseStatus_arriveLastPage_retryCount(-1, 1, false, 3);
  settle();
  EXPECT_EQ(pagesAsked, Strings{"coming 1 of status 1"});
  EXPECT_EQ(answers, Strings{"both true 3"});
}

TEST_F(LivePaging, PageThatHasComeIsNotAskedForAgainBeforeItIsMerged) {
  listLive(2, 1, 30);
  signIn();
  holdPages();
  askLive("a", 0, 30, 2);
  settle();
  platform.holdGlobalQueue(true);
  askLive("b", 0, 30, 2);
  courses().checkLiveCourseRequestPage_courseStatus_arriveLastPage_retryCount(-1, 2, false, MaxRetryCount);
  answerHeld(pageAsked(held.front()));
  instead = nullptr;
  platform.holdGlobalQueue(false);
  settle();
  std::ranges::sort(answers);
  EXPECT_EQ(answers, (Strings{"a true 30", "b true 30"}));
  EXPECT_EQ(pagesAsked.size(), 1u);
}

}  // namespace

}  // namespace orv::live_paging_test
