#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include "tests/unit/course/PagingFixture.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orv::course_push_test {

namespace {

class CoursePush : public PagingFixture {
 protected:
  static constexpr std::uint64_t kHandedOver = publish_status::kPublished;

  static QXCourseManager::Course addLocal(std::int64_t room, std::int64_t cloudRoom,
                                          std::uint64_t publishStatus = kHandedOver) {
    auto course = std::make_shared<OrvCourseModel>();
    course->orv_local = true;
    course->roomID = room;
    course->orv_cloudRoomID = cloudRoom;
    course->publishStatus = publishStatus;
    courses().addLocalCourse(course);
    return course;
  }
  static json::object item(std::int64_t room, std::int64_t code = 0) {
    return {{"data", {{"roomID", room}, {"code", code}}}};
  }
  void push(json::value data) {
    server.push(server.latest(), "Rooms.Push.Message", {{"data", std::move(data)}});
    settle();
  }
  /// Tells of a course that was created.
  static void tellCreated(const json::object& userInfo) {
    Notification created;
    created.name = "created";
    created.userInfo = &userInfo;
    courses().courseCreateFinishedNotification(created);
  }
};

TEST_F(CoursePush, ConfirmedCourseLeavesTheDevice) {
  signIn();
  const auto course = addLocal(7, 5000);
  platform.files().put(course->courseFolder() + "/mp4/1.mp4", "film");
  const std::string file = *courses().localCourseFolder() + "/7.plist";
  ASSERT_TRUE(platform.files().contents(file));
  push(json::array{item(5000)});
  EXPECT_EQ(courses().localCourseList(), Keys{});
  EXPECT_TRUE(courses().localCourseDict().empty());
  EXPECT_TRUE(courses().courseQueue().empty());
  EXPECT_FALSE(platform.files().contents(file));
  EXPECT_FALSE(platform.files().contents(course->courseFolder() + "/mp4/1.mp4"));
  EXPECT_EQ(readArrayFile(*courses().localCourseListFile()), json::array{});
}

TEST_F(CoursePush, EveryConfirmedCourseOfAPushLeaves) {
  signIn();
  addLocal(7, 5000);
  addLocal(8, 5001);
  addLocal(9, 5002);
  push(json::array{item(5002), item(5001, 3), item(5000), item(4999)});
  EXPECT_EQ(courses().localCourseList(), Keys{"8"});
}

TEST_F(CoursePush, CodesThatAreNotZeroAreIgnored) {
  signIn();
  addLocal(7, 5000);
  push(json::array{item(5000, 1), item(5000, -1), json::object{{"data", {{"roomID", 5000}, {"code", "2"}}}}});
  EXPECT_EQ(courses().localCourseList(), Keys{"7"});
}

TEST_F(CoursePush, MissingCodeIsZeroAndTextsAreNumbers) {
  signIn();
  addLocal(7, 5000);
  addLocal(8, 5001);
  push(json::array{json::object{{"data", {{"roomID", 5000}}}},
                   json::object{{"data", {{"roomID", "5001"}, {"code", "0"}}}}});
  EXPECT_EQ(courses().localCourseList(), Keys{});
}

TEST_F(CoursePush, OnlyCoursesThatWereHandedOverLeave) {
  signIn();
  addLocal(7, 5000, 99);
  addLocal(8, 5000, 0);
  push(json::array{item(5000)});
  EXPECT_EQ(courses().localCourseList(), (Keys{"8", "7"}));
}

TEST_F(CoursePush, CourseIsFoundByItsCloudRoomOnly) {
  signIn();
  addLocal(7, 5000);
  push(json::array{item(7)});
  EXPECT_EQ(courses().localCourseList(), Keys{"7"});
}

TEST_F(CoursePush, CourseThatIsNotInMemoryStays) {
  signIn();
  addLocal(7, 5000);
  courses().setLocalCourseDict({});
  push(json::array{item(5000)});
  EXPECT_EQ(courses().localCourseList(), Keys{"7"});
}

TEST_F(CoursePush, OneCourseLeavesForEachItem) {
  signIn();
  addLocal(7, 5000);
  addLocal(8, 5000);
  push(json::array{item(5000)});
  EXPECT_EQ(courses().localCourseList().size(), 1u);
  push(json::array{item(5000)});
  EXPECT_EQ(courses().localCourseList().size(), 0u);
}

TEST_F(CoursePush, ItemThatNamesNoRoomConfirmsNothing) {
  signIn();
  addLocal(7, 0);
  push(json::array{json::object{}, 5, json::object{{"data", json::object{{"roomID", 0}, {"code", 0}}}}});
  EXPECT_EQ(courses().localCourseList(), Keys{"7"});
}

TEST_F(CoursePush, PushesOfOtherShapesAreHarmless) {
  signIn();
  addLocal(7, 5000);
  for (const json::value& data : {json::value(nullptr), json::value("text"), json::value(5),
                                  json::value(json::object{{"roomID", 5000}})}) {
    push(data);
  }
  push(json::array{nullptr, 5, "text", json::array{}, json::object{{"data", "text"}}});
  courses().receivedWebsocketMessage({});
  const json::object frame{{"v", "text"}};
  Notification odd;
  odd.userInfo = &frame;
  courses().receivedWebsocketMessage(odd);
  EXPECT_EQ(courses().localCourseList(), Keys{"7"});
}

TEST_F(CoursePush, IsDealtWithWhenThePostReturns) {
  signIn();
  addLocal(7, 5000);
  const json::object frame{{"C", "Rooms.Push.Message"}, {"v", {{"data", json::array{item(5000)}}}}};
  NotificationCenter::defaultCenter().post(QXNotificationPushOrvMessage, nullptr, &frame);
  EXPECT_EQ(courses().localCourseList(), Keys{});
}

TEST_F(CoursePush, IsWrittenToTheConsole) {
  signIn();
  courses();
  settle();
  console.clear();
  push(json::array{item(5000)});
  EXPECT_TRUE(std::ranges::any_of(console, [](const std::string& line) {
    return line.find("Rooms.Push.Message") != std::string::npos && line.find("5000") != std::string::npos;
  }));
}

// A course was created -------------------------------------------------------------------------------------------

TEST_F(CoursePush, CreatedCourseLosesItsLocalCopyAtOnce) {
  signIn();
  addLocal(7, 5000);
  addLocal(8, 5001);
  tellCreated({{"roomID", 7}});
  EXPECT_EQ(courses().localCourseList(), Keys{"8"});
  tellCreated({{"roomID", "8"}});
  EXPECT_EQ(courses().localCourseList(), Keys{});
}

TEST_F(CoursePush, CreatedCourseHasThirtyCoursesLoadedAfterASecond) {
  listRooms(100, 31);
  signIn();
  getCourses(0, 60);
  pagesAsked.clear();
  server.clearRecords();
  const double begin = now();
  tellCreated({{"roomID", 7}});
  runFor(0.99);
  EXPECT_EQ(pagesAsked, Strings{});
  EXPECT_EQ(count(QXNotificationCourseListChanged), 0u);
  std::optional<double> posted;
  const auto token = NotificationCenter::defaultCenter().observe(std::string(QXNotificationCourseListChanged),
                                                                 [&](const Notification& notification) {
                                                                   posted = now();
                                                                   EXPECT_EQ(notification.object, nullptr);
                                                                   EXPECT_EQ(notification.userInfo, nullptr);
                                                                 });
  runFor(0.02);
  EXPECT_EQ(pagesAsked, Strings{"items 1"});
  ASSERT_TRUE(posted);
  EXPECT_NEAR(*posted, begin + 1, 1e-6);
}

TEST_F(CoursePush, RangeAfterACreationBeginsAtTheNumberOfLocalCourses) {
  listRooms(200, 101);
  signIn();
  getCourses(0, 90);
  pagesAsked.clear();
  for (int room = 1; room <= 31; ++room) addLocal(room, 5000 + room);
  tellCreated({{"roomID", 999}});
  runFor(1.1);
  EXPECT_EQ(pagesAsked, (Strings{"items 2", "items 3"}));  // 31 to 61, by force
  EXPECT_EQ(count(QXNotificationCourseListChanged), 1u);
}

TEST_F(CoursePush, LocalCoursesAreCountedAfterTheSecond) {
  listRooms(200, 101);
  signIn();
  getCourses(0, 90);
  pagesAsked.clear();
  tellCreated({{"roomID", 999}});
  for (int room = 1; room <= 30; ++room) addLocal(room, 5000 + room);
  runFor(1.1);
  EXPECT_EQ(pagesAsked, Strings{"items 2"});
}

TEST_F(CoursePush, ListChangeIsPostedWhateverComesOfTheLoad) {
  signIn();
  link.close();
  settle();
  tellCreated({{"roomID", 999}});
  runFor(1.1);
  EXPECT_EQ(count(QXNotificationCourseListChanged), 1u);
  EXPECT_EQ(pagesAsked, Strings{});
}

TEST_F(CoursePush, ListChangeIsPostedOnTheMainThreadWhenThatComesToIt) {
  signIn();
  link.close();
  settle();
  std::vector<bool> onMain;
  const auto token = NotificationCenter::defaultCenter().observe(
      std::string(QXNotificationCourseListChanged),
      [&](const Notification&) { onMain.push_back(platform.mainQueue().isCurrent()); });
  tellCreated({{"roomID", 999}});
  platform.holdMainQueue(true);
  runFor(1.1);
  EXPECT_TRUE(onMain.empty()) << "the answer came on a worker";
  platform.holdMainQueue(false);
  settle();
  EXPECT_EQ(onMain, std::vector{true});
}

TEST_F(CoursePush, CreationThatNamesNoRoomDeletesNothingAndLoads) {
  signIn();
  addLocal(7, 5000);
  tellCreated({});
  courses().courseCreateFinishedNotification({});
  runFor(1.1);
  EXPECT_EQ(courses().localCourseList(), Keys{"7"});
  EXPECT_EQ(count(QXNotificationCourseListChanged), 2u);
}

TEST_F(CoursePush, ManagerDoesNotListenToCreationsByItself) {
  signIn();
  addLocal(7, 5000);
  const json::object userInfo{{"roomID", 7}};
  NotificationCenter::defaultCenter().post(QXNotificationCourseListChanged, nullptr, &userInfo);
  runFor(2);
  EXPECT_EQ(courses().localCourseList(), Keys{"7"});
  EXPECT_EQ(pagesAsked, Strings{});
}

}  // namespace

}  // namespace orv::course_push_test
