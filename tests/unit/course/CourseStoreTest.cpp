#include <orvnetwork/course/CourseStore.h>
#include <orvnetwork/session/QXUserInfoMgr.h>

#include "PagingFixture.h"

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace orv::course_store_test {
namespace {

class CourseStoreTest : public PagingFixture {
 protected:
  using What = CourseChange::What;
  static constexpr CourseListName kRecorded{CourseListKind::Recorded};

  CourseStoreTest() {
    seen_ = store().observe([this](const CourseChange& change) { changes.push_back(change); });
  }
  static CourseStore& store() { return CourseStore::getInstance(); }
  std::vector<CourseStore::Read> read(const json::array& items, const CourseListName& list = kRecorded) {
    std::vector<CourseStore::Read> courses;
    for (const json::value& item : items) courses.push_back(store().read(list, item.as_object()));
    return courses;
  }
  bool takeOver(const json::array& items, bool isWhole, const CourseListName& list = kRecorded) {
    return store().takeOver(list, store().opened(), read(items, list), isWhole, this);
  }
  json::array itemsOf(std::vector<std::int64_t> rooms) {
    json::array items;
    for (const std::int64_t room : rooms) items.push_back(courseItem(room));
    return items;
  }

  std::vector<CourseChange> changes;

 private:
  ObserverToken seen_;
};

TEST_F(CourseStoreTest, TakesOverTheWholeList) {
  signIn();
  listRooms(10, 1);
  getCourses(0, 30);
  EXPECT_TRUE(takeOver(itemsOf({12, 9, 10, 3}), true));
  EXPECT_EQ(courses().cloudCourseList(), (Keys{"12", "9", "10", "3"}));
  EXPECT_EQ(cloudListFile(), (json::array{"12", "9", "10", "3"}));
  EXPECT_TRUE(hasCloudFile(12));
  EXPECT_FALSE(hasCloudFile(5)) << "what is not listed any more has no record";
  EXPECT_EQ(courses().getRecordCourseWithIndex(0)->title.get(), "课程 12");
}

TEST_F(CourseStoreTest, KeepsWhatStandsBehindAPart) {
  signIn();
  listRooms(10, 1);
  getCourses(0, 30);
  EXPECT_TRUE(takeOver(itemsOf({11, 10, 7}), false));
  EXPECT_EQ(courses().cloudCourseList(), (Keys{"11", "10", "7", "6", "5", "4", "3", "2", "1"}));
  EXPECT_FALSE(hasCloudFile(9));
  EXPECT_TRUE(hasCloudFile(6));
}

TEST_F(CourseStoreTest, PassesOverWhatIsWithdrawn) {
  signIn();
  json::array items = itemsOf({3, 2, 1});
  items[1].as_object()["status"] = course_status::kWithdrawn;
  EXPECT_EQ(read(items)[1].course, nullptr);
  EXPECT_TRUE(takeOver(items, true));
  EXPECT_EQ(courses().cloudCourseList(), (Keys{"3", "1"}));
  EXPECT_FALSE(hasCloudFile(2));
}

TEST_F(CourseStoreTest, ReadingChangesNothing) {
  signIn();
  listRooms(1, 1);
  getCourses(0, 30);
  const auto known = courses().getRecordCourseWithIndex(0);
  json::array items = itemsOf({1, 2});
  EXPECT_FALSE(read(items)[0].isNews);
  items[0].as_object()["title"] = "新";
  const auto result = read(items);
  EXPECT_TRUE(result[0].isNews);
  EXPECT_TRUE(result[1].isNews);
  EXPECT_EQ(result[0].course->title.get(), "新");
  EXPECT_EQ(known->title.get(), "课程 1");
  EXPECT_EQ(courses().cloudCourseList(), Keys{"1"});
  EXPECT_FALSE(hasCloudFile(2));
}

TEST_F(CourseStoreTest, RecordsThatAreSharedAreUpdatedInPlace) {
  signIn();
  listRooms(1, 1);
  getCourses(0, 30);
  const auto known = courses().getRecordCourseWithIndex(0);
  json::array items = itemsOf({1});
  items[0].as_object()["title"] = "新";
  takeOver(items, true);
  EXPECT_EQ(known->title.get(), "新");
  EXPECT_EQ(cloudFile(1)->at("title"), "新");
}

TEST_F(CourseStoreTest, WhatIsNoNewsIsNotWritten) {
  signIn();
  listRooms(30, 1);
  getCourses(0, 30, true);
  const auto before = platform.files().calls();
  takeOver(recorded, false);
  settle();
  EXPECT_EQ(platform.files().calls(), before);
}

TEST_F(CourseStoreTest, AnotherUsersCoursesAreTakenOverNowhere) {
  signIn();
  const std::uint64_t opened = store().opened();
  const auto courses30 = read(itemsOf({3, 2, 1}));
  QXUserInfoMgr::getInstance().setUserInfo(makeUser("100002"));
  settle();
  EXPECT_NE(store().opened(), opened);
  EXPECT_FALSE(store().takeOver(kRecorded, opened, courses30, true, nullptr));
  EXPECT_EQ(courses().cloudCourseList(), Keys{});
}

TEST_F(CourseStoreTest, ALiveCourseIsInOneListOnly) {
  signIn();
  listLive(1, 1, 3);
  getLiveCourses(0, 30, 1);
  const json::array begun{courseItem(2, live_type::kLive, 2)};
  EXPECT_TRUE(takeOver(begun, true, {CourseListKind::Live, 2}));
  EXPECT_EQ(list(1), (Keys{"1", "3"}));
  EXPECT_EQ(list(2), Keys{"2"});
  EXPECT_TRUE(takeOver({courseItem(1, live_type::kLive, 1)}, true, {CourseListKind::Live, 1}));
  EXPECT_TRUE(hasLiveFile(2)) << "it is still in the other list";
  EXPECT_FALSE(hasLiveFile(3));
}

TEST_F(CourseStoreTest, ACourseThatLeavesOneListWhileAnotherTakesItOverKeepsItsRecord) {
  signIn();
  listLive(1, 1, 3);
  getLiveCourses(0, 30, 1);
  const CourseListName second{CourseListKind::Live, 2};
  const auto begun = read({live[1].at(1)}, second);
  ASSERT_EQ(begun.at(0).roomID, 2);
  ASSERT_FALSE(begun.at(0).isNews) << "its record is as the server has it";
  EXPECT_TRUE(takeOver({live[1].at(0)}, true, {CourseListKind::Live, 1}));
  ASSERT_FALSE(hasLiveFile(2)) << "no list had it at that time";
  EXPECT_TRUE(store().takeOver(second, store().opened(), begun, true, this));
  EXPECT_EQ(list(2), Keys{"2"});
  EXPECT_TRUE(hasLiveFile(2));
  EXPECT_NE(store().copyOf(second, "2"), nullptr);
}

TEST_F(CourseStoreTest, LocalCoursesAreNotTakenOver) {
  EXPECT_FALSE(takeOver(itemsOf({1}), true, {CourseListKind::Local}));
  EXPECT_FALSE(takeOver(itemsOf({1}), true, {CourseListKind::Live, 99}));
  EXPECT_EQ(courses().localCourseList(), Keys{});
}

TEST_F(CourseStoreTest, TellsWhatIsDoneToTheCatalogue) {
  signIn();
  settle();
  changes.clear();
  listRooms(3, 1);
  getCourses(0, 30);
  ASSERT_EQ(changes.size(), 1u);
  EXPECT_EQ(changes[0].what, What::Page);
  EXPECT_EQ(changes[0].rooms, (std::vector<std::int64_t>{3, 2, 1}));
  EXPECT_EQ(changes[0].by, nullptr);
  takeOver(itemsOf({4, 3}), false);
  ASSERT_EQ(changes.size(), 2u);
  EXPECT_EQ(changes[1].by, this);
  EXPECT_EQ(changes[1].rooms, (std::vector<std::int64_t>{4, 3}));
  EXPECT_EQ(changes[1].news, std::vector<std::int64_t>{4}) << "3 is as it was";
  takeOver(itemsOf({4, 3}), false);
  EXPECT_EQ(changes.size(), 2u) << "nothing is told where nothing is different";
  courses().deleteCloudCourse(courses().getRecordCourseWithIndex(0));
  ASSERT_EQ(changes.size(), 3u);
  EXPECT_EQ(changes[2].what, What::Course);
  EXPECT_EQ(changes[2].roomID, 4);
  courses().setCloudCourseList({"7"});
  EXPECT_EQ(changes.back().what, What::All);
  QXUserInfoMgr::getInstance().setUserInfo(makeUser("100002"));
  EXPECT_EQ(changes.back().what, What::Opened);
}

TEST_F(CourseStoreTest, WhoHasWithdrawnIsToldNothing) {
  int told = 0;
  auto token = store().observe([&told](const CourseChange&) { ++told; });
  courses().setCloudCourseList({"7"});
  EXPECT_EQ(told, 1);
  token.reset();
  courses().setCloudCourseList({"8"});
  EXPECT_EQ(told, 1);
}

TEST_F(CourseStoreTest, ACopyIsNobodyElses) {
  signIn();
  listRooms(70, 1);
  getCourses(0, 70);
  const auto copy = store().copyOf(kRecorded, "1");
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(copy->title.get(), "课程 1");
  EXPECT_EQ(store().copyOf(kRecorded, "70")->title.get(), "课程 70") << "from its file";
  EXPECT_FALSE(isInMemory(70)) << "looking brings nothing into memory";
  EXPECT_EQ(store().copyOf(kRecorded, "99"), nullptr);
  EXPECT_EQ(store().listed(kRecorded).keys.size(), 70u);
}

TEST_F(CourseStoreTest, WhatWasReadWhileTheUserChangedIsNobodys) {
  signIn("100001");
  const OptionalString classroom = courses().currentClassroomID();
  std::size_t reads = 0;
  const auto readWhile = [&](const std::function<void()>& work) {
    return store().readFor(100001, classroom, [&] {
      ++reads;
      work();
    });
  };
  EXPECT_TRUE(readWhile([] {}));
  EXPECT_FALSE(readWhile([this] { QXUserInfoMgr::getInstance().setUserInfo(makeUser("100002")); }));
  EXPECT_FALSE(readWhile([] {})) << "it is another one's catalogue";
  EXPECT_EQ(reads, 2u);
  QXUserInfoMgr::getInstance().setUserInfo(makeUser("100001"));
  EXPECT_FALSE(readWhile([this] {
    QXUserInfoMgr::getInstance().setUserInfo(makeUser("100002"));
    QXUserInfoMgr::getInstance().setUserInfo(makeUser("100001"));
  })) << "part of it was perhaps the other one's";
}

}  // namespace
}  // namespace orv::course_store_test
