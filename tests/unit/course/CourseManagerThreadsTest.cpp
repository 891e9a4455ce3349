// Local courses on the real platform, under many threads at once.

#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/platform/PropertyListFile.h>

#include <tests/support/LocalCourse.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <set>
#include <string_view>
#include <thread>

namespace orv::course_manager_threads_test {

namespace {

constexpr int kThreads = 10;
constexpr int kRoundsPerThread = 40;
constexpr auto kLongest = std::chrono::seconds(4);

QXCourseManager::Course makeLocal(std::int64_t room) {
  return test::localCourse(room, std::string(200, 'a'));
}

/// Whether a title is whole: one letter 200 times.
bool isWhole(const OptionalString& title) {
  return title && title->size() == 200 && title->find_first_not_of(title->front()) == std::string::npos;
}

class CourseManagerThreads : public ::testing::Test {
 protected:
  CourseManagerThreads() {
    Console::setSink([](std::string_view) {});
    MainQueue::instance().claim();
  }
  /// Runs `work(thread)` on ten threads, and `beside` on two more as long as they run.
  static void run(const std::function<void(int)>& work, const std::function<void()>& beside) {
    std::atomic<int> running = kThreads;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
      threads.emplace_back([&, thread] {
        work(thread);
        --running;
      });
    }
    for (int i = 0; i < 2; ++i) {
      threads.emplace_back([&] {
        while (running > 0) beside();
      });
    }
    for (std::thread& thread : threads) thread.join();
  }
  QXCourseManager& manager = QXCourseManager::getInstance();
  const std::chrono::steady_clock::time_point end = std::chrono::steady_clock::now() + kLongest;
  bool isTime() const { return std::chrono::steady_clock::now() < end; }
};

TEST_F(CourseManagerThreads, EveryThreadsCoursesAreAsItLeftThem) {
  std::atomic<int> wrong = 0;
  const auto check = [&wrong](bool right) { wrong += right ? 0 : 1; };
  // Each thread has rooms of its own: it keeps those with an even number and deletes the others.
  const auto work = [&](int thread) {
    for (int round = 0; round < kRoundsPerThread && isTime(); ++round) {
      const std::int64_t room = thread * 1000 + round + 1;
      const auto course = makeLocal(room);
      check(manager.addLocalCourse(course));
      check(!manager.addLocalCourse(course));
      course->title = std::string(200, static_cast<char>('b' + round % 20));
      manager.saveLocalCourse(course);
      check(manager.getLocalCourseWithRoomID(room) == course);
      check(manager.containCourse(course));
      manager.refreshLocalCourse(course);
      if (room % 2 != 0) {
        if (round % 3 == 0) {
          manager.deleteLocalCourse(course);
        } else {
          manager.deleteLocalCourseWithRoomID(room);
        }
        check(manager.getLocalCourseWithRoomID(room) == nullptr);
      }
    }
  };
  const auto beside = [&] {
    const std::uint64_t count = manager.getLocalCourseCount();
    for (std::uint64_t index = 0; index < std::min<std::uint64_t>(count, 20); ++index) {
      const auto course = manager.getLocalCourseWithIndex(index);
      if (course == nullptr) continue;
      check(isWhole(course->title));
      check(course->publishStatus == 99 && course->roomID > 0);
    }
    for (const auto& [key, course] : manager.localCourseDict()) check(key == std::to_string(course->roomID));
    check(manager.createLocalCourse()->orv_local);
  };
  run(work, beside);
  EXPECT_EQ(wrong, 0);

  const auto keys = manager.localCourseList();
  EXPECT_EQ(std::set<std::string>(keys.begin(), keys.end()).size(), keys.size()) << "a key stands twice";
  EXPECT_TRUE(std::ranges::all_of(keys, [](const std::string& key) { return std::stoll(key) % 2 == 0; }));
  EXPECT_EQ(manager.getLocalCourseCount(), keys.size());
  EXPECT_EQ(manager.courseQueue().size(), keys.size());
  EXPECT_EQ(manager.localCourseDict().size(), keys.size());
  const auto onDisk = readArrayFile(manager.localCourseListFile().value());
  ASSERT_TRUE(onDisk);
  ASSERT_EQ(onDisk->size(), keys.size());
  for (std::size_t i = 0; i < keys.size(); ++i) {
    EXPECT_EQ((*onDisk)[i], json::value(keys[i]));
    const auto record = readDictionaryFile(manager.localCourseFolder().value() + "/" + keys[i] + ".plist");
    ASSERT_TRUE(record) << keys[i];
    EXPECT_TRUE(isWhole(std::string(record->at("title").as_string())));
  }
}

TEST_F(CourseManagerThreads, OneCourseUnderAllThreadsStaysOne) {
  const auto shared = makeLocal(7);
  manager.addLocalCourse(shared);
  std::atomic<int> wrong = 0;
  const auto work = [&](int thread) {
    for (int round = 0; round < kRoundsPerThread && isTime(); ++round) {
      shared->title = std::string(200, static_cast<char>('a' + thread));
      switch ((thread + round) % 5) {
        case 0:
          manager.addLocalCourse(shared);
          break;
        case 1:
          manager.saveLocalCourse(shared);
          break;
        case 2:
          manager.refreshLocalCourse(shared);
          break;
        case 3:
          manager.deleteLocalCourseWithRoomID(7);
          break;
        default:
          manager.reload();  // Nobody is signed in: everything is read anew.
      }
    }
  };
  const auto beside = [&] {
    wrong += manager.getLocalCourseCount() <= 1 ? 0 : 1;
    if (const auto course = manager.getLocalCourseWithIndex(0)) wrong += isWhole(course->title) ? 0 : 1;
    wrong += isWhole(shared->title) ? 0 : 1;
    manager.containCourse(shared);
    manager.courseQueue();
  };
  run(work, beside);
  EXPECT_EQ(wrong, 0);
  manager.addLocalCourse(shared);
  EXPECT_EQ(manager.localCourseList(), QXCourseManager::Keys{"7"});
  EXPECT_EQ(manager.courseQueue(), QXCourseManager::Keys{"l-7"});
}

TEST(CourseManagerFirstUse, ManyThreadsAtOnceMakeOneManager) {
  Console::setSink([](std::string_view) {});
  MainQueue::instance().claim();
  std::atomic<bool> go = false;
  std::set<const QXCourseManager*> managers;
  std::mutex mutex;
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      while (!go) std::this_thread::yield();
      QXCourseManager& manager = QXCourseManager::getInstance();
      manager.addLocalCourse(makeLocal(7));
      const std::lock_guard lock(mutex);
      managers.insert(&manager);
    });
  }
  go = true;
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(managers.size(), 1u);
  EXPECT_EQ(QXCourseManager::getInstance().localCourseList(), QXCourseManager::Keys{"7"});
}

}  // namespace

}  // namespace orv::course_manager_threads_test
