#include <orvnetwork/client/detail/CourseInbox.h>
#include <orvnetwork/course/CourseChange.h>

#include "../course/PagingFixture.h"

#include <algorithm>
#include <memory>

namespace orv::course_inbox_test {
namespace {

using CourseInboxTest = PagingFixture;

TEST_F(CourseInboxTest, WakesOnceForAllThatHasCome) {
  signIn();
  int wakes = 0;
  const auto inbox = std::make_shared<detail::CourseInbox>([&wakes] { ++wakes; });
  inbox->open();
  for (int change = 0; change < 3; ++change) courses().setLocalCourseDict({});
  EXPECT_EQ(wakes, 0) << "in a turn of the main queue";
  settle();
  EXPECT_EQ(wakes, 1);
  EXPECT_EQ(inbox->take().size(), 3u);
  EXPECT_TRUE(inbox->take().empty());
  courses().setLocalCourseDict({});
  settle();
  EXPECT_EQ(wakes, 2);
  courses().setLocalCourseDict({});
  inbox->close();
  courses().setLocalCourseDict({});
  settle();
  EXPECT_EQ(wakes, 2) << "once it is closed";
}

TEST_F(CourseInboxTest, KeepsNoMoreThanAThousandChangesAndForgetsNoKindOfThem) {
  signIn();
  const auto inbox = std::make_shared<detail::CourseInbox>([] {});
  inbox->open();
  courses().setCloudCourseDict({});
  courses().setLiveCourseDict({});
  for (int change = 0; change < 5000; ++change) courses().setLocalCourseDict({});
  const auto changes = inbox->take();
  EXPECT_LE(changes.size(), 1000u);
  for (const auto kind : {CourseListKind::Local, CourseListKind::Recorded, CourseListKind::Live}) {
    EXPECT_TRUE(std::ranges::any_of(changes, [kind](const CourseChange& change) {
      return change.what == CourseChange::What::All && change.list.kind == kind;
    })) << static_cast<int>(kind);
  }
}

}  // namespace
}  // namespace orv::course_inbox_test
