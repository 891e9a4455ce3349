#include <orvnetwork/session/QXUserInfoMgr.h>

#include "tests/unit/course/LocalFixture.h"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace orv::catalogue_folders_test {

namespace {

using testing::FileOperation;

class CatalogueFolders : public LocalFixture {
 protected:
  static constexpr const char* kRoot = "/home/user/Documents/orv_course";

  void openAs(const OptionalString& uID, const OptionalString& classroom) {
    auto user = makeUser();
    user->uID = uID;
    user->classroom = classroom;
    QXUserInfoMgr::getInstance().setUserInfo(user);
  }
  static std::string base() {
    const std::string local = folder();
    EXPECT_TRUE(local.ends_with("/local"));
    return local.substr(0, local.size() - 6);
  }
  /// All that lies outside the catalogues' folder.
  std::map<std::string, std::string> outside() const {
    auto files = platform.files().snapshot();
    std::erase_if(files, [](const auto& file) { return file.first.starts_with(std::string(kRoot) + "/"); });
    return files;
  }
};

TEST_F(CatalogueFolders, ThreeFoldersWithTheirLists) {
  openAs("100001", "5001");
  const std::string root = std::string(kRoot) + "/100001/5001";
  EXPECT_EQ(courses().localCourseFolder(), root + "/local");
  EXPECT_EQ(courses().cloudCourseFolder(), root + "/cloud");
  EXPECT_EQ(courses().liveCourseFolder(), root + "/live");
  EXPECT_EQ(courses().localCourseListFile(), root + "/local/localCourse.plist");
  EXPECT_EQ(courses().cloudCourseListFile(), root + "/cloud/cloudCourse.plist");
  EXPECT_EQ(courses().liveCourseListFile(), root + "/live/liveCourses.plist");
}

TEST_F(CatalogueFolders, AreRidOfWhatProcessesHaveLeftThatEndedTooEarly) {
  courses();
  settle();
  const std::string root = std::string(kRoot) + "/100001/5001";
  const std::string incomplete = "/.orv-0123456789abcdef.tmp";
  for (const char* kind : {"/local", "/cloud", "/live"}) {
    platform.files().put(root + kind + incomplete, "half a file");
    platform.files().put(root + kind + "/mine.tmp", "somebody's own");
  }
  platform.files().put(root + "/local/.orv-0123456789abcdef.deleted/mp4/1.mp4", "film");
  platform.files().put(std::string(kRoot) + "/public/local" + incomplete, "half a file");
  openAs("100001", "5001");
  settle();
  std::vector<std::string> left;
  for (const auto& [path, bytes] : platform.files().snapshot()) {
    const bool isTemporary = path.ends_with(".tmp") || path.find(".deleted") != std::string::npos;
    if (isTemporary) left.push_back(path);
  }
  EXPECT_EQ(left, (std::vector<std::string>{root + "/cloud/mine.tmp", root + "/live/mine.tmp",
                                            root + "/local/mine.tmp",
                                            std::string(kRoot) + "/public/local" + incomplete}))
      << "what lies in another catalogue waits until that one is opened";
}

TEST_F(CatalogueFolders, AreClosedToOtherUsers) {
  openAs("100001", "5001");
  const std::string root = base();
  for (const std::string& folder : {std::string(kRoot), root + "/local", root + "/cloud", root + "/live"}) {
    EXPECT_EQ(platform.files().mode(folder), 0700u) << folder;
  }
  EXPECT_EQ(platform.files().mode("/home/user/Documents"), 0755u) << "this one is the user's own affair";
}

TEST_F(CatalogueFolders, AreClosedToOtherUsersAtEveryLevel) {
  openAs("100001", "5001");
  EXPECT_EQ(base(), std::string(kRoot) + "/100001/5001");
  QXUserInfoMgr::getInstance().setUserInfo(nullptr);
  EXPECT_EQ(base(), std::string(kRoot) + "/public");
  for (const char* folder : {"/100001", "/100001/5001", "/public", "/public/local"}) {
    EXPECT_EQ(platform.files().mode(kRoot + std::string(folder)), 0700u) << folder;
  }
}

TEST_F(CatalogueFolders, EachUserAndClassroomHasItsOwn) {
  openAs("1", "5001");
  add(7, "of the first");
  openAs("2", "5001");
  EXPECT_EQ(courses().getLocalCourseCount(), 0u);
  openAs("1", "5002");
  EXPECT_EQ(courses().getLocalCourseCount(), 0u);
  QXUserInfoMgr::getInstance().setUserInfo(nullptr);
  EXPECT_EQ(base(), std::string(kRoot) + "/public");
  EXPECT_EQ(courses().getLocalCourseCount(), 0u);
  add(7, "nobody's");
  openAs("1", "5001");
  EXPECT_EQ(courses().getLocalCourseWithRoomID(7)->title, "of the first");
}

struct Hostile {
  OptionalString uID, classroom;
  std::string base;
};

class HostileNames : public CatalogueFolders, public ::testing::WithParamInterface<Hostile> {};

TEST_P(HostileNames, StayInsideTheCatalogues) {
  const Hostile& hostile = GetParam();
  const auto before = outside();
  openAs(hostile.uID, hostile.classroom);
  EXPECT_EQ(base(), std::string(kRoot) + hostile.base);
  add(7);
  EXPECT_TRUE(hasRecord(7));
  courses().deleteLocalCourseWithRoomID(7);
  auto after = outside();
  std::erase_if(after, [](const auto& file) { return file.first.find("/userInfo/") != std::string::npos; });
  EXPECT_EQ(after, before);
}

INSTANTIATE_TEST_SUITE_P(
    Names, HostileNames,
    ::testing::Values(Hostile{"../..", "../..", "/..%2F../..%2F.."}, Hostile{"..", ".", "/%2E%2E/%2E"},
                      Hostile{"a/b", "/etc", "/a%2Fb/%2Fetc"}, Hostile{"...", "..a", "/.../..a"},
                      Hostile{"", "5001", "/5001"}, Hostile{"1", "", "/1"}, Hostile{"", "", ""},
                      Hostile{std::string("a\0b", 3), std::string("\0", 1), "/a%00b/%00"},
                      Hostile{std::nullopt, std::nullopt, "/(null)/(null)"},
                      Hostile{"%2E%2E", "%2F", "/%2E%2E/%2F"}, Hostile{"教室", " ", "/教室/ "}));

TEST_F(CatalogueFolders, NameThatIsTooLongGivesACatalogueWithoutFolders) {
  openAs(std::string(300, 'u'), "5001");
  EXPECT_EQ(courses().localCourseFolder(), std::nullopt);
  const Course course = add(7);
  EXPECT_EQ(courses().getLocalCourseWithRoomID(7), course);
}

// When the lists are read ----------------------------------------------------------------------------------------

TEST_F(CatalogueFolders, ChangingTheUserTouchesNoFileOnTheCallersThread) {
  courses();
  settle();
  openAs("1", "5001");  // The user file itself.
  settle();
  const auto calls = platform.files().calls();
  courses().setCurrentUserID(-1);
  courses().reload();
  EXPECT_EQ(platform.files().calls(), calls);
  settle();
  EXPECT_GT(platform.files().calls(), calls) << "a worker has read them";
}

TEST_F(CatalogueFolders, WorkerAndFirstCallerFindTheSame) {
  openAs("1", "5001");
  addRooms(1, 3);
  const auto look = [] { return std::pair(courses().localCourseList(), courses().courseQueue()); };
  const std::vector<std::function<void()>> callers = {
      [] { EXPECT_EQ(courses().getLocalCourseCount(), 3u); },
      [] { EXPECT_NE(courses().getLocalCourseWithIndex(2), nullptr); },
      [] { EXPECT_FALSE(courses().addLocalCourse(makeLocal(3))); },
      [] { EXPECT_EQ(courses().localCourseList().size(), 3u); },
      [this] { settle(); },
  };
  for (const auto& caller : callers) {
    courses().setCurrentUserID(-1);
    courses().reload();
    caller();
    const auto seen = look();
    EXPECT_EQ(seen.first, keysDown(3, 1));
    // But for its look for what is to be tidied away, the worker, where it comes too late, reads nothing again.
    const auto reads = [this] {
      return platform.files().calls() - platform.files().calls(FileOperation::List);
    };
    const auto before = reads();
    settle();
    EXPECT_EQ(look(), seen);
    EXPECT_EQ(reads(), before);
  }
}

TEST_F(CatalogueFolders, CatalogueThatIsChangedAgainBeforeItWasReadIsNeverRead) {
  courses();
  settle();
  platform.holdGlobalQueue(true);
  openAs("1", "5001");
  openAs("2", "5001");
  platform.holdGlobalQueue(false);
  settle();
  EXPECT_FALSE(platform.files().folders().contains(std::string(kRoot) + "/1/"));
  EXPECT_TRUE(platform.files().folders().contains(std::string(kRoot) + "/2/5001/local/"));
}

TEST_F(CatalogueFolders, WhatIsToldWithoutTheSemaphoreDoesNotWaitForIt) {
  add(1);
  courses().setCloudCourseList({"1", "2"});
  const auto semaphore = courses().dataSemaphore();
  ASSERT_TRUE(semaphore->tryWait());
  EXPECT_EQ(courses().getLocalCourseCount(), 1u);
  EXPECT_EQ(courses().getRecordCourseCount(), 2u);
  EXPECT_EQ(courses().getLiveCourseCountWithStatus(1), 0u);
  EXPECT_TRUE(courses().containCourse(makeLocal(1)));
  EXPECT_EQ(courses().localCourseList(), Keys{"1"});
  EXPECT_EQ(courses().localCourseDict().size(), 1u);
  EXPECT_EQ(courses().courseQueue(), Keys{"l-1"});
  courses().refreshRecordCourse_keepFront(makeLocal(1), true);
  courses().dequeueRecoedCourse_isLocal("1", true);
  courses().removeOverMuchRecordCourse();
  semaphore->signal();
  EXPECT_TRUE(courses().courseQueue().empty());
}

TEST_F(CatalogueFolders, CountsAreReadLazilyWithoutTheSemaphoreToo) {
  addRooms(1, 3);
  startAnew();
  const auto semaphore = courses().dataSemaphore();
  ASSERT_TRUE(semaphore->tryWait());
  EXPECT_EQ(courses().getLocalCourseCount(), 3u);
  semaphore->signal();
}

TEST_F(CatalogueFolders, SemaphoreIsGivenBackOnEveryWayOut) {
  const auto isFree = [] {
    const auto semaphore = courses().dataSemaphore();
    const bool free = semaphore->tryWait();
    if (free) semaphore->signal();
    const bool once = free && semaphore->tryWait() && !semaphore->tryWait();
    if (free) semaphore->signal();
    return once;
  };
  const Course listed = add(1);
  for (const Course& course : {Course(), listed, makeLocal(0), makeLocal(2), makeCloud(1)}) {
    courses().createLocalCourse();
    EXPECT_TRUE(isFree());
    courses().saveLocalCourse(course);
    EXPECT_TRUE(isFree());
    courses().refreshLocalCourse(course);
    EXPECT_TRUE(isFree());
    courses().refreshRecordCourse(course);
    EXPECT_TRUE(isFree());
    courses().containCourse(course);
    EXPECT_TRUE(isFree());
    courses().deleteCloudCourse(course);
    EXPECT_TRUE(isFree());
    courses().deleteLocalCourse(course);
    EXPECT_TRUE(isFree());
    courses().addLocalCourse(course);
    EXPECT_TRUE(isFree());
  }
  for (const std::int64_t room : {-1, 0, 1, 7}) {
    courses().getLocalCourseWithRoomID(room);
    courses().deleteLocalCourseWithRoomID(room);
    EXPECT_TRUE(isFree());
  }
  courses().getLocalCourseWithIndex(0);
  courses().getLocalCourseWithIndex(99);
  courses().getRecordCourseWithIndex(0);
  courses().reload();
  courses().reload();
  EXPECT_TRUE(isFree());
}

TEST_F(CatalogueFolders, FolderThatCannotBeListedDoesNotEmptyTheListsOnTheDisk) {
  openAs("1", "5001");
  const std::string cloud = courses().cloudCourseFolder().value();
  const std::string lives = courses().liveCourseFolder().value();
  for (const auto& in : {cloud, lives}) {
    writePropertyListFile(in + "/8.plist", makeCloud(8)->jsonObject(), Durability::Plain);
  }
  writePropertyListFile(cloud + "/cloudCourse.plist", json::array{"8"}, Durability::Plain);
  writePropertyListFile(lives + "/liveCourses.plist", json::array{json::array{"8"}}, Durability::Plain);
  const auto before = platform.files().snapshot();
  courses().setCurrentUserID(-1);
  courses().reload();
  platform.files().failAlways(FileOperation::List);
  EXPECT_EQ(courses().getRecordCourseCount(), 0u);
  platform.files().clearFailures();
  EXPECT_EQ(platform.files().snapshot(), before);
  courses().setCurrentUserID(-1);
  courses().reload();
  EXPECT_EQ(courses().getRecordCourseCount(), 1u);
  EXPECT_EQ(courses().getLiveCourseCountWithStatus(0), 1u);
}

}  // namespace

}  // namespace orv::catalogue_folders_test
