#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/session/QXUserInfoMgr.h>

#include "tests/unit/course/PagingFixture.h"

#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace orv::update_course_test {

namespace {

class UpdateCourse : public PagingFixture {
 protected:
  /// A live course of the list, on the disk and in memory.
  static QXCourseManager::Course addLive(std::int64_t room, std::int64_t status = 1) {
    auto course = makeCourse(courseItem(room, 1, status));
    courses().addLiveCourse(course);
    return course;
  }
  void update(const QXCourseManager::Course& course) {
    courses().updateCourse_withHandler(course, [this](const QXCourseManager::Course& result) {
      results.push_back(result);
      onMain.push_back(platform.mainQueue().isCurrent());
      const auto semaphore = courses().dataSemaphore();
      EXPECT_TRUE(semaphore->tryWait());
      semaphore->signal();
    });
  }
  void answerInfo(json::object values) {
    instead = [values = std::move(values)](const json::object& request) -> std::optional<json::object> {
      return request.at("c") == "Course.Get.Info" ? values : json::object{{"ret", 0}};
    };
  }

  std::vector<QXCourseManager::Course> results;
  std::vector<bool> onMain;
};

TEST_F(UpdateCourse, TakesTheCourseIntoTheRecordTheMemoryAndTheDisk) {
  signIn();
  addLive(7);
  const auto course = makeCourse(courseItem(7, 1, 1));
  course->intro = "只在这里";
  answerInfo({{"ret", 0}, {"data", {{"title", "新的"}, {"viewCnt", 5}}}});
  update(course);
  EXPECT_TRUE(results.empty());
  settle();
  ASSERT_EQ(results, std::vector{course});
  EXPECT_EQ(onMain, std::vector{true});
  EXPECT_EQ(course->title, "新的");
  EXPECT_EQ(course->intro, "只在这里");
  EXPECT_EQ(courses().getLiveCourseWithRoomID(7), course);
  EXPECT_EQ(liveFile(7)->at("title"), "新的");
  EXPECT_EQ(server.lastRequest("Course.Get.Info")->at("v").at("roomID"), "7");
}

TEST_F(UpdateCourse, AsksForRoomsOfSixtyFourBits) {
  signIn();
  update(makeCourse(courseItem(5'000'000'000, 3, 1)));
  settle();
  EXPECT_EQ(server.lastRequest("Course.Get.Info")->at("v").at("roomID"), "5000000000");
}

TEST_F(UpdateCourse, CourseOfNoListIsUpdatedAndNotKept) {
  signIn();
  const auto course = makeCourse(courseItem(7, 1, 1));
  answerInfo({{"ret", 0}, {"data", {{"title", "新的"}}}});
  update(course);
  settle();
  EXPECT_EQ(results, std::vector{course});
  EXPECT_EQ(course->title, "新的");
  EXPECT_EQ(courses().getLiveCourseWithRoomID(7), nullptr);
  EXPECT_FALSE(hasLiveFile(7));
}

TEST_F(UpdateCourse, AnswerThatComesWithTheNextUserStaysOutOfTheirCatalogue) {
  signIn("100001");
  const auto course = addLive(7);
  std::optional<json::object> asked;
  instead = [&asked](const json::object& request) -> std::optional<json::object> {
    if (request.at("c") != "Course.Get.Info") return json::object{{"ret", 0}};
    asked = request;
    return std::nullopt;
  };
  update(course);
  settle();
  ASSERT_TRUE(asked);
  QXUserInfoMgr::getInstance().setUserInfo(makeUser("100002"));
  settle();
  const auto theirs = addLive(7);
  server.reply(server.latest(), *asked, {{"ret", 0}, {"data", {{"title", "新的"}, {"role", 1}}}});
  settle();
  EXPECT_EQ(results, std::vector{course});
  EXPECT_EQ(course->title, "新的") << "who asked has the answer";
  EXPECT_EQ(courses().getLiveCourseWithRoomID(7), theirs);
  EXPECT_EQ(theirs->title, "课程 7");
  EXPECT_EQ(liveFile(7)->at("title"), "课程 7");
}

TEST_F(UpdateCourse, LiveCourseThatHasBecomeARecordedOneGoesToTheRecordedOnes) {
  recorded = {courseItem(7), courseItem(6)};
  signIn();
  getCourses(0, 2);
  addLive(7);
  const auto course = makeCourse(courseItem(7, 1, 1));
  answerInfo({{"ret", 0}, {"data", {{"liveType", 2}, {"title", "新的"}}}});
  update(course);
  settle();
  EXPECT_EQ(results, std::vector{course});
  EXPECT_EQ(courses().getRecordCourseWithIndex(0), course);
  EXPECT_EQ(courses().courseQueue().front(), "c-7");
  EXPECT_NE(courses().getLiveCourseWithRoomID(7), course);
  EXPECT_EQ(cloudFile(7)->at("title"), "课程 7");  // The disk gets it with the next page.
}

TEST_F(UpdateCourse, AnswerWithoutDataLeavesTheRecordAndCounts) {
  signIn();
  const auto course = addLive(7);
  answerInfo({{"ret", 0}});
  update(course);
  settle();
  EXPECT_EQ(results, std::vector{course});
  EXPECT_EQ(course->title, "课程 7");
}

TEST_F(UpdateCourse, OnlyLiveCoursesWithARoomAreAskedFor) {
  signIn();
  for (const auto& course :
       {makeCourse(courseItem(0, 1, 1)), makeCourse(courseItem(-7, 3, 1)), makeCourse(courseItem(7, 2, 1)),
        makeCourse(courseItem(7, 0, 1)), makeCourse(courseItem(7, 4, 1)), QXCourseManager::Course()}) {
    results.clear();
    update(course);
    EXPECT_EQ(results, std::vector<QXCourseManager::Course>(1));
  }
  settle();
  EXPECT_FALSE(server.lastRequest("Course.Get.Info"));
}

TEST_F(UpdateCourse, RefusalGivesNothing) {
  signIn();
  const auto course = addLive(7);
  answerInfo({{"ret", 7}, {"data", {{"title", "新的"}}}});
  update(course);
  settle();
  EXPECT_EQ(results, std::vector<QXCourseManager::Course>(1));
  EXPECT_EQ(onMain, std::vector{true});
  EXPECT_EQ(course->title, "课程 7");
}

TEST_F(UpdateCourse, ErrorGivesNothingThoughTheCodeIsZero) {
  signIn();
  const auto course = addLive(7);
  for (const json::value& error : {json::value("kaputt"), json::value(""), json::value(5)}) {
    results.clear();
    answerInfo({{"ret", 0}, {"err", error}, {"data", {{"title", "新的"}}}});
    update(course);
    settle();
    EXPECT_EQ(results, std::vector<QXCourseManager::Course>(1)) << json::serialize(error);
    EXPECT_EQ(course->title, "课程 7");
  }
  results.clear();
  answerInfo({{"ret", 0}, {"err", nullptr}, {"data", {{"title", "新的"}}}});
  update(course);
  settle();
  EXPECT_EQ(results, std::vector{course});
}

TEST_F(UpdateCourse, TimeOutGivesNothing) {
  signIn();
  const auto course = addLive(7);
  instead = [](const json::object&) { return std::nullopt; };
  update(course);
  runFor(9.9);
  EXPECT_TRUE(results.empty());
  runFor(0.2);
  EXPECT_EQ(results, std::vector<QXCourseManager::Course>(1));
  EXPECT_EQ(onMain, std::vector{true});
  runFor(60);
  EXPECT_EQ(server.requests("Course.Get.Info").size(), 1u);
}

TEST_F(UpdateCourse, ClosedLinkGivesNothingAtOnce) {
  const auto course = addLive(7);
  update(course);
  EXPECT_EQ(results, std::vector<QXCourseManager::Course>(1));
}

TEST_F(UpdateCourse, WorksWithoutAHandler) {
  signIn();
  const auto course = addLive(7);
  answerInfo({{"ret", 0}, {"data", {{"title", "新的"}}}});
  courses().updateCourse_withHandler(course, nullptr);
  courses().updateCourse_withHandler(nullptr, nullptr);
  settle();
  EXPECT_EQ(liveFile(7)->at("title"), "新的");
}

TEST_F(UpdateCourse, MainThreadDoesNotTouchTheDisk) {
  signIn();
  const auto course = addLive(7);
  answerInfo({{"ret", 0}, {"data", {{"title", "新的"}}}});
  // The console gets a line for each file that cannot be written, on the thread that wanted to write it.
  int onWorker = 0;
  Console::setSink([&](std::string_view) {
    EXPECT_FALSE(platform.mainQueue().isCurrent());
    ++onWorker;
  });
  platform.files().failAlways(testing::FileOperation::WriteAtomically);
  update(course);
  settle();
  Console::setSink(nullptr);
  EXPECT_EQ(results, std::vector{course});
  EXPECT_GT(onWorker, 0);
}

TEST_F(UpdateCourse, RefreshOfARecordedCourseIsForCoursesOfTheList) {
  recorded = {courseItem(7), courseItem(6)};
  signIn();
  getCourses(0, 2);
  const auto seven = makeCourse(courseItem(7));
  courses().refreshRecordCourse(seven);
  courses().refreshRecordCourse(makeCourse(courseItem(99)));
  courses().refreshRecordCourse(nullptr);
  EXPECT_EQ(courses().getRecordCourseWithIndex(0), seven);
  EXPECT_EQ(courses().courseQueue(), (Keys{"c-7", "c-6"}));
}

// Deleting a recorded course -------------------------------------------------------------------------------------

TEST_F(UpdateCourse, DeletedRecordedCourseLeavesListMemoryAndDisk) {
  recorded = {courseItem(7), courseItem(6)};
  signIn();
  getCourses(0, 2);
  server.clearRecords();
  EXPECT_TRUE(courses().deleteCloudCourse(makeCourse(courseItem(7))));
  settle();
  EXPECT_EQ(courses().cloudCourseList(), Keys{"6"});
  EXPECT_EQ(cloudListFile(), asArray({"6"}));
  EXPECT_FALSE(isInMemory(7));
  EXPECT_FALSE(hasCloudFile(7));
  EXPECT_TRUE(server.requests().empty());
  EXPECT_EQ(std::ranges::count(courses().courseQueue(), "c-7"), 1);
}

TEST_F(UpdateCourse, DeletingARecordedCourseForgetsTheLocalRecordOfTheSameRoom) {
  signIn();
  auto local = std::make_shared<OrvCourseModel>();
  local->orv_local = true;
  local->roomID = 7;
  courses().addLocalCourse(local);
  EXPECT_TRUE(courses().deleteCloudCourse(makeCourse(courseItem(7))));
  EXPECT_TRUE(courses().deleteCloudCourse(nullptr));
  EXPECT_TRUE(courses().localCourseDict().empty());
  EXPECT_TRUE(courses().courseQueue().empty());
  EXPECT_EQ(courses().localCourseList(), Keys{"7"});
  EXPECT_NE(courses().getLocalCourseWithRoomID(7), nullptr);  // Back from its file.
}

}  // namespace

}  // namespace orv::update_course_test
