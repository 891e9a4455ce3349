// Requests for which the same page would be asked for again and again.

#include <orvnetwork/session/QXUserInfoMgr.h>

#include "tests/unit/course/PagingFixture.h"

#include <algorithm>
#include <string>
#include <vector>

namespace orv::repeated_page_test {

namespace {

class RepeatedPage : public PagingFixture {
 protected:
  /// A full page with no course that belongs in the list.
  void listPassedOver() {
    listRooms(40, 1);
    for (auto& item : recorded) item.as_object()["status"] = course_status::kWithdrawn;
  }
  /// When the pages were asked for since `begin`, in whole seconds.
  std::vector<int> secondsAsked(double begin) {
    std::vector<int> seconds;
    for (const auto& frame : server.frames()) {
      if (frame.text.find("Course.Get.") == std::string::npos) continue;
      seconds.push_back(static_cast<int>(Seconds(frame.time - start_).count() - begin + 0.5));
    }
    return seconds;
  }

 private:
  const SteadyTime start_ = platform.clock().steadyNow();
};

TEST_F(RepeatedPage, OfRecordedCoursesIsAskedForEverMoreSlowly) {
  listPassedOver();
  signIn();
  const double begin = now();
  ask("a", 0, 30);
  runFor(125);
  EXPECT_EQ(secondsAsked(begin), (std::vector<int>{0, 1, 3, 7, 15, 31, 61, 91, 121}));
  EXPECT_EQ(answers, Strings{}) << "it waits without end";
}

TEST_F(RepeatedPage, OfLiveCoursesIsAskedForEverMoreSlowly) {
  listLive(2, 1, 30);
  // One course fills the page, which therefore makes the list no longer.
  for (auto& item : live[2]) item = courseItem(1, live_type::kLive, 2);
  signIn();
  const double begin = now();
  askLive("a", 0, 30, 2);
  runFor(40);
  const std::vector<int> asked = secondsAsked(begin);
  EXPECT_EQ(asked, (std::vector<int>{0, 0, 1, 3, 7, 15, 31})) << "the first one changed the list";
}

TEST_F(RepeatedPage, IsAskedForAtOnceAfterOneThatChangedSomething) {
  listPassedOver();
  signIn();
  ask("a", 0, 30);
  runFor(16.5);
  // All are in the list now, but three; those leave the same page wanted.
  for (auto& item : recorded) item.as_object()["status"] = course_status::kComing;
  for (std::size_t at : {3, 4, 5}) recorded[at].as_object()["status"] = course_status::kWithdrawn;
  const double begin = now();
  server.clearRecords();
  runFor(15);
  EXPECT_EQ(secondsAsked(begin), (std::vector<int>{15, 15})) << "31 s after the beginning, and at once again";
  runFor(3);
  EXPECT_EQ(secondsAsked(begin), (std::vector<int>{15, 15, 16, 18}));
  EXPECT_EQ(courses().getRecordCourseCount(), 27u);
}

TEST_F(RepeatedPage, IsAnsweredAsSoonAsItFillsTheRange) {
  listPassedOver();
  signIn();
  ask("a", 0, 30);
  runFor(16.5);
  for (auto& item : recorded) item.as_object()["status"] = course_status::kComing;
  runFor(20);
  EXPECT_EQ(answers, Strings{"a true 30"});
}

TEST_F(RepeatedPage, IsNotTheOneAskedForWhenAnotherIsWantedByTheEndOfThePause) {
  listRooms(90, 1);
  for (std::size_t at = 30; at < 60; ++at) recorded[at].as_object()["status"] = course_status::kWithdrawn;
  signIn();
  ask("a", 0, 60);
  runFor(4);
  pagesAsked.clear();
  courses().deleteCloudCourse(makeCourse(courseItem(90)));
  runFor(4);
  ASSERT_FALSE(pagesAsked.empty());
  EXPECT_EQ(pagesAsked.front(), "items 1") << "the list has 29 courses by now";
  EXPECT_EQ(courses().getRecordCourseCount(), 30u);
}

TEST_F(RepeatedPage, IsAskedForAtTheEndOfThePauseThoughAnotherOneHasComeMeanwhile) {
  listPassedOver();
  signIn();
  ask("a", 0, 30);
  runFor(4);
  courses().loadRecordCourseWithPage_retryCount(1, 3);
  settle();
  pagesAsked.clear();
  runFor(4);
  EXPECT_EQ(pagesAsked, Strings{"items 1"});
}

TEST_F(RepeatedPage, OfLiveCoursesIsNotTheOneAskedForEither) {
  listLive(2, 1, 30);
  for (std::int64_t room = 31; room <= 60; ++room) live[2].push_back(courseItem(1, live_type::kLive, 2));
  signIn();
  askLive("a", 0, 60, 2);
  runFor(4);
  ASSERT_EQ(list(2).size(), 30u);
  pagesAsked.clear();
  courses().deleteLiveCourse(makeCourse(courseItem(30, live_type::kLive, 2)));
  runFor(4);
  ASSERT_FALSE(pagesAsked.empty());
  EXPECT_EQ(pagesAsked.front(), "coming 1 of status 2");
}

TEST_F(RepeatedPage, IsNotAskedForWhenNobodyWaitsForItAnyMore) {
  listPassedOver();
  signIn();
  ask("a", 0, 30);
  runFor(4);
  for (auto& item : recorded) item.as_object()["status"] = course_status::kComing;
  courses().loadRecordCourseWithPage_retryCount(1, 1);
  settle();
  ASSERT_EQ(answers, Strings{"a true 30"});
  pagesAsked.clear();
  runFor(60);
  EXPECT_EQ(pagesAsked, Strings{});
}

TEST_F(RepeatedPage, DoesNotKeepTheHostFromAskingAgain) {
  listRooms(3, 1);
  signIn();
  for (int i = 0; i < 20; ++i) EXPECT_EQ(getCourses(0, 3, true), (Answer{true, 3})) << i;
  EXPECT_EQ(pagesAsked.size(), 20u) << "at once each time, though nothing has changed";
}

TEST_F(RepeatedPage, IsNotAskedForMoreOftenWhenMoreRequestsWaitForIt) {
  listPassedOver();
  signIn();
  const double begin = now();
  ask("a", 0, 30);
  for (int i = 0; i < 60; ++i) {
    runFor(0.5);
    ask("b", 0, 30);
  }
  EXPECT_EQ(secondsAsked(begin), (std::vector<int>{0, 1, 3, 7, 15}));
}

TEST_F(RepeatedPage, IsForgottenWithItsCatalogue) {
  listPassedOver();
  signIn();
  ask("a", 0, 30);
  runFor(16);
  QXUserInfoMgr::getInstance().setUserInfo(makeUser("100002", "5002"));
  settle();
  const double begin = now();
  server.clearRecords();
  runFor(40);
  EXPECT_EQ(secondsAsked(begin), std::vector<int>{}) << "nobody wants it";
  ask("b", 0, 30);
  runFor(2);
  EXPECT_EQ(secondsAsked(begin), (std::vector<int>{40, 41}));
}

}  // namespace

}  // namespace orv::repeated_page_test
