#include <orvnetwork/course/QXCourseManager.h>

#include "tests/support/PumpedExecutor.h"
#include "tests/unit/course/LocalFixture.h"

#include <memory>
#include <optional>
#include <vector>

namespace orv::course_properties_test {

namespace {

/// Every part of the manager's state is readable and writable, and what is written is what is used.
class CourseProperties : public LocalFixture {};

TEST_F(CourseProperties, SimpleOnesGiveBackWhatTheyWereGiven) {
  auto& manager = courses();
  manager.setContainTest(true);
  EXPECT_TRUE(manager.containTest());
  manager.setContainTest(false);
  EXPECT_FALSE(manager.containTest());
  manager.setCurrentUserID(-7);
  EXPECT_EQ(manager.currentUserID(), -7);
  manager.setCurrentClassroomID("5001");
  EXPECT_EQ(manager.currentClassroomID(), "5001");
  manager.setCurrentClassroomID(std::nullopt);
  EXPECT_EQ(manager.currentClassroomID(), std::nullopt);
  manager.setLastValidCourse("1");
  manager.setLastValidLiveCourse("2");
  EXPECT_EQ(manager.lastValidCourse(), "1");
  EXPECT_EQ(manager.lastValidLiveCourse(), "2");
}

TEST_F(CourseProperties, PathsGiveBackWhatTheyWereGiven) {
  auto& manager = courses();
  manager.setLocalCourseFolder("/a");
  manager.setCloudCourseFolder("/b");
  manager.setLiveCourseFolder("/c");
  manager.setLocalCourseListFile("/a/1");
  manager.setCloudCourseListFile("/b/2");
  manager.setLiveCourseListFile(std::nullopt);
  EXPECT_EQ(manager.localCourseFolder(), "/a");
  EXPECT_EQ(manager.cloudCourseFolder(), "/b");
  EXPECT_EQ(manager.liveCourseFolder(), "/c");
  EXPECT_EQ(manager.localCourseListFile(), "/a/1");
  EXPECT_EQ(manager.cloudCourseListFile(), "/b/2");
  EXPECT_EQ(manager.liveCourseListFile(), std::nullopt);
}

TEST_F(CourseProperties, CollectionsGiveBackWhatTheyWereGiven) {
  auto& manager = courses();
  const Course one = makeLocal(1), two = makeCloud(2), three = makeCloud(3);
  manager.setLocalCourseDict({{"1", one}});
  manager.setCloudCourseDict({{"2", two}});
  manager.setLiveCourseDict({{"3", three}});
  EXPECT_EQ(manager.localCourseDict(), (QXCourseManager::Courses{{"1", one}}));
  EXPECT_EQ(manager.cloudCourseDict(), (QXCourseManager::Courses{{"2", two}}));
  EXPECT_EQ(manager.liveCourseDict(), (QXCourseManager::Courses{{"3", three}}));
  manager.setLocalCourseList({"1", "9"});
  manager.setCloudCourseList({"2", "2"});
  manager.setCourseQueue({"l-1", "c-2"});
  manager.setLiveCourseQueue({"3"});
  EXPECT_EQ(manager.localCourseList(), (Keys{"1", "9"}));
  EXPECT_EQ(manager.cloudCourseList(), (Keys{"2", "2"}));
  EXPECT_EQ(manager.courseQueue(), (Keys{"l-1", "c-2"}));
  EXPECT_EQ(manager.liveCourseQueue(), Keys{"3"});
  EXPECT_EQ(manager.getLocalCourseCount(), 2u);
  EXPECT_EQ(manager.getRecordCourseCount(), 2u);
}

TEST_F(CourseProperties, LiveListsAreAlwaysSix) {
  auto& manager = courses();
  manager.setLiveCourseList({{"1"}, {}, {"3"}});
  EXPECT_EQ(manager.liveCourseList(), (std::vector<Keys>{{"1"}, {}, {"3"}, {}, {}, {}}));
  manager.setLiveCourseList(std::vector<Keys>(9, Keys{"7"}));
  EXPECT_EQ(manager.liveCourseList(), std::vector<Keys>(6, Keys{"7"}));
}

TEST_F(CourseProperties, RequestsGiveBackWhatTheyWereGiven) {
  CourseRequest range;
  range.start = 3;
  range.count = 4;
  courses().setRequestRecordList({range});
  courses().setRequestLiveList({range, range});
  EXPECT_EQ(courses().requestRecordList().at(0).start, 3u);
  EXPECT_EQ(courses().requestLiveList().size(), 2u);
}

TEST_F(CourseProperties, GettersGiveCopies) {
  add(1);
  Keys keys = courses().localCourseList();
  keys.clear();
  auto records = courses().localCourseDict();
  records.clear();
  EXPECT_EQ(courses().localCourseList(), Keys{"1"});
  EXPECT_EQ(courses().localCourseDict().size(), 1u);
}

TEST_F(CourseProperties, SemaphoresAndQueueCanBeReplaced) {
  const auto record = std::make_shared<Semaphore>(1), page = std::make_shared<Semaphore>(1);
  courses().setReqRecordSemaphore(record);
  courses().setReqLiveSemaphore(page);
  EXPECT_EQ(courses().reqRecordSemaphore(), record);
  EXPECT_EQ(courses().reqLiveSemaphore(), page);
  courses().setReqRecordSemaphore(nullptr);
  courses().setReqLiveSemaphore(nullptr);
  EXPECT_EQ(courses().reqRecordSemaphore(), record);
  EXPECT_EQ(courses().reqLiveSemaphore(), page);
  test::PumpedExecutor other;
  courses().setQueue(other);
  EXPECT_EQ(&courses().queue(), &other);
  courses().setQueue(platform.globalQueue());
}

TEST_F(CourseProperties, ListThatWasSetIsTheOneUsed) {
  courses().setLocalCourseList({"5", "6"});
  putRecord("6", makeLocal(6, "six")->jsonObject());
  EXPECT_EQ(courses().getLocalCourseWithIndex(1)->title, "six");
  EXPECT_FALSE(courses().addLocalCourse(makeLocal(5)));
  EXPECT_EQ(listOnDisk(), (Keys{"5", "6"}));
}

TEST_F(CourseProperties, FolderThatWasSetIsTheOneUsed) {
  platform.files().put("/home/user/other/x", "");
  courses().setLocalCourseFolder("/home/user/other");
  courses().setLocalCourseListFile("/home/user/other/list");
  add(7);
  EXPECT_TRUE(platform.files().contents("/home/user/other/7.plist"));
  EXPECT_EQ(readArrayFile("/home/user/other/list"), json::array{"7"});
}

TEST_F(CourseProperties, WhatIsSetBeforeTheListsWereReadIsNotReadOver) {
  addRooms(1, 3);
  startAnew();
  courses().setLocalCourseList({"9"});
  settle();
  EXPECT_EQ(courses().localCourseList(), Keys{"9"});
}

}  // namespace

}  // namespace orv::course_properties_test
