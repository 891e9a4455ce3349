#include <orvnetwork/session/QXUserInfoMgr.h>

#include "tests/unit/course/PagingFixture.h"

#include <algorithm>
#include <string>

namespace orv {

namespace {

/// A page that has come waits for a worker while the user changes.
class PageOfAnotherUser : public PagingFixture {
 protected:
  /// Lets replies reach the main thread, and nothing of what they start be done.
  void answerWhileNobodyWorks() {
    platform.holdGlobalQueue(true);
    answerHeld(pageOf(page));
    QXUserInfoMgr::getInstance().setUserInfo(makeUser("100002", "5002"));
    platform.holdGlobalQueue(false);
    settle();
  }
  bool hasRecordFiles() {
    const auto files = platform.files().snapshot();
    return std::any_of(files.begin(), files.end(),
                       [](const auto& file) { return file.first.find("/5002/") != std::string::npos; });
  }

  json::array page;
};

TEST_F(PageOfAnotherUser, RecordedCoursesAreNotMergedIntoTheNextCatalogue) {
  listRooms(30, 1);
  page = recorded;
  signIn();
  holdPages();
  ask("first", 0, 30);
  settle();
  answerWhileNobodyWorks();
  EXPECT_EQ(courses().currentClassroomID(), "5002");
  EXPECT_EQ(courses().cloudCourseList(), Keys{});
  EXPECT_FALSE(hasRecordFiles());
}

TEST_F(PageOfAnotherUser, LiveCoursesAreNotMergedIntoTheNextCatalogue) {
  listLive(2, 1, 30);
  page = live[2];
  signIn();
  holdPages();
  askLive("first", 0, 30, 2);
  settle();
  answerWhileNobodyWorks();
  EXPECT_EQ(courses().getLiveCourseCountWithStatus(2), 0u);
  EXPECT_FALSE(hasRecordFiles());
}

}  // namespace

}  // namespace orv
