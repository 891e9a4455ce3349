#include <orvnetwork/client/CourseList.h>
#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/platform/PropertyListFile.h>
#include <orvnetwork/session/QXUserInfoMgr.h>

#include "CourseListFixture.h"
#include <tests/support/LocalCourse.h>

#include <memory>
#include <string>
#include <system_error>

namespace orv::course_list_local_test {
namespace {

class CourseListLocal : public CourseListFixture {
 protected:
  static QXCourseManager::Course makeLocal(std::int64_t room) {
    return test::localCourse(room, "课程 " + std::to_string(room));
  }
  static void add(std::int64_t room) { courses().addLocalCourse(makeLocal(room)); }
};

TEST_F(CourseListLocal, ShowsWhatIsStoredWithoutAServer) {
  for (std::int64_t room = 1; room <= 100; ++room) add(room);
  auto list = CourseList::local();
  EXPECT_TRUE(list.isLoading());
  View view(list);
  settle();
  EXPECT_EQ(list.keys(), rooms(100, 1));
  EXPECT_EQ(list.at(99)->title.get(), "课程 1") << "also those that have left the memory";
  EXPECT_TRUE(list.atEnd());
  EXPECT_FALSE(list.canLoadMore());
  EXPECT_EQ(view.phases(), Strings{"End"});
  list.loadMore();
  settle();
  EXPECT_TRUE(list.atEnd());
  EXPECT_EQ(isLinkOpen(), false);
}

TEST_F(CourseListLocal, FollowsWhatAnybodyDoes) {
  auto list = CourseList::local();
  settle();
  View view(list);
  add(1);
  add(2);
  add(3);
  settle();
  EXPECT_EQ(list.keys(), (Rooms{3, 2, 1}));
  const auto second = makeLocal(2);
  second->title = "新";
  courses().saveLocalCourse(second);
  settle();
  EXPECT_EQ(list.at(1)->title.get(), "新");
  EXPECT_EQ(view.changes().back().updated, (std::vector<CourseListRange>{{1, 1}}));
  courses().refreshLocalCourse(makeLocal(1));
  settle();
  EXPECT_EQ(list.keys(), (Rooms{1, 3, 2}));
  EXPECT_EQ(view.changes().back().moves, (std::vector<CourseListMove>{{2, 0}}));
  courses().deleteLocalCourseWithRoomID(3);
  settle();
  EXPECT_EQ(list.keys(), (Rooms{1, 2}));
  courses().deleteLocalCourse(second);
  settle();
  EXPECT_EQ(list.keys(), Rooms{1});
}

TEST_F(CourseListLocal, FollowsWhatAnotherProgramHasDoneAsSoonAsThatIsTakenOver) {
  add(1);
  add(2);
  auto list = CourseList::local();
  settle();
  const std::string folder = courses().localCourseFolder().value();
  writePropertyListFile(folder + "/7.plist", makeLocal(7)->jsonObject(), Durability::Durable);
  writePropertyListFile(folder + "/localCourse.plist", json::array{"7", "1"}, Durability::Durable);
  View view(list);
  courses().createLocalCourse();
  ASSERT_EQ(courses().localCourseList(), (QXCourseManager::Keys{"7", "1"}));
  settle();
  EXPECT_EQ(list.keys(), (Rooms{7, 1})) << "a number was asked for, and nothing else was done here";
  view.forget();
  courses().createLocalCourse();
  settle();
  EXPECT_TRUE(view.changes().empty()) << "nothing is different since";
}

TEST_F(CourseListLocal, LosesACourseWhosePublishingAPushConfirms) {
  signIn();
  const auto published = makeLocal(7);
  published->publishStatus = publish_status::kPublished;
  published->orv_cloudRoomID = 900;
  courses().addLocalCourse(published);
  auto list = CourseList::local();
  settle();
  EXPECT_EQ(list.keys(), Rooms{7});
  server.push(server.latest(), "Rooms.Push.Message",
              {{"data", {{{"data", {{"roomID", 900}, {"code", 0}}}}}}});
  settle();
  EXPECT_EQ(list.keys(), Rooms{});
}

TEST_F(CourseListLocal, ManyChangesAtOnceAreOneChange) {
  auto list = CourseList::local();
  settle();
  View view(list);
  for (std::int64_t room = 1; room <= 50; ++room) add(room);
  settle();
  EXPECT_EQ(list.keys(), rooms(50, 1));
  EXPECT_LE(view.rowChanges(), 2u);
}

TEST_F(CourseListLocal, MoreChangesThanAreKeptAreFollowedAllTheSame) {
  add(1);
  add(2);
  auto list = CourseList::local();
  settle();
  for (int times = 0; times < 1500; ++times) courses().refreshLocalCourse(makeLocal(1 + times % 2));
  const auto changed = makeLocal(1);
  changed->title = "新";
  courses().saveLocalCourse(changed);
  settle();
  EXPECT_EQ(list.keys(), (Rooms{2, 1}));
  EXPECT_EQ(list.at(1)->title.get(), "新");
}

TEST_F(CourseListLocal, IsTheNewUsersListWhenTheUserChanges) {
  signIn();
  add(1);
  auto list = CourseList::local();
  settle();
  View view(list);
  QXUserInfoMgr::getInstance().setUserInfo(makeUser("100002"));
  settle();
  EXPECT_EQ(list.size(), 0u);
  add(2);
  settle();
  EXPECT_EQ(list.keys(), Rooms{2});
  QXUserInfoMgr::getInstance().setUserInfo(makeUser("100001"));
  settle();
  EXPECT_EQ(list.keys(), Rooms{1});
  EXPECT_TRUE(list.atEnd());
}

TEST_F(CourseListLocal, RefreshReadsWhatIsStoredAnew) {
  add(1);
  add(2);
  auto list = CourseList::local();
  settle();
  courses().getLocalCourseWithRoomID(2)->title = "变";
  list.refresh();
  EXPECT_TRUE(list.isLoading());
  settle();
  EXPECT_EQ(list.at(0)->title.get(), "变");
  EXPECT_TRUE(list.atEnd());
}

TEST_F(CourseListLocal, ACourseWithoutARecordIsNotShown) {
  add(1);
  add(2);
  auto list = CourseList::local();
  settle();
  courses().setLocalCourseDict({});
  std::error_code error;
  platform.files().remove(courses().localCourseFolder().value() + "/1.plist", error);
  list.refresh();
  settle();
  EXPECT_EQ(list.keys(), Rooms{2});
}

TEST_F(CourseListLocal, ARecordThatSaysThatItIsAnotherCourseIsNotShown) {
  add(1);
  add(2);
  courses().setLocalCourseDict({});
  writePropertyListFile(courses().localCourseFolder().value() + "/1.plist", makeLocal(77)->jsonObject(),
                        Durability::Plain, 0600);
  auto list = CourseList::local();
  settle();
  EXPECT_EQ(list.keys(), Rooms{2});
}

}  // namespace
}  // namespace orv::course_list_local_test
