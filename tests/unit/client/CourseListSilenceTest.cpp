// The server falls silent on a link that stays open, and answers again: no socket is opened, and nothing is posted.

#include <orvnetwork/client/CourseList.h>
#include <orvnetwork/client/PendingEnd.h>
#include <orvnetwork/client/detail/LinkTracker.h>
#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/transport/QXNotification.h>

#include "CourseListLinkFixture.h"

#include <cstddef>

namespace orv::course_list_silence_test {
namespace {

class CourseListInSilence : public CourseListLinkFixture {
 protected:
  /// Only notes what the link does: an attempt of its own would be another link.
  LinkTracker tracker_{false};

  void fallSilent() { server.setSilent(server.latest()); }
  void answerAgain() {
    server.setSilent(server.latest(), false);
    server.send(server.latest(), "PONG");
  }
};

TEST_F(CourseListInSilence, ALoadThatFailedIsMadeAgainOnceTheLinkAnswers) {
  auto list = loadedList(40);
  fallSilent();
  list.refresh();
  runFor(60);
  ASSERT_FALSE(tracker_.isUp());
  ASSERT_EQ(whyFailed(list), "TimedOut: the server does not answer");
  recorded.clear();
  listRooms(41, 1);
  answerAgain();
  settle();
  EXPECT_TRUE(tracker_.isUp());
  runFor(4.1);
  EXPECT_TRUE(list.atEnd()) << whyFailed(list);
  EXPECT_EQ(list.keys(), rooms(41, 1));
}

TEST_F(CourseListInSilence, ALoadUnderWayBeginsAnewOnceTheLinkAnswers) {
  auto list = loadedList(40);
  fallSilent();
  runFor(30);
  list.refresh();
  runFor(22);
  ASSERT_FALSE(tracker_.isUp());
  ASSERT_TRUE(list.isLoading());
  // What was swallowed is not answered: only a new request is.
  answerAgain();
  runFor(4.1);
  EXPECT_TRUE(list.atEnd()) << whyFailed(list);
}

TEST_F(CourseListInSilence, WhatIsAskedForAsSoonAsANewLinkIsConfirmedIsNotPutOff) {
  auto list = loadedList(20);
  const auto asking = NotificationCenter::defaultCenter().observe(
      QXNotificationDidOpen, [&](const Notification&) { list.refresh(); });
  runFor(10);
  const std::size_t before = pagesAsked.size();
  server.reset(server.latest());
  ASSERT_TRUE(platform.runUntil([&] { return !link.isOpen(); }, Seconds(1)));
  ASSERT_TRUE(platform.runUntil([&] { return tracker_.isUp(); }, Seconds(5)));
  settle();
  EXPECT_TRUE(list.atEnd());
  runFor(10);
  EXPECT_EQ(pagesAsked.size(), before + 1);
}

TEST_F(CourseListInSilence, WhatIsAskedForAsSoonAsTheLinkAnswersIsNotPutOff) {
  auto list = loadedList(20);
  fallSilent();
  runFor(60);
  const std::size_t before = pagesAsked.size();
  const auto asking = tracker_.whenUp().then([&](PendingEnd) { list.refresh(); });
  answerAgain();
  settle();
  EXPECT_TRUE(list.atEnd());
  runFor(10);
  EXPECT_EQ(pagesAsked.size(), before + 1);
}

}  // namespace
}  // namespace orv::course_list_silence_test
