// The reading of the lists on a disk that takes its time, with real threads.

#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/FileSystem.h>
#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/platform/native/NativePlatform.h>
#include <orvnetwork/session/QXUserInfoMgr.h>

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <optional>
#include <string_view>
#include <thread>

namespace orv::catalogue_load_test {

namespace {

/// The real files, but a list whose path holds "/slow/" is not read before it is let go.
class SlowFiles final : public FileSystem {
 public:
  explicit SlowFiles(FileSystem& files) : files_(files) {}
  bool exists(const std::string& path) override { return files_.exists(path); }
  bool isDirectory(const std::string& path) override { return files_.isDirectory(path); }
  bool createDirectory(const std::string& path, bool intermediates, unsigned mode,
                       std::error_code& error) override {
    return files_.createDirectory(path, intermediates, mode, error);
  }
  bool writeAtomically(const std::string& path, std::string_view bytes, Durability durability, unsigned mode,
                       std::error_code& error) override {
    return files_.writeAtomically(path, bytes, durability, mode, error);
  }
  std::optional<std::string> read(const std::string& path, std::error_code& error) override {
    if (path.find("/slow/local/localCourse.plist") != std::string::npos && !told_.exchange(true)) {
      reading.set_value();
      letGo.get_future().wait();
    }
    return files_.read(path, error);
  }
  bool remove(const std::string& path, std::error_code& error) override { return files_.remove(path, error); }
  bool rename(const std::string& from, const std::string& to, std::error_code& error) override {
    return files_.rename(from, to, error);
  }
  std::optional<std::vector<std::string>> list(const std::string& path, std::error_code& error) override {
    return files_.list(path, error);
  }
  std::optional<std::uint64_t> fileSize(const std::string& path) override { return files_.fileSize(path); }
  std::unique_ptr<FileHandle> openForWriting(const std::string& path) override {
    return files_.openForWriting(path);
  }
  std::unique_ptr<FileHandle> openForAppending(const std::string& path, unsigned mode) override {
    return files_.openForAppending(path, mode);
  }
  std::unique_ptr<LockFile> openLockFile(const std::string& path, unsigned mode) override {
    return files_.openLockFile(path, mode);
  }

  std::promise<void> reading, letGo;

 private:
  FileSystem& files_;
  std::atomic<bool> told_ = false;
};

class SlowPlatform final : public Platform {
 public:
  Clock& clock() override { return inner_->clock(); }
  MainQueue& mainQueue() override { return inner_->mainQueue(); }
  Executor& globalQueue() override { return inner_->globalQueue(); }
  DelayService& delays() override { return inner_->delays(); }
  Reachability& reachability() override { return inner_->reachability(); }
  SlowFiles& files() override { return files_; }
  Directories& directories() override { return inner_->directories(); }
  std::uint32_t random() override { return inner_->random(); }
  std::shared_ptr<WebSocket> makeWebSocket(WebSocketRequest request) override {
    return inner_->makeWebSocket(std::move(request));
  }
  std::unique_ptr<BackgroundDrain> makeBackgroundDrain(std::function<void()> drain) override {
    return inner_->makeBackgroundDrain(std::move(drain));
  }
  std::string localeName() override { return inner_->localeName(); }
  TimeZonePtr timeZone() override { return inner_->timeZone(); }

 private:
  const std::unique_ptr<Platform> inner_ = makeNativePlatform();
  SlowFiles files_{inner_->files()};
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
  static void signIn(const std::string& classroom) {
    auto user = std::make_shared<OrvUserInfoModel>();
    user->uID = "7";
    user->classroom = classroom;
    user->classroominfo = std::make_shared<OrvClassroomInfo>();
    QXUserInfoMgr::getInstance().setUserInfo(user);
  }
  SlowPlatform& platform = *new SlowPlatform;  // Never destroyed, once installed.
  QXCourseManager& manager() { return QXCourseManager::getInstance(); }
};

TEST_F(CatalogueLoad, UserChangesWithoutWaitingForListsThatAreBeingRead) {
  manager();
  signIn("slow");
  platform.files().reading.get_future().wait();  // A worker is at it, and stays there.
  signIn("quick");
  EXPECT_EQ(manager().currentClassroomID(), "quick");
  platform.files().letGo.set_value();
  EXPECT_EQ(manager().localCourseList(), std::vector<std::string>{"2"});
  EXPECT_NE(manager().localCourseFolder()->find("/7/quick/"), std::string::npos);
  signIn("slow");
  EXPECT_EQ(manager().localCourseList(), std::vector<std::string>{"1"});
}

TEST_F(CatalogueLoad, OperationsWaitForTheListsWithoutHoldingTheCatalogue) {
  manager();
  signIn("slow");
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
