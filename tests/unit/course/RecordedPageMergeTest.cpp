// What others do while the files of a page are read and written, with real threads.

#include <orvnetwork/course/detail/RecordedPageMerge.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/platform/PropertyListFile.h>
#include <orvnetwork/platform/Semaphore.h>

#include <tests/support/PassingFiles.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>

namespace orv::recorded_page_merge_test {

namespace {

constexpr std::int64_t kCourses = 300;

/// The real files. The thread that merges waits a little at each record that it reads or writes, until what goes on beside
/// it is over: in all some seconds, if that does not come in between.
class PatientFiles final : public test::PassingFiles {
 public:
  using test::PassingFiles::PassingFiles;
  std::optional<std::string> read(const std::string& path, std::error_code& error) override {
    waitALittle();
    return test::PassingFiles::read(path, error);
  }
  void endWaiting() {
    const std::lock_guard lock(mutex_);
    isOver_ = true;
    over_.notify_all();
  }

  std::atomic<std::thread::id> merging{};
  std::atomic<std::int64_t> looks = 0;
  std::promise<void> begun;

 private:
  void waitALittle() {
    if (merging != std::this_thread::get_id()) return;
    if (++looks == 1) begun.set_value();
    std::unique_lock lock(mutex_);
    over_.wait_for(lock, std::chrono::milliseconds(20), [this] { return isOver_; });
  }

  std::mutex mutex_;
  std::condition_variable over_;
  bool isOver_ = false;
};

class RecordedPageMerge : public ::testing::Test {
 protected:
  RecordedPageMerge() {
    Console::setSink([](std::string_view) {});
    Platform::install(std::unique_ptr<Platform>(&platform));
    catalogue.dataSemaphore = std::make_shared<Semaphore>(1);
    catalogue.open("first", 7);
    catalogue.ensureLoaded();
    for (std::int64_t room = kCourses; room >= 1; --room) {
      items.push_back(json::object{{"roomID", room}, {"title", "new"}, {"status", 1}});
    }
  }
  ~RecordedPageMerge() override { Console::setSink(nullptr); }

  void putAllOnDisk() {
    for (std::int64_t room = kCourses; room >= 1; --room) {
      OrvCourseModel course;
      course.roomID = room;
      catalogue.cloud.files().write(std::to_string(room), course);
      catalogue.cloud.list().append(std::to_string(room));
    }
  }
  /// Merges the page while `beside` runs on a thread of its own, which begins with the merge's first look at a record's
  /// file.
  template <typename Beside>
  bool mergeWhile(Beside beside) {
    platform.files().merging = std::this_thread::get_id();
    CatalogueLock lock(catalogue);
    CatalogueSteps steps(catalogue, lock);
    std::thread other([&] {
      platform.files().begun.get_future().wait();
      beside();
      looksByThen = platform.files().looks;
      platform.files().endWaiting();
    });
    const bool isLast = mergeRecordedPage(catalogue, {.page = 1}, items, steps);
    lock.giveWay();
    other.join();
    return isLast;
  }

  test::PlatformWithFiles<PatientFiles>& platform =
      *new test::PlatformWithFiles<PatientFiles>;  // Never destroyed.
  Catalogue catalogue;
  json::array items;
  std::int64_t looksByThen = 0;
};

TEST_F(RecordedPageMerge, LookUpComesBetweenTheRecordsThatAreRead) {
  putAllOnDisk();
  mergeWhile([&] { const CatalogueLock lock(catalogue); });
  EXPECT_LT(looksByThen, kCourses / 2) << "it has waited until the page was merged";
  EXPECT_EQ(platform.files().looks, 2 * kCourses + 1) << "read, compared and written, and the list compared";
  EXPECT_EQ(catalogue.cloud.find("1")->title, "new");
}

TEST_F(RecordedPageMerge, LookUpComesBetweenTheRecordsThatAreWrittenAndFindsThemAll) {
  std::size_t found = 0;
  mergeWhile([&] {
    const CatalogueLock lock(catalogue);
    found = static_cast<std::size_t>(
        catalogue.cloud.visit(0, 0, kCourses, [](const std::string&, const auto&) { return true; }));
  });
  EXPECT_EQ(found, kCourses);
  EXPECT_LT(looksByThen, kCourses / 2) << "it has waited until the page was written";
  EXPECT_EQ(catalogue.cloud.files().names()->size(), kCourses + 1u) << "the records and the list";
}

TEST_F(RecordedPageMerge, AnotherCatalogueEndsIt) {
  const std::string folder = catalogue.cloud.files().folder().value();
  mergeWhile([&] {
    const CatalogueLock lock(catalogue);
    catalogue.open("second", 8);
  });
  EXPECT_LT(platform.files().looks, kCourses) << "it was written to its end";
  EXPECT_EQ(catalogue.cloud.size(), 0u) << "nothing of the one user's is in the other one's list";
  EXPECT_NE(catalogue.cloud.files().folder(), folder);
  EXPECT_EQ(catalogue.cloud.files().names()->size(), 0u);
}

}  // namespace

}  // namespace orv::recorded_page_merge_test
