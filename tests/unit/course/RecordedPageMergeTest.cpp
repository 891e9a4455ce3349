// What others do while the files of a page are read and written, with real threads.

#include <orvnetwork/course/CourseChange.h>
#include <orvnetwork/course/detail/MergedKeys.h>
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
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

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
  bool writeAtomically(const std::string& path, std::string_view bytes, Durability durability, unsigned mode,
                       std::error_code& error) override {
    if (path.ends_with("cloudCourse.plist") && whileListIsWritten) std::exchange(whileListIsWritten, {})();
    return test::PassingFiles::writeAtomically(path, bytes, durability, mode, error);
  }
  void endWaiting() {
    const std::lock_guard lock(mutex_);
    isOver_ = true;
    over_.notify_all();
  }

  std::atomic<std::thread::id> merging{};
  std::atomic<std::int64_t> looks = 0;
  std::promise<void> begun;
  std::function<void()> whileListIsWritten;

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
  void mergeWhile(Beside beside) {
    platform.files().merging = std::this_thread::get_id();
    std::thread other([&] {
      platform.files().begun.get_future().wait();
      beside();
      looksByThen = platform.files().looks;
      platform.files().endWaiting();
    });
    merge();
    other.join();
  }
  /// The same with the list's file: the writing goes on when that is over, or has waited for too long.
  template <typename Beside>
  bool mergeWhileTheListIsWritten(Beside beside) {
    bool hasCome = false;
    std::future<void> other;
    platform.files().whileListIsWritten = [&] {
      other = std::async(std::launch::async, beside);
      hasCome = other.wait_for(std::chrono::seconds(10)) == std::future_status::ready;
    };
    merge();
    other.get();
    return hasCome;
  }
  void merge() {
    CatalogueLock lock(catalogue);
    CatalogueSteps steps(catalogue, lock);
    UnmergedPage unmerged(catalogue.paging);
    mergeRecordedPage(catalogue, {.page = 1}, items, steps, unmerged);
  }
  std::optional<json::array> listOnDisk() {
    return readArrayFile(catalogue.cloud.files().listFile().value());
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

TEST_F(RecordedPageMerge, PageIsInTheListAndNobodyWaitsForItWhileItsFilesAreWritten) {
  std::size_t listed = 0, unmerged = 1;
  mergeWhile([&] {
    const CatalogueLock lock(catalogue);
    listed = catalogue.cloud.size();
    unmerged = catalogue.paging.unmerged;
  });
  EXPECT_EQ(listed, static_cast<std::size_t>(kCourses));
  EXPECT_EQ(unmerged, 0u);
}

TEST_F(RecordedPageMerge, IsToldWhenAllRecordsSayWhatThePageSays) {
  putAllOnDisk();
  OptionalString lastTitle;
  int told = 0;
  const ObserverToken token = catalogue.news.observe(std::nullopt, [&](const Notification& posted) {
    ++told;
    EXPECT_EQ(static_cast<const CourseChange*>(posted.object)->what, CourseChange::What::Page);
    lastTitle = catalogue.cloud.find("1")->title;
  });
  mergeWhile([] {});
  EXPECT_EQ(told, 1);
  EXPECT_EQ(lastTitle, "new");
}

TEST_F(RecordedPageMerge, LookUpComesWhileTheListIsWritten) {
  EXPECT_TRUE(mergeWhileTheListIsWritten([&] { const CatalogueLock lock(catalogue); }));
  EXPECT_EQ(listOnDisk(), asArray(catalogue.cloud.list().snapshot()));
}

TEST_F(RecordedPageMerge, ListThatIsChangedAndWrittenByOthersWhileItIsWrittenIsOnTheDiskAsTheyLeftIt) {
  EXPECT_TRUE(mergeWhileTheListIsWritten([&] {
    const CatalogueLock lock(catalogue);
    catalogue.cloud.remove("7");
    catalogue.cloud.saveLists();
  }));
  EXPECT_FALSE(catalogue.cloud.contains("7"));
  EXPECT_EQ(listOnDisk(), asArray(catalogue.cloud.list().snapshot()));
}

TEST_F(RecordedPageMerge, CatalogueThatIsOpenedWhileTheListIsWrittenGetsNothingOfIt) {
  const std::string list = catalogue.cloud.files().listFile().value();
  int told = 0;
  const ObserverToken token = catalogue.news.observe(std::nullopt, [&](const auto&) { ++told; });
  EXPECT_TRUE(mergeWhileTheListIsWritten([&] {
    catalogue.open("second", 8);
    const CatalogueLock lock(catalogue);
  }));
  EXPECT_EQ(catalogue.cloud.size(), 0u);
  EXPECT_EQ(listOnDisk(), std::nullopt);
  EXPECT_EQ(readArrayFile(list)->size(), static_cast<std::size_t>(kCourses)) << "it is the first one's";
  EXPECT_EQ(told, 0);
}

TEST_F(RecordedPageMerge, ListWithAKeyThatIsNoNumberIsWrittenToo) {
  catalogue.cloud.list().append("no room");
  merge();
  EXPECT_EQ(listOnDisk(), asArray(catalogue.cloud.list().snapshot()));
}

TEST_F(RecordedPageMerge, AnotherCatalogueEndsIt) {
  const std::string folder = catalogue.cloud.files().folder().value();
  int told = 0;
  const ObserverToken token = catalogue.news.observe(std::nullopt, [&](const auto&) { ++told; });
  mergeWhile([&] {
    const CatalogueLock lock(catalogue);
    catalogue.open("second", 8);
  });
  EXPECT_LT(platform.files().looks, kCourses) << "it was written to its end";
  EXPECT_EQ(catalogue.cloud.size(), 0u) << "nothing of the one user's is in the other one's list";
  EXPECT_NE(catalogue.cloud.files().folder(), folder);
  EXPECT_EQ(catalogue.cloud.files().names()->size(), 0u);
  EXPECT_EQ(told, 0) << "it is nobody's page any more";
}

}  // namespace

}  // namespace orv::recorded_page_merge_test
