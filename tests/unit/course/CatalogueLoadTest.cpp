// The reading of the lists on a disk that takes its time, with real threads.

#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/session/QXUserInfoMgr.h>

#include <tests/support/PassingFiles.h>
#include <tests/unit/course/SevenSignedIn.h>

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace orv::catalogue_load_test {

namespace {

/// The real files, but a list whose path holds "/slow/" is not read before it is let go.
class SlowFiles final : public test::PassingFiles {
 public:
  using test::PassingFiles::PassingFiles;
  std::optional<std::string> read(const std::string& path, std::error_code& error) override {
    if (path.find("/slow/local/localCourse.plist") != std::string::npos && !told_.exchange(true)) {
      reading.set_value();
      letGo.get_future().wait();
    }
    return test::PassingFiles::read(path, error);
  }

  std::promise<void> reading, letGo;

 private:
  std::atomic<bool> told_ = false;
};

class CatalogueLoad : public ::testing::Test {
 protected:
  CatalogueLoad() {
    Console::setSink([](std::string_view) {});
    Platform::install(std::unique_ptr<Platform>(&platform));
    MainQueue::instance().claim();
    for (const auto* classroom : {"slow", "quick"}) {
      const auto folder =
          std::filesystem::path(std::getenv("HOME")) / "Documents/orv_course/7" / classroom / "local";
      std::filesystem::create_directories(folder);
      std::ofstream(folder / "localCourse.plist")
          << "<plist version=\"1.0\"><array><string>" << (*classroom == 's' ? "1" : "2")
          << "</string></array></plist>";
    }
  }
  test::PlatformWithFiles<SlowFiles>& platform =
      *new test::PlatformWithFiles<SlowFiles>;  // Never destroyed, once installed.
  QXCourseManager& manager() { return QXCourseManager::getInstance(); }
};

TEST_F(CatalogueLoad, UserChangesWithoutWaitingForListsThatAreBeingRead) {
  manager();
  signSevenIn("slow");
  platform.files().reading.get_future().wait();  // A worker is at it, and stays there.
  signSevenIn("quick");
  EXPECT_EQ(manager().currentClassroomID(), "quick");
  platform.files().letGo.set_value();
  EXPECT_EQ(manager().localCourseList(), std::vector<std::string>{"2"});
  EXPECT_NE(manager().localCourseFolder()->find("/7/quick/"), std::string::npos);
  signSevenIn("slow");
  EXPECT_EQ(manager().localCourseList(), std::vector<std::string>{"1"});
}

TEST_F(CatalogueLoad, OperationsWaitForTheListsWithoutHoldingTheCatalogue) {
  manager();
  signSevenIn("slow");
  platform.files().reading.get_future().wait();
  auto added = std::async(std::launch::async, [this] { return manager().createLocalCourse() != nullptr; });
  auto counted = std::async(std::launch::async, [this] { return manager().getLocalCourseCount(); });
  const auto semaphore = manager().dataSemaphore();
  semaphore->wait();
  semaphore->signal();
  platform.files().letGo.set_value();
  EXPECT_TRUE(added.get());
  EXPECT_EQ(counted.get(), 1u);
}

}  // namespace

}  // namespace orv::catalogue_load_test
