#include <orvnetwork/course/CourseRequest.h>
#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/session/QXUserInfoMgr.h>

#include "tests/support/PumpedExecutor.h"
#include "tests/unit/course/LocalFixture.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orv::course_manager_singleton_test {

namespace {

class CourseManagerSingleton : public LocalFixture {
 protected:
  static bool isFree(const std::shared_ptr<Semaphore>& semaphore) {
    const bool one = semaphore->tryWait();
    const bool two = semaphore->tryWait();
    if (one) semaphore->signal();
    return one && !two;
  }
};

TEST_F(CourseManagerSingleton, EveryWayLeadsToTheOneManager) {
  QXCourseManager& manager = QXCourseManager::getInstance();
  EXPECT_EQ(&QXCourseManager::getInstance(), &manager);
  EXPECT_EQ(&QXCourseManager::allocWithZone(), &manager);
  EXPECT_EQ(&manager.copy(), &manager);
  EXPECT_EQ(&manager.mutableCopy(), &manager);
  EXPECT_EQ(&manager.init(), &manager);
}

TEST_F(CourseManagerSingleton, AllocatingFirstMakesItToo) {
  QXCourseManager& manager = QXCourseManager::allocWithZone();
  EXPECT_EQ(&QXCourseManager::getInstance(), &manager);
}

TEST_F(CourseManagerSingleton, BeginsWithNothing) {
  EXPECT_FALSE(courses().containTest());
  EXPECT_TRUE(courses().cloudCourseDict().empty());
  EXPECT_TRUE(courses().localCourseDict().empty());
  EXPECT_TRUE(courses().liveCourseDict().empty());
  EXPECT_TRUE(courses().cloudCourseList().empty());
  EXPECT_TRUE(courses().localCourseList().empty());
  EXPECT_EQ(courses().liveCourseList(), std::vector<Keys>(6));
  EXPECT_TRUE(courses().courseQueue().empty());
  EXPECT_TRUE(courses().liveCourseQueue().empty());
  EXPECT_TRUE(courses().requestRecordList().empty());
  EXPECT_TRUE(courses().requestLiveList().empty());
  EXPECT_EQ(courses().lastValidCourse(), std::nullopt);
  EXPECT_EQ(courses().lastValidLiveCourse(), std::nullopt);
  EXPECT_EQ(courses().currentUserID(), 0) << "nobody's catalogue is loaded";
  EXPECT_EQ(courses().currentClassroomID(), std::nullopt);
  EXPECT_EQ(&courses().queue(), &platform.globalQueue());
}

TEST_F(CourseManagerSingleton, SemaphoresAreThreeAndEachLetsOneIn) {
  const auto data = courses().dataSemaphore();
  const auto record = courses().reqRecordSemaphore();
  const auto liveOne = courses().reqLiveSemaphore();
  EXPECT_NE(data, record);
  EXPECT_NE(data, liveOne);
  EXPECT_NE(record, liveOne);
  EXPECT_TRUE(isFree(data));
  EXPECT_TRUE(isFree(record));
  EXPECT_TRUE(isFree(liveOne));
}

TEST_F(CourseManagerSingleton, ConstantsAreThoseOfTheCatalogue) {
  EXPECT_EQ(MaxCourseCountInMem, 60);
  EXPECT_EQ(MaxRetryCount, 3);
}

TEST_F(CourseManagerSingleton, CatalogueOfTheStoredUserIsLoadedAtOnce) {
  platform.files().put("/home/user/Documents/userInfo/userInfo.plist",
                       "<plist "
                       "version=\"1.0\"><dict><key>uID</key><string>7</string><key>classroom</key><string>8</"
                       "string></dict></plist>");
  platform.files().put("/home/user/Documents/orv_course/7/8/local/localCourse.plist",
                       "<plist version=\"1.0\"><array><string>5</string></array></plist>");
  EXPECT_EQ(courses().getLocalCourseCount(), 1u);
  EXPECT_EQ(courses().currentUserID(), 7);
  EXPECT_EQ(courses().currentClassroomID(), "8");
}

TEST_F(CourseManagerSingleton, HostMayAskForItWhileTheStoredUserIsTold) {
  platform.files().put("/home/user/Documents/userInfo/userInfo.plist",
                       "<plist "
                       "version=\"1.0\"><dict><key>uID</key><string>7</string><key>classroom</key><string>8</"
                       "string></dict></plist>");
  std::vector<std::uint64_t> counts;
  const auto token = NotificationCenter::defaultCenter().observe(
      std::string(QXNotificationDidChangeUserInfo),
      [&counts](const Notification&) { counts.push_back(courses().getLocalCourseCount()); });
  EXPECT_EQ(courses().currentUserID(), 7);
  EXPECT_EQ(counts, std::vector<std::uint64_t>{0});
}

TEST_F(CourseManagerSingleton, InitSetsItUpAnew) {
  add(1);
  const auto data = courses().dataSemaphore();
  const auto record = courses().reqRecordSemaphore();
  const auto liveOne = courses().reqLiveSemaphore();
  record->wait();
  liveOne->wait();
  test::PumpedExecutor other;
  courses().setQueue(other);
  courses().setContainTest(true);
  courses().setCurrentUserID(77);
  courses().setCurrentClassroomID("x");
  courses().setRequestRecordList({CourseRequest{}});
  courses().setRequestLiveList({CourseRequest{}});
  courses().init();
  EXPECT_NE(courses().dataSemaphore(), data);
  EXPECT_NE(courses().reqRecordSemaphore(), record);
  EXPECT_NE(courses().reqLiveSemaphore(), liveOne);
  EXPECT_TRUE(isFree(courses().dataSemaphore()));
  EXPECT_TRUE(isFree(courses().reqRecordSemaphore()));
  EXPECT_TRUE(isFree(courses().reqLiveSemaphore()));
  EXPECT_EQ(&courses().queue(), &platform.globalQueue());
  EXPECT_FALSE(courses().containTest());
  EXPECT_EQ(courses().currentUserID(), 0);
  EXPECT_EQ(courses().currentClassroomID(), std::nullopt);
  EXPECT_TRUE(courses().requestRecordList().empty());
  EXPECT_TRUE(courses().requestLiveList().empty());
  EXPECT_TRUE(courses().localCourseDict().empty()) << "records are read when they are wanted";
  EXPECT_EQ(courses().localCourseList(), Keys{"1"});
}

TEST_F(CourseManagerSingleton, InitWhileTheCatalogueIsHeldDoesNotWait) {
  const auto held = courses().dataSemaphore();
  held->wait();
  courses().init();
  EXPECT_EQ(courses().createLocalCourse()->publishStatus, kNew);
  held->signal();
  EXPECT_TRUE(isFree(held));
}

TEST_F(CourseManagerSingleton, SemaphoreThatWasSetIsTheOneWaitedFor) {
  const auto first = courses().dataSemaphore();
  first->wait();
  const auto second = std::make_shared<Semaphore>(1);
  courses().setDataSemaphore(second);
  courses().createLocalCourse();
  EXPECT_TRUE(isFree(second));
  first->signal();
  EXPECT_TRUE(isFree(first));
  courses().setDataSemaphore(nullptr);
  EXPECT_EQ(courses().dataSemaphore(), second);
}

TEST_F(CourseManagerSingleton, ListensForPushesAndForTheUser) {
  signIn();
  auto course = makeLocal(7, "", kHandedOver);
  course->orv_cloudRoomID = 70;
  courses().addLocalCourse(course);
  server.push(server.latest(), "Rooms.Push.Message",
              {{"data", json::array{json::object{{"data", {{"roomID", 70}, {"code", 0}}}}}}});
  settle();
  EXPECT_EQ(courses().getLocalCourseCount(), 0u);
  QXUserInfoMgr::getInstance().setUserInfo(makeUser("9", "9"));
  EXPECT_EQ(courses().currentUserID(), 9);
}

TEST_F(CourseManagerSingleton, DoesNotListenForCreatedCoursesByItself) {
  add(7);
  const json::object userInfo{{"roomID", 7}};
  NotificationCenter::defaultCenter().post("courseCreateFinishedNotification", nullptr, &userInfo);
  settle();
  EXPECT_EQ(courses().getLocalCourseCount(), 1u);
}

}  // namespace

}  // namespace orv::course_manager_singleton_test
