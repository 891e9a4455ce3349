#include <orvnetwork/session/QXUserInfoMgr.h>

#include "cli/Host.h"
#include "tests/unit/course/PagingFixture.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace orv::reload_test {

namespace {

class Reload : public PagingFixture {
 protected:
  static void signInAs(const std::string& uID, const OptionalString& classroom) {
    auto user = makeUser(uID);
    user->classroom = classroom;
    QXUserInfoMgr::getInstance().setUserInfo(user);
  }
  /// The catalogue's folder below the user's documents.
  static std::string base() {
    const std::string folder = courses().cloudCourseFolder().value();
    const auto begin = folder.find("orv_course/");
    return folder.substr(begin, folder.size() - begin - std::string("/cloud").size());
  }
  /// Fills a folder as an earlier life of the process would have left it.
  void putRecord(const OptionalString& folder, std::int64_t room) const {
    writePropertyListFile(folder.value() + "/" + std::to_string(room) + ".plist",
                          makeCourse(courseItem(room))->jsonObject(), Durability::Plain);
  }
  static void putList(const OptionalString& file, const json::array& list) {
    writePropertyListFile(file.value(), list, Durability::Plain);
  }
  /// Goes away and comes back, so that everything is read from the disk.
  static void comeBack() {
    QXUserInfoMgr::getInstance().setUserInfo(makeUser("9", "9"));
    QXUserInfoMgr::getInstance().setUserInfo(makeUser());
  }
};

TEST_F(Reload, NobodysCatalogueIsPublic) {
  EXPECT_EQ(base(), "orv_course/public");
  EXPECT_EQ(courses().currentUserID(), 0);
  EXPECT_EQ(courses().currentClassroomID(), std::nullopt);
}

TEST_F(Reload, MakesTheFoldersOfTheCatalogue) {
  signInAs("100001", "5001");
  EXPECT_EQ(base(), "orv_course/100001/5001");
  const std::string root =
      courses().cloudCourseFolder()->substr(0, courses().cloudCourseFolder()->size() - 6);
  EXPECT_EQ(courses().localCourseFolder(), root + "/local");
  EXPECT_EQ(courses().localCourseListFile(), root + "/local/localCourse.plist");
  EXPECT_EQ(courses().cloudCourseListFile(), root + "/cloud/cloudCourse.plist");
  EXPECT_EQ(courses().liveCourseFolder(), root + "/live");
  EXPECT_EQ(courses().liveCourseListFile(), root + "/live/liveCourses.plist");
  for (const auto* folder : {"/local/", "/cloud/", "/live/"}) {
    EXPECT_TRUE(platform.files().folders().contains(root + folder)) << folder;
  }
}

TEST_F(Reload, MakesTheFoldersOnAWorkerWhenNobodyNeedsThemSooner) {
  courses();
  const auto before = platform.files().calls();
  signInAs("100001", "5001");
  settle();
  EXPECT_GT(platform.files().calls(), before);
  EXPECT_TRUE(std::ranges::any_of(platform.files().folders(), [](const std::string& folder) {
    return folder.ends_with("/orv_course/100001/5001/live/");
  }));
}

TEST_F(Reload, UserWithoutAClassroomHasAFolderToo) {
  signInAs("100001", std::nullopt);
  EXPECT_EQ(base(), "orv_course/100001/(null)");
}

TEST_F(Reload, NamesFromTheServerCannotLeaveTheFolder) {
  signInAs("../1", "..");
  EXPECT_EQ(base(), "orv_course/..%2F1/%2E%2E");
}

TEST_F(Reload, RunsWhenTheUserChanges) {
  courses();
  signInAs("100001", "5001");
  EXPECT_EQ(courses().currentUserID(), 100001);
  EXPECT_EQ(courses().currentClassroomID(), "5001");
  signInAs("100001", "5002");
  EXPECT_EQ(courses().currentClassroomID(), "5002");
  QXUserInfoMgr::getInstance().setUserInfo(nullptr);
  EXPECT_EQ(courses().currentUserID(), 0);
  EXPECT_EQ(base(), "orv_course/public");
}

TEST_F(Reload, EachCatalogueIsKeptForItself) {
  listRooms(100, 98);
  live[1] = {courseItem(7, 1, 1)};
  signIn();
  getCourses(0, 3);
  getLiveCourses(0, 3, 1);
  signInAs("100001", "5002");
  EXPECT_EQ(courses().getRecordCourseCount(), 0u);
  EXPECT_EQ(courses().getLiveCourseCountWithStatus(1), 0u);
  signInAs("100001", "5001");
  EXPECT_EQ(courses().cloudCourseList(), roomKeys(100, 98));
  EXPECT_EQ(courses().getRecordCourseWithIndex(2)->title, "课程 98");
  EXPECT_EQ(courses().getLiveCourseWithIndex_courseStatus(0, 1)->title, "课程 7");
}

TEST_F(Reload, LeavesEverythingWhenNothingHasChanged) {
  listRooms(100, 98);
  signIn();
  getCourses(0, 3);
  holdPages();
  ask("a", 0, 60);
  askLive("b", 0, 60, 1);
  settle();
  const auto records = courses().cloudCourseDict();
  courses().reload();
  courses().reload();
  settle();
  EXPECT_EQ(courses().cloudCourseList(), roomKeys(100, 98));
  EXPECT_EQ(courses().cloudCourseDict(), records);
  EXPECT_EQ(courses().requestRecordList().size(), 1u);
  EXPECT_EQ(courses().requestLiveList().size(), 1u);
}

TEST_F(Reload, AlwaysStartsAnewWithoutAClassroom) {
  courses().setCloudCourseList({"7"});
  courses().reload();
  EXPECT_EQ(courses().cloudCourseList(), Keys{});
}

TEST_F(Reload, UserIsToldByNumberAndClassroomByText) {
  signInAs("100001", "5001");
  courses().setCloudCourseList({"7"});
  signInAs("100001 ", "5001");
  EXPECT_EQ(courses().cloudCourseList(), Keys{"7"});
  signInAs("100001", "05001");
  EXPECT_EQ(courses().cloudCourseList(), Keys{});
}

TEST_F(Reload, ForgetsWhatBelongedToTheUser) {
  listRooms(100, 98);
  live[1] = {courseItem(7, 1, 1)};
  signIn();
  getCourses(0, 3);
  getLiveCourses(0, 3, 1);
  auto local = courses().createLocalCourse();
  courses().addLocalCourse(local);
  signInAs("100002", "5001");
  EXPECT_TRUE(courses().cloudCourseDict().empty());
  EXPECT_TRUE(courses().localCourseDict().empty());
  EXPECT_TRUE(courses().liveCourseDict().empty());
  EXPECT_TRUE(courses().cloudCourseList().empty());
  EXPECT_TRUE(courses().localCourseList().empty());
  EXPECT_EQ(courses().liveCourseList(), std::vector<Keys>(6));
  EXPECT_TRUE(courses().courseQueue().empty());
  EXPECT_TRUE(courses().liveCourseQueue().empty());
}

TEST_F(Reload, LeavesItToAWorkerToLetGoOfWhatWasListed) {
  listRooms(100, 98);
  signIn();
  getCourses(0, 3);
  const std::weak_ptr<OrvCourseModel> listed = courses().getRecordCourseWithIndex(0);
  signInAs("100002", "5001");
  EXPECT_FALSE(listed.expired()) << "many of them would hold up the thread that changes the user";
  settle();
  EXPECT_TRUE(listed.expired());
}

TEST_F(Reload, RecordsAreReadWhenTheyAreWanted) {
  listRooms(100, 98);
  signIn();
  getCourses(0, 3);
  comeBack();
  settle();
  EXPECT_EQ(courses().getRecordCourseCount(), 3u);
  EXPECT_TRUE(courses().cloudCourseDict().empty());
  EXPECT_TRUE(courses().courseQueue().empty());
}

TEST_F(Reload, DropsRequestsWithoutAWordAndLetsGoOfWhatTheyHold) {
  signIn();
  holdPages();
  auto host = std::make_shared<int>(1);
  courses().getCoursesWithStartIndex_count_force_coursesBlock(
      0, 1, false, [host, this](bool, std::int64_t) { ask("x", 0, 1); });
  ask("a", 0, 60);
  askLive("b", 0, 60, 1);
  settle();
  EXPECT_GT(host.use_count(), 1);
  signInAs("100002", "5001");
  settle();
  EXPECT_EQ(host.use_count(), 1);
  EXPECT_TRUE(courses().requestRecordList().empty());
  EXPECT_TRUE(courses().requestLiveList().empty());
  runFor(200);
  EXPECT_EQ(answers, Strings{});
}

TEST_F(Reload, LeavesCursorsAndPagesThatAreUnderWay) {
  listRooms(100, 98);
  signIn();
  getCourses(0, 3);
  holdPages();
  ask("a", 0, 60);
  settle();
  courses().setLastValidCourse("99");
  courses().setLastValidLiveCourse("7");
  signInAs("100002", "5001");
  EXPECT_EQ(courses().lastValidCourse(), "99");
  EXPECT_EQ(courses().lastValidLiveCourse(), "7");
  EXPECT_FALSE(courses().reqRecordSemaphore()->tryWait());
  ask("b", 0, 3);
  settle();
  EXPECT_EQ(held.size(), 1u);
  // The page of the user before is not taken for the new one's, which is asked for then.
  answerHeld(pageAsked(held.front()));
  EXPECT_EQ(answers, Strings{});
  EXPECT_EQ(courses().getRecordCourseCount(), 0u);
  ASSERT_EQ(held.size(), 1u);
  answerHeld(pageAsked(held.front()));
  EXPECT_EQ(answers, Strings{"b true 3"});
}

TEST_F(Reload, WhatACallbackHoldsGoesWhenNothingIsLocked) {
  struct Host {
    ~Host() { courses().getLocalCourseWithIndex(0); }  // Would never return.
  };
  signIn();
  holdPages();
  courses().getCoursesWithStartIndex_count_force_coursesBlock(
      0, 1, false, [host = std::make_shared<Host>()](bool, std::int64_t) {});
  settle();
  signInAs("100002", "5001");
}

// The files ------------------------------------------------------------------------------------------------------

TEST_F(Reload, RecordedCourseWhoseFileIsGoneLeavesTheList) {
  listRooms(100, 97);
  signIn();
  getCourses(0, 4);
  std::error_code error;
  platform.files().remove(*courses().cloudCourseFolder() + "/99.plist", error);
  comeBack();
  EXPECT_EQ(courses().cloudCourseList(), (Keys{"100", "98", "97"}));
  EXPECT_EQ(cloudListFile(), asArray({"100", "98", "97"}));
}

TEST_F(Reload, ListThatIsWholeIsNotWritten) {
  listRooms(100, 97);
  signIn();
  getCourses(0, 4);
  courses().addLiveCourse(makeCourse(courseItem(7, 1, 1)));
  const auto cloud = platform.files().inode(*courses().cloudCourseListFile());
  const auto lives = platform.files().inode(*courses().liveCourseListFile());
  comeBack();
  EXPECT_EQ(platform.files().inode(*courses().cloudCourseListFile()), cloud);
  EXPECT_EQ(platform.files().inode(*courses().liveCourseListFile()), lives);
}

TEST_F(Reload, RepeatedKeysStayInTheCloudListAndGoFromTheLocalOne) {
  signIn();
  putRecord(courses().cloudCourseFolder(), 5);
  putList(courses().cloudCourseListFile(), {"5", "5"});
  putList(courses().localCourseListFile(), {"3", "4", "3"});
  comeBack();
  EXPECT_EQ(courses().cloudCourseList(), (Keys{"5", "5"}));
  EXPECT_EQ(courses().localCourseList(), (Keys{"3", "4"}));
}

TEST_F(Reload, LocalCoursesStayListedWithoutTheirFiles) {
  signIn();
  putList(courses().localCourseListFile(), {"3", "4"});
  const auto file = platform.files().inode(*courses().localCourseListFile());
  comeBack();
  EXPECT_EQ(courses().localCourseList(), (Keys{"3", "4"}));
  EXPECT_EQ(platform.files().inode(*courses().localCourseListFile()), file);
}

TEST_F(Reload, LiveCoursesWhoseFilesAreGoneLeaveTheirLists) {
  signIn();
  putRecord(courses().liveCourseFolder(), 1);
  putRecord(courses().liveCourseFolder(), 4);
  putList(courses().liveCourseListFile(),
          {json::array{"1", "2"}, json::array{}, json::array{"3"}, json::array{"4"}});
  comeBack();
  EXPECT_EQ(courses().liveCourseList(), (std::vector<Keys>{{"1"}, {}, {}, {"4"}, {}, {}}));
  EXPECT_EQ(liveListFile(), (json::array{json::array{"1"}, json::array{}, json::array{}, json::array{"4"},
                                         json::array{}, json::array{}}));
}

TEST_F(Reload, LiveListsBeyondTheSixthAreLeftOut) {
  signIn();
  putRecord(courses().liveCourseFolder(), 1);
  const json::array one{"1"};
  putList(courses().liveCourseListFile(), {one, one, one, one, one, one, one, one});
  comeBack();
  EXPECT_EQ(courses().liveCourseList(), std::vector<Keys>(6, Keys{"1"}));
}

TEST_F(Reload, ListsThatCannotBeReadAreEmpty) {
  signIn();
  for (const auto& file :
       {courses().cloudCourseListFile(), courses().localCourseListFile(), courses().liveCourseListFile()}) {
    platform.files().put(*file, "no property list");
  }
  comeBack();
  EXPECT_EQ(courses().cloudCourseList(), Keys{});
  EXPECT_EQ(courses().localCourseList(), Keys{});
  EXPECT_EQ(courses().liveCourseList(), std::vector<Keys>(6));
}

TEST_F(Reload, ListsOfTheWrongShapeAreHarmless) {
  signIn();
  putRecord(courses().cloudCourseFolder(), 5);
  putList(courses().cloudCourseListFile(), {5, "5", json::array{"5"}, json::object{}});
  putList(courses().liveCourseListFile(), {"1", 2, json::object{}});
  comeBack();
  EXPECT_EQ(courses().cloudCourseList(), Keys{"5"});
  EXPECT_EQ(courses().liveCourseList(), std::vector<Keys>(6));
}

TEST_F(Reload, WorksWithoutADisk) {
  listRooms(100, 98);
  signIn();
  platform.files().failAlways();
  signInAs("100003", "5001");
  EXPECT_EQ(courses().cloudCourseFolder(), std::nullopt);
  EXPECT_EQ(getCourses(0, 3), (Answer{true, 3}));
  EXPECT_EQ(courses().getRecordCourseWithIndex(0)->title, "课程 100");
}

TEST_F(Reload, IsDoneOncePerRegistrationOfTheManager) {
  courses().init();
  courses().setContainTest(true);
  courses().setLastValidCourse("7");
  courses().init();
  EXPECT_FALSE(courses().containTest());
  EXPECT_EQ(courses().currentUserID(), 0);
  EXPECT_EQ(courses().lastValidCourse(), "7");
}

}  // namespace

}  // namespace orv::reload_test
