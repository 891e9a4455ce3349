#include <orvnetwork/session/QXUserInfoMgr.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include "tests/unit/course/PagingFixture.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

namespace orv::recorded_paging_failure_test {

namespace {

class RecordedPagingFailure : public PagingFixture {
 protected:
  /// The moments at which pages were asked for.
  std::vector<double> pageTimes() {
    std::vector<double> times;
    for (const auto& frame : server.frames()) {
      if (frame.text.find("Course.Get.Items") != std::string::npos) {
        times.push_back(std::round(Seconds(frame.time - start_).count()));
      }
    }
    return times;
  }
  void expectRefusal(const std::string& why) {
    const auto asked = server.requests("Course.Get.Items").size();
    answers.clear();
    ask(why, 0, 30);
    EXPECT_EQ(answers, Strings{why + " false -1 on main"});
    EXPECT_TRUE(courses().requestRecordList().empty()) << why;
    courses().getCoursesWithStartIndex_count_force_coursesBlock(0, 30, true, nullptr);
    settle();
    EXPECT_EQ(server.requests("Course.Get.Items").size(), asked) << why;
  }

 private:
  const SteadyTime start_ = platform.clock().steadyNow();
};

// Refused at once -----------------------------------------------------------------------------------------------

TEST_F(RecordedPagingFailure, RefusesWhileTheLinkIsNotOpen) {
  QXUserInfoMgr::getInstance().setUserInfo(makeUser());
  settle();
  expectRefusal("closed");
}

TEST_F(RecordedPagingFailure, RefusesWhileNobodyIsSignedIn) {
  bringUp();
  expectRefusal("nobody");
}

TEST_F(RecordedPagingFailure, RefusesWithoutAClassroom) {
  bringUp();
  for (const OptionalString& classroom : {OptionalString(), OptionalString(""), OptionalString("0"),
                                          OptionalString("0abc"), OptionalString("room")}) {
    auto user = makeUser();
    user->classroom = classroom;
    QXUserInfoMgr::getInstance().setUserInfo(user);
    settle();
    expectRefusal(classroom.value_or("absent"));
  }
}

TEST_F(RecordedPagingFailure, RefusesOnTheThreadOfTheCaller) {
  courses();
  platform.globalQueue().post([this] { ask("a", 0, 1); });
  settle();
  EXPECT_EQ(answers, Strings{"a false -1"});
}

// Attempts ------------------------------------------------------------------------------------------------------

TEST_F(RecordedPagingFailure, TimeOutsAreTriedThreeTimes) {
  listRooms(100, 71);
  signIn();
  getCourses(0, 30);
  server.clearRecords();
  holdPages();
  ask("a", 20, 20);
  const double begin = std::round(now());
  runFor(29.5);
  EXPECT_EQ(pageTimes(), (std::vector<double>{begin, begin + 10, begin + 20}));
  EXPECT_EQ(answers, Strings{});
  runFor(1);
  EXPECT_EQ(answers, Strings{"a true 10"});
  EXPECT_TRUE(courses().reqRecordSemaphore()->tryWait());
  runFor(60);
  EXPECT_EQ(held.size(), 3u);
}

TEST_F(RecordedPagingFailure, RefusalsAreTriedThreeTimesWithoutDelay) {
  signIn();
  answerPagesWith({kRefused, kRefused, kRefused});
  const double begin = now();
  EXPECT_EQ(getCourses(0, 30), (Answer{true, 0}));
  EXPECT_EQ(now(), begin);
  EXPECT_EQ(pagesAsked, (Strings{"items 1", "items 1", "items 1"}));
  EXPECT_TRUE(scripted.empty());
}

TEST_F(RecordedPagingFailure, ForcedRangeIsAnsweredWithWhatTheListHoldsToo) {
  listRooms(100, 71);
  signIn();
  getCourses(0, 30);
  answerPagesWith({kRefused, kRefused, kRefused});
  EXPECT_EQ(getCourses(0, 90, true), (Answer{true, 30}));
}

TEST_F(RecordedPagingFailure, RangeGoesOnAfterTheSecondAttempt) {
  listRooms(100, 31);
  signIn();
  answerPagesWith({kRefused});
  EXPECT_EQ(getCourses(0, 60), (Answer{true, 60}));
  EXPECT_EQ(pagesAsked, (Strings{"items 1", "items 1", "items 2"}));
}

TEST_F(RecordedPagingFailure, ThirdAttemptEndsEveryRequestThatWaitsThoughItSucceeds) {
  listRooms(100, 1);
  signIn();
  answerPagesWith({kRefused, kRefused});
  ask("a", 0, 60);
  ask("b", 0, 90, true);
  settle();
  std::ranges::sort(answers);
  EXPECT_EQ(answers, (Strings{"a true 30", "b true 30"}));
  EXPECT_EQ(pagesAsked, (Strings{"items 1", "items 1", "items 1"}));
}

TEST_F(RecordedPagingFailure, EveryPageHasThreeAttempts) {
  listRooms(100, 31);
  signIn();
  answerPagesWith(
      {kRefused, pageAsked({{"c", "Course.Get.Items"}, {"v", {{"start", 1}, {"limit", 30}}}}), kRefused});
  EXPECT_EQ(getCourses(0, 60), (Answer{true, 60}));
  EXPECT_EQ(pagesAsked, (Strings{"items 1", "items 1", "items 2", "items 2"}));
}

TEST_F(RecordedPagingFailure, NextRequestIsTriedAnew) {
  listRooms(100, 71);
  signIn();
  answerPagesWith({kRefused, kRefused, kRefused});
  EXPECT_EQ(getCourses(0, 30), (Answer{true, 0}));
  EXPECT_EQ(getCourses(0, 30), (Answer{true, 30}));
}

TEST_F(RecordedPagingFailure, RetriesLeftAreCountedDownFromWhatIsGiven) {
  signIn();
  answerPagesWith({kRefused, kRefused, kRefused, kRefused, kRefused});
  courses().loadRecordCourseWithPage_retryCount(4, 1);
  settle();
  EXPECT_EQ(pagesAsked, Strings{"items 4"});
  courses().loadRecordCourseWithPage_retryCount(4, 2);
  settle();
  EXPECT_EQ(pagesAsked.size(), 3u);
}

TEST_F(RecordedPagingFailure, ReplyOfTheWrongKindCountsAsAFailure) {
  signIn();
  for (const json::object& odd : {json::object{{"ret", 0}}, json::object{{"ret", 0}, {"data", nullptr}},
                                  json::object{{"ret", 0}, {"data", json::object{{"roomID", 1}}}},
                                  json::object{{"ret", 0}, {"data", "text"}}, json::object{}}) {
    pagesAsked.clear();
    answerPagesWith({odd, odd, odd});
    EXPECT_EQ(getCourses(0, 30), (Answer{true, 0})) << json::serialize(odd);
    EXPECT_EQ(pagesAsked, (Strings{"items 1", "items 1", "items 1"})) << json::serialize(odd);
  }
}

TEST_F(RecordedPagingFailure, RefusalThatBringsCoursesIsARefusal) {
  signIn();
  const json::object refused{{"ret", 5}, {"data", {courseItem(9)}}};
  answerPagesWith({refused, refused, refused});
  EXPECT_EQ(getCourses(0, 30), (Answer{true, 0}));
  EXPECT_EQ(pagesAsked.size(), 3u);
}

TEST_F(RecordedPagingFailure, ReplyWithoutValuesCountsAsAFailure) {
  signIn();
  holdPages();
  ask("a", 0, 30);
  settle();
  for (int attempt = 0; attempt < 3; ++attempt) {
    ASSERT_EQ(held.size(), 1u);
    const json::object request = held.front();
    held.clear();
    server.send(server.latest(),
                json::serialize(json::object{{"C", request.at("c")}, {"s", request.at("s")}}));
    settle();
  }
  EXPECT_EQ(answers, Strings{"a true 0"});
}

TEST_F(RecordedPagingFailure, LateReplyChangesNothing) {
  listRooms(100, 71);
  signIn();
  holdPages();
  ask("a", 0, 30);
  runFor(10.5);
  ASSERT_EQ(held.size(), 2u);
  answerHeld(pageAsked(held.front()));
  EXPECT_EQ(courses().getRecordCourseCount(), 0u);
  answerHeld(pageAsked(held.front()));
  EXPECT_EQ(answers, Strings{"a true 30"});
}

// The link ------------------------------------------------------------------------------------------------------

TEST_F(RecordedPagingFailure, RequestThatWaitsWhenTheLinkIsLostGoesOnWithTheNextOne) {
  listRooms(100, 51);
  signIn();
  platform.holdGlobalQueue(true);
  ask("a", 0, 60);
  link.close();
  platform.holdGlobalQueue(false);
  runFor(60);
  EXPECT_EQ(answers, Strings{});
  EXPECT_EQ(pagesAsked, Strings{});
  EXPECT_EQ(courses().requestRecordList().size(), 1u);
  link.reconnect();
  settle();
  ASSERT_TRUE(link.isOpen());
  EXPECT_EQ(answers, Strings{});
  ask("b", 0, 1);
  settle();
  std::ranges::sort(answers);
  EXPECT_EQ(answers, (Strings{"a true 50", "b true 1"}));
}

TEST_F(RecordedPagingFailure, LinkLostWhileAPageIsUnderWayLeavesTheRequestWaiting) {
  listRooms(100, 51);
  signIn();
  holdPages();
  ask("a", 0, 60);
  settle();
  platform.network().setDefaultPlan(testing::ConnectPlan::refuse());
  server.cutAll();
  runFor(40);
  EXPECT_FALSE(link.isOpen());
  EXPECT_EQ(answers, Strings{});
  EXPECT_EQ(courses().requestRecordList().size(), 1u);
  EXPECT_TRUE(courses().reqRecordSemaphore()->tryWait());
  courses().reqRecordSemaphore()->signal();
  platform.network().setDefaultPlan(testing::ConnectPlan::accept());
  instead = nullptr;
  link.reconnect();
  settle();
  ASSERT_TRUE(link.isOpen());
  courses().checkCourseRequestPage_arriveLastPage_retryCount(-1, false, 3);
  settle();
  EXPECT_EQ(answers, Strings{"a true 50"});
}

TEST_F(RecordedPagingFailure, LoadWithoutALinkDoesNothing) {
  QXUserInfoMgr::getInstance().setUserInfo(makeUser());
  courses().setLastValidCourse("7");
  courses().loadRecordCourseWithPage_retryCount(1, 3);
  settle();
  EXPECT_EQ(courses().lastValidCourse(), "7");
  EXPECT_TRUE(courses().reqRecordSemaphore()->tryWait());
}

TEST_F(RecordedPagingFailure, LoadWhileAPageIsUnderWayDoesNothing) {
  signIn();
  holdPages();
  ask("a", 0, 30);
  settle();
  courses().setLastValidCourse("7");
  courses().loadRecordCourseWithPage_retryCount(1, 3);
  settle();
  EXPECT_EQ(courses().lastValidCourse(), "7");
  EXPECT_EQ(pagesAsked, Strings{"items 1"});
}

TEST_F(RecordedPagingFailure, PageThatIsHeldForASessionWaitsForIt) {
  listRooms(100, 51);
  signIn();
  answerPagesWith({json::object{{"ret", 1001}}});
  ask("a", 0, 30);
  runFor(15);
  ask("b", 0, 60);
  runFor(35);
  EXPECT_EQ(answers, Strings{});
  EXPECT_EQ(pagesAsked, Strings{"items 1"});
  EXPECT_EQ(link.parkedRequestCount(), 1u);
  QXUserInfoMgr::getInstance().refresheSession();
  settle();
  std::ranges::sort(answers);
  EXPECT_EQ(answers, (Strings{"a true 30", "b true 50"}));
}

}  // namespace

}  // namespace orv::recorded_paging_failure_test
