// Several callers who ask for recorded courses, and what they get.

#include "cli/Host.h"
#include "tests/unit/course/PagingFixture.h"

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>

namespace orv::recorded_paging_callers_test {

namespace {

class RecordedPagingCallers : public PagingFixture {};

TEST_F(RecordedPagingCallers, CallbacksComeOnAWorkerOnceEach) {
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

TEST_F(RecordedPagingCallers, WorksWithoutACallback) {
  listRooms(100, 99);
  signIn();
  courses().getCoursesWithStartIndex_count_force_coursesBlock(0, 30, false, nullptr);
  settle();
  EXPECT_EQ(courses().getRecordCourseCount(), 2u);
  EXPECT_TRUE(courses().requestRecordList().empty());
}

TEST_F(RecordedPagingCallers, CallbackFindsNothingLocked) {
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

TEST_F(RecordedPagingCallers, WhatACallbackHoldsGoesWhenNothingIsLocked) {
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

TEST_F(RecordedPagingCallers, CallbackThatThrowsIsToldAndHarmsNobody) {
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

TEST_F(RecordedPagingCallers, OnePageIsOnTheWireAtATime) {
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

TEST_F(RecordedPagingCallers, PageThatHasComeIsNotAskedForAgainBeforeItIsMerged) {
  listRooms(100, 71);
  signIn();
  holdPages();
  ask("a", 0, 30);
  settle();
  platform.holdGlobalQueue(true);
  ask("b", 0, 30);
  courses().checkCourseRequestPage_arriveLastPage_retryCount(-1, false,
                                                             MaxRetryCount);  // Wants page 1 again.
  answerHeld(pageAsked(held.front()));
  instead = nullptr;
  platform.holdGlobalQueue(false);
  settle();
  std::ranges::sort(answers);
  EXPECT_EQ(answers, (Strings{"a true 30", "b true 30"}));
  EXPECT_EQ(pagesAsked, Strings{"items 1"});
}

TEST_F(RecordedPagingCallers, PageIsNotAskedForThatWasWantedBeforeItWasMerged) {
  listRooms(100, 71);
  signIn();
  holdPages();
  ask("a", 0, 30);
  settle();
  platform.holdGlobalQueue(true);
  ask("b", 0, 30);  // Its look comes before the merge, and the load that it wants after it.
  answerHeld(pageAsked(held.front()));
  instead = nullptr;
  platform.holdGlobalQueue(false);
  settle();
  std::ranges::sort(answers);
  EXPECT_EQ(answers, (Strings{"a true 30", "b true 30"}));
  EXPECT_EQ(pagesAsked, Strings{"items 1"});
}

TEST_F(RecordedPagingCallers, ForcedPageIsAskedForThoughAnotherOneHasCome) {
  listRooms(100, 41);
  signIn();
  for (const bool isMergedBefore : {false, true}) {
    holdPages();
    ask("a", 0, 30, true);
    settle();
    platform.holdGlobalQueue(true);
    if (isMergedBefore) answerHeld(pageAsked(held.front()));
    courses().setRequestRecordList({{.start = 30, .count = 30, .force = true}});
    courses().checkCourseRequestPage_arriveLastPage_retryCount(-1, false, MaxRetryCount);
    if (!isMergedBefore) answerHeld(pageAsked(held.front()));
    instead = nullptr;
    pagesAsked.clear();
    platform.holdGlobalQueue(false);
    settle();
    EXPECT_EQ(pagesAsked, Strings{"items 2"}) << isMergedBefore;
    courses().setRequestRecordList({});
  }
}

TEST_F(RecordedPagingCallers, NextPageIsForTheOldestRequest) {
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

TEST_F(RecordedPagingCallers, LookWhileAPageIsUnderWayCountsForTheForcedRequestThatWaits) {
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

TEST_F(RecordedPagingCallers, RequestThatWaitsSaysWhatItAsksFor) {
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

TEST_F(RecordedPagingCallers, LookAlwaysAnswersFalse) {
  signIn();
  EXPECT_FALSE(courses().checkCourseRequestPage_arriveLastPage_retryCount(-1, false, 3));
  holdPages();
  ask("a", 0, 1);
  EXPECT_FALSE(courses().checkCourseRequestPage_arriveLastPage_retryCount(1, true, 0));
}

TEST_F(RecordedPagingCallers, LookAtTheLastPageServesEverybody) {
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

}  // namespace orv::recorded_paging_callers_test
