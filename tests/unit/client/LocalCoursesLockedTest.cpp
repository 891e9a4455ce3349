// Local courses on the real platform, while another program keeps their list locked and the user changes.

#include <orvnetwork/client/LocalCourses.h>
#include <orvnetwork/client/PendingCallback.h>
#include <orvnetwork/course/OrvCourseModel.h>
#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/data/Types.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/LockFile.h>
#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/platform/PropertyListFile.h>
#include <orvnetwork/platform/native/files/NativeFileSystem.h>
#include <orvnetwork/session/OrvUserInfoModel.h>
#include <orvnetwork/session/QXUserInfoMgr.h>

#include <tests/support/PassingFiles.h>

#include <gtest/gtest.h>
#include <poll.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orv::local_courses_locked_test {
namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr std::chrono::seconds kLongest{60};
/// So long is waited for the other program, in the place of 2 s: who waits for who waits comes too late for certain.
constexpr Seconds kPatience{15};

/// Tells when it is waited for, once it is armed. In a hurry nobody waits.
struct Waits {
  std::atomic<bool> isArmed = false, isWaiting = false, isInAHurry = false;
  std::promise<void> begun;
};

/// The real lock, with much patience.
class PatientLock final : public LockFile {
 public:
  PatientLock(std::unique_ptr<LockFile> lock, Waits& waits) : lock_(std::move(lock)), waits_(waits) {}
  bool lock(Seconds limit) override {
    if (!waits_.isArmed.exchange(false)) return lock_->lock(waits_.isInAHurry ? Seconds(0) : limit);
    waits_.isWaiting = true;
    waits_.begun.set_value();
    const bool isOurs = lock_->lock(kPatience);
    waits_.isWaiting = false;
    return isOurs;
  }
  void unlock() override { lock_->unlock(); }
  bool reserve(std::uint64_t number) override { return lock_->reserve(number); }

 private:
  const std::unique_ptr<LockFile> lock_;
  Waits& waits_;
};

class LockedFiles final : public test::PassingFiles {
 public:
  using test::PassingFiles::PassingFiles;
  std::unique_ptr<LockFile> openLockFile(const std::string& path, unsigned mode) override {
    auto lock = test::PassingFiles::openLockFile(path, mode);
    return lock ? std::make_unique<PatientLock>(std::move(lock), waits) : nullptr;
  }

  Waits waits;
};

class LocalCoursesLocked : public ::testing::Test {
 protected:
  LocalCoursesLocked() {
    Console::setSink([](std::string_view) {});
    Platform::install(std::unique_ptr<Platform>(&platform));
    MainQueue::instance().claim();
    QXCourseManager::getInstance();
    storeUser("11");
    courses = std::make_unique<LocalCourses>();
  }
  ~LocalCoursesLocked() override { Console::setSink(nullptr); }

  static void storeUser(const std::string& uID) {
    QXUserInfoMgr::getInstance().setUserInfo(makeRecord<OrvUserInfoModel>(
        json::object{{"uID", uID}, {"token", "t"}, {"classroom", "5"}, {"classroominfo", {{"id", "5"}}}}));
  }
  static std::shared_ptr<OrvCourseModel> makeLocal(std::int64_t roomID) {
    return makeRecord<OrvCourseModel>(json::object{{"roomID", roomID}, {"orv_local", true}});
  }
  static void pumpUntil(const std::function<bool()>& done) {
    const auto end = SteadyClock::now() + kLongest;
    while (!done() && SteadyClock::now() < end) {
      ::pollfd wait{MainQueue::instance().wakeUpDescriptor(), POLLIN, 0};
      ::poll(&wait, 1, 20);
      MainQueue::instance().drain();
    }
    ASSERT_TRUE(done());
  }
  /// What a course that is made now comes to.
  void create(std::optional<LocalCourses::Answer>& answer) {
    making = courses->create({{"title", "Algebra"}}).then([&](const auto& made) { answer = made; });
  }
  Waits& waits() { return platform.files().waits; }

  test::PlatformWithFiles<LockedFiles>& platform =
      *new test::PlatformWithFiles<LockedFiles>;  // Never destroyed, once installed.
  std::unique_ptr<LocalCourses> courses;
  PendingCallback making;
};

TEST_F(LocalCoursesLocked, LookingACourseUpDoesNotWaitForAnotherProgram) {
  QXCourseManager& manager = QXCourseManager::getInstance();
  const auto course = manager.createLocalCourse();
  ASSERT_TRUE(manager.addLocalCourse(course));
  // Those of the managers, which other threads may call too.
  const std::vector<std::function<void()>> changes{
      [&] { manager.createLocalCourse(); },
      [&] { manager.addLocalCourse(course); },
      [&] { manager.refreshLocalCourse(course); },
      [&] { manager.saveLocalCourse(course); },
      [&] { manager.deleteLocalCourseWithRoomID(1); },
      [&] { manager.deleteLocalCourse(std::make_shared<OrvCourseModel>()); },
  };
  for (const auto& change : changes) {
    auto theirs = NativeFileSystem().openLockFile(*manager.localCourseListFile() + ".lock", 0600);
    ASSERT_TRUE(theirs && theirs->lock(kPatience));
    waits().begun = {};
    waits().isArmed = true;
    auto changing = std::async(std::launch::async, change);
    waits().begun.get_future().wait();
    EXPECT_EQ(manager.getLocalCourseWithIndex(0), course);
    EXPECT_EQ(manager.getRecordCourseWithIndex(0), nullptr);
    EXPECT_TRUE(waits().isWaiting) << "the other program was still being waited for";
    theirs.reset();
    changing.get();
  }
}

TEST_F(LocalCoursesLocked, LookingACourseUpDoesNotWaitWhileAListIsWrittenThatCouldNotBe) {
  QXCourseManager& manager = QXCourseManager::getInstance();
  ASSERT_TRUE(manager.addLocalCourse(makeLocal(1)));
  const std::string path = manager.localCourseListFile().value();
  auto theirs = NativeFileSystem().openLockFile(path + ".lock", 0600);
  ASSERT_TRUE(theirs && theirs->lock(kPatience));
  waits().isInAHurry = true;
  const auto course = makeLocal(2);
  ASSERT_TRUE(manager.addLocalCourse(course));
  EXPECT_EQ(readArrayFile(path), json::array{"1"});
  waits().isArmed = true;
  waits().begun.get_future().wait();  // A worker has come to write it.
  EXPECT_EQ(manager.getLocalCourseWithIndex(0), course);
  EXPECT_TRUE(waits().isWaiting) << "the other program was still being waited for";
  theirs.reset();
  pumpUntil([&] { return readArrayFile(path) == json::array{"2", "1"}; });
}

TEST_F(LocalCoursesLocked, ChangingTheUserDoesNotWaitForAnotherProgram) {
  std::optional<LocalCourses::Answer> first, second, third;
  create(first);
  pumpUntil([&] { return first.has_value(); });
  ASSERT_TRUE(*first) << first->error().description;
  // The lock of another program, which this one's own descriptor does not share.
  const auto path = QXCourseManager::getInstance().localCourseListFile();
  auto theirs = NativeFileSystem().openLockFile(*path + ".lock", 0600);
  ASSERT_TRUE(theirs && theirs->lock(Seconds(0)));
  waits().isArmed = true;
  create(second);
  waits().begun.get_future().wait();
  storeUser("22");
  EXPECT_TRUE(waits().isWaiting) << "the main thread has come through while the other program was waited for";
  theirs.reset();
  pumpUntil([&] { return second.has_value(); });
  ASSERT_FALSE(*second);
  EXPECT_EQ(localCourseTroubleOf(second->error()), LocalCourseTrouble::OtherUser);
  EXPECT_TRUE(QXCourseManager::getInstance().localCourseList().empty())
      << "no course lands with another user";

  // The lock is free again when the work is done, for others and for the next one.
  storeUser("11");
  theirs = NativeFileSystem().openLockFile(*path + ".lock", 0600);
  ASSERT_TRUE(theirs && theirs->lock(kPatience));
  theirs.reset();
  create(third);
  pumpUntil([&] { return third.has_value(); });
  ASSERT_TRUE(*third) << third->error().description;
  EXPECT_EQ(QXCourseManager::getInstance().localCourseList().size(), 2u);
}

TEST_F(LocalCoursesLocked, ThatIsSoForTheUserWhoHasComeMeanwhileToo) {
  QXCourseManager& manager = QXCourseManager::getInstance();
  const auto listFileOf = [&](const char* user) {
    storeUser(user);
    return manager.localCourseListFile().value();
  };
  auto ofNext = NativeFileSystem().openLockFile(listFileOf("22") + ".lock", 0600);
  auto ofFirst = NativeFileSystem().openLockFile(listFileOf("11") + ".lock", 0600);
  ASSERT_TRUE(ofNext && ofNext->lock(kPatience) && ofFirst && ofFirst->lock(kPatience));
  waits().isArmed = true;
  auto changing = std::async(std::launch::async, [&] { manager.addLocalCourse(makeLocal(1)); });
  waits().begun.get_future().wait();
  storeUser("22");
  waits().begun = {};
  waits().isArmed = true;
  ofFirst.reset();
  waits().begun.get_future().wait();
  EXPECT_EQ(manager.getLocalCourseWithIndex(0), nullptr);
  EXPECT_TRUE(waits().isWaiting) << "the program that has the next user's list was still being waited for";
  ofNext.reset();
  changing.get();
  EXPECT_EQ(manager.localCourseList(), QXCourseManager::Keys{"1"});
}

TEST_F(LocalCoursesLocked, CourseOfAUserWhoWentAndCameBackIsMade) {
  auto theirs =
      NativeFileSystem().openLockFile(*QXCourseManager::getInstance().localCourseListFile() + ".lock", 0600);
  ASSERT_TRUE(theirs && theirs->lock(kPatience));
  std::optional<LocalCourses::Answer> made;
  waits().isArmed = true;
  create(made);
  waits().begun.get_future().wait();
  storeUser("22");
  storeUser("11");
  theirs.reset();
  pumpUntil([&] { return made.has_value(); });
  ASSERT_TRUE(*made) << made->error().description;
  EXPECT_EQ(QXCourseManager::getInstance().localCourseList().size(), 1u);
}

}  // namespace
}  // namespace orv::local_courses_locked_test
