// Catalogues of many courses: how long the operations on local courses hold the catalogue, how look-ups by index
// grow, how many records stay in memory, and what a change of the user costs the main thread.
//
//   bench_CourseListBench
//
// The time that the disk takes is measured apart, so the figures of the library's own work do not depend on the disk.

#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/Executor.h>
#include <orvnetwork/platform/FileSystem.h>
#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/platform/PropertyListFile.h>

#include <tests/support/PassingFiles.h>

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace {

using namespace orv;
using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr std::int64_t kMany = 10'000;
constexpr std::int64_t kFew = 100;
constexpr double kLongestClosure = 2;  // ms

double since(Clock::time_point begin) {
  return Milliseconds(Clock::now() - begin).count();
}

thread_local double diskTime = 0;

/// Adds up the time that this thread spends in file operations.
class TimedFiles final : public test::PassingFiles {
  class Timed {
   public:
    Timed() = default;
    Timed(const Timed&) = delete;
    Timed& operator=(const Timed&) = delete;
    ~Timed() { diskTime += since(begin_); }

   private:
    const Clock::time_point begin_ = Clock::now();
  };

 public:
  using PassingFiles::PassingFiles;
  bool exists(const std::string& path) override {
    const Timed timed;
    return PassingFiles::exists(path);
  }
  bool isDirectory(const std::string& path) override {
    const Timed timed;
    return PassingFiles::isDirectory(path);
  }
  bool createDirectory(const std::string& path, bool intermediates, unsigned mode,
                       std::error_code& error) override {
    const Timed timed;
    return PassingFiles::createDirectory(path, intermediates, mode, error);
  }
  bool writeAtomically(const std::string& path, std::string_view bytes, Durability durability, unsigned mode,
                       std::error_code& error) override {
    const Timed timed;
    return PassingFiles::writeAtomically(path, bytes, durability, mode, error);
  }
  void removeLeftovers(const std::string& folder) override {
    const Timed timed;
    return PassingFiles::removeLeftovers(folder);
  }
  std::optional<std::string> read(const std::string& path, std::error_code& error) override {
    const Timed timed;
    return PassingFiles::read(path, error);
  }
  bool remove(const std::string& path, std::error_code& error) override {
    const Timed timed;
    return PassingFiles::remove(path, error);
  }
  bool rename(const std::string& from, const std::string& to, std::error_code& error) override {
    const Timed timed;
    return PassingFiles::rename(from, to, error);
  }
  std::optional<std::vector<std::string>> list(const std::string& path, std::error_code& error) override {
    const Timed timed;
    return PassingFiles::list(path, error);
  }
  std::optional<std::uint64_t> fileSize(const std::string& path) override {
    const Timed timed;
    return PassingFiles::fileSize(path);
  }
  std::unique_ptr<FileHandle> openForWriting(const std::string& path) override {
    const Timed timed;
    return PassingFiles::openForWriting(path);
  }
  std::unique_ptr<FileHandle> openForAppending(const std::string& path, unsigned mode) override {
    const Timed timed;
    return PassingFiles::openForAppending(path, mode);
  }
  std::unique_ptr<LockFile> openLockFile(const std::string& path, unsigned mode) override {
    const Timed timed;
    return PassingFiles::openLockFile(path, mode);
  }
};

/// Keeps what was posted until it is asked for.
class HeldTasks final : public Executor {
 public:
  void post(Task task) override {
    const std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
  }
  void runAll() {
    std::deque<Task> tasks;
    {
      const std::lock_guard lock(mutex_);
      tasks.swap(tasks_);
    }
    for (Task& task : tasks) task();
  }

 private:
  std::mutex mutex_;
  std::deque<Task> tasks_;
};

struct Figures {
  std::vector<double> own, disk;
};

/// Runs an operation many times. The catalogue is held for nearly all of each.
Figures measure(int rounds, const std::function<void(int)>& operation) {
  Figures figures;
  for (int round = 0; round < rounds; ++round) {
    diskTime = 0;
    const auto begin = Clock::now();
    operation(round);
    const double all = since(begin);
    figures.own.push_back(all - diskTime);
    figures.disk.push_back(diskTime);
  }
  std::ranges::sort(figures.own);
  std::ranges::sort(figures.disk);
  return figures;
}

void print(const char* what, const Figures& figures) {
  const auto median = [](const std::vector<double>& sorted) { return sorted[sorted.size() / 2]; };
  std::printf("  %-44s own work p50 %8.3f ms, longest %8.3f ms; the disk's p50 %7.3f, longest %7.3f\n", what,
              median(figures.own), figures.own.back(), median(figures.disk), figures.disk.back());
}

QXCourseManager::Course makeCourse(std::int64_t room, bool local) {
  auto course = std::make_shared<OrvCourseModel>();
  course->orv_local = local;
  course->roomID = room;
  course->liveType = 2;
  course->publishStatus = 99;
  course->title = "课程 " + std::to_string(room);
  course->coverUrl = "https://cdn.example.test/covers/" + std::to_string(room) + ".jpg";
  course->intro = "数学 第" + std::to_string(room) + "课";
  return course;
}

/// Fills a folder as an earlier life of the process would have left it.
void fill(const std::string& folder, const std::string& listFile, std::int64_t courses, bool local) {
  json::array keys;
  for (std::int64_t room = courses; room >= 1; --room) {
    const std::string key = std::to_string(room);
    keys.emplace_back(key);
    writePropertyListFile(folder + "/" + key + ".plist", makeCourse(room, local)->jsonObject(),
                          Durability::Plain, 0600);
  }
  writePropertyListFile(listFile, keys, Durability::Plain, 0600);
}

void measureLocal(QXCourseManager& manager, std::int64_t courses) {
  std::printf("%lld local courses\n", static_cast<long long>(courses));
  constexpr int kRounds = 200;
  manager.getLocalCourseCount();  // The list is read now.
  print("look-up by index, from its file", measure(50, [&](int i) {
          manager.getLocalCourseWithIndex(static_cast<std::uint64_t>(courses / 2 + i));
        }));
  print("look-up by index, in memory", measure(kRounds, [&](int i) {
          manager.getLocalCourseWithIndex(static_cast<std::uint64_t>(courses / 2 + i % 50));
        }));
  print("look-up by number, in memory",
        measure(kRounds, [&](int i) { manager.getLocalCourseWithRoomID(courses - courses / 2 - i % 50); }));
  print("create", measure(kRounds, [&](int) { manager.createLocalCourse(); }));
  print("add", measure(kRounds, [&](int i) { manager.addLocalCourse(makeCourse(1'000'000 + i, true)); }));
  print("add one that stands at the end",
        measure(kRounds, [&](int i) { manager.addLocalCourse(makeCourse(1 + i % 50, true)); }));
  print("refresh",
        measure(kRounds, [&](int i) { manager.refreshLocalCourse(makeCourse(1'000'000 + i, true)); }));
  print("save", measure(kRounds, [&](int i) { manager.saveLocalCourse(makeCourse(1'000'000 + i, true)); }));
  print("delete", measure(kRounds, [&](int i) { manager.deleteLocalCourseWithRoomID(1'000'000 + i); }));
  std::printf("  courses read or added since: %zu in memory", manager.localCourseDict().size());
  manager.removeOverMuchRecordCourse();
  std::printf(", %zu after a check\n", manager.localCourseDict().size());
}

/// A change of the user while nobody reads, and while a worker is reading the lists.
void measureReload(QXCourseManager& manager) {
  std::printf("change of the user with %lld recorded courses\n", static_cast<long long>(kMany));
  HeldTasks tasks;
  manager.setQueue(tasks);
  double longest = 0;
  print("main thread", measure(20, [&](int) {
          const auto begin = Clock::now();
          manager.reload();
          longest = std::max(longest, since(begin));
        }));
  tasks.runAll();
  print("the worker's reading of the lists", [&] {
    Figures all;
    for (int i = 0; i < 10; ++i) {
      manager.reload();
      const Figures one = measure(1, [&](int) { tasks.runAll(); });
      all.own.push_back(one.own.front());
      all.disk.push_back(one.disk.front());
    }
    std::ranges::sort(all.own);
    std::ranges::sort(all.disk);
    return all;
  }());
  Figures during;
  for (int i = 0; i < 40; ++i) {
    manager.reload();
    std::thread worker([&] { tasks.runAll(); });
    std::this_thread::sleep_for(std::chrono::microseconds(300 * (1 + i % 30)));
    const Figures one = measure(1, [&](int) { manager.reload(); });
    during.own.push_back(one.own.front());
    during.disk.push_back(one.disk.front());
    longest = std::max(longest, one.own.front());
    worker.join();
    tasks.runAll();
  }
  std::ranges::sort(during.own);
  std::ranges::sort(during.disk);
  print("main thread, while a worker reads the lists", during);
  std::printf("  longest on the main thread: %.3f ms (%s)\n", longest,
              longest <= kLongestClosure ? "within 2 ms" : "MORE THAN 2 ms");
}

}  // namespace

int main() {
  char home[] = "/tmp/orv-bench-XXXXXX";
  if (::mkdtemp(home) == nullptr) return EXIT_FAILURE;
  ::setenv("HOME", home, 1);
  ::unsetenv("XDG_CONFIG_HOME");
  Console::setSink([](std::string_view) {});
  Platform::install(std::make_unique<test::PlatformWithFiles<TimedFiles>>());
  MainQueue::instance().claim();
  {
    QXCourseManager& manager = QXCourseManager::getInstance();
    const std::string local = manager.localCourseFolder().value();
    for (const std::int64_t courses : {kFew, kMany}) {
      fill(local, *manager.localCourseListFile(), courses, true);
      manager.reload();
      measureLocal(manager, courses);
    }
    fill(manager.cloudCourseFolder().value(), *manager.cloudCourseListFile(), kMany, false);
    measureReload(manager);
    std::filesystem::remove_all(home);
  }
  return EXIT_SUCCESS;
}
