// Lists of courses on the real platform, while many threads work on the courses.

#include <orvnetwork/client/CourseList.h>
#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/MainQueue.h>

#include <tests/support/LocalCourse.h>

#include <gtest/gtest.h>
#include <poll.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace orv::course_list_threads_test {
namespace {

constexpr int kThreads = 4;
constexpr int kRounds = 60;
constexpr auto kLongest = std::chrono::seconds(60);

class CourseListThreads : public ::testing::Test {
 protected:
  CourseListThreads() {
    Console::setSink([](std::string_view) {});
    MainQueue::instance().claim();
  }

  /// Runs the main queue until something is done; false when it was not within a minute.
  static bool pumpUntil(const std::function<bool()>& done) {
    const auto end = std::chrono::steady_clock::now() + kLongest;
    auto& main = MainQueue::instance();
    while (!done() && std::chrono::steady_clock::now() < end) {
      ::pollfd wait{main.wakeUpDescriptor(), POLLIN, 0};
      ::poll(&wait, 1, 20);
      main.drain();
    }
    return done();
  }
  /// Adds, changes and removes courses of the thread's own.
  static void work(int thread, std::atomic<int>& running) {
    auto& manager = QXCourseManager::getInstance();
    for (int round = 0; round < kRounds; ++round) {
      const auto course = test::localCourse(1 + thread * 1000 + round % 7, "课程");
      manager.addLocalCourse(course);
      course->title = "改 " + std::to_string(round);
      manager.saveLocalCourse(course);
      if (round % 3 == 0) manager.deleteLocalCourse(course);
    }
    --running;
  }
  static std::vector<std::string> keysOf(const CourseList& list) {
    std::vector<std::string> keys;
    for (const std::int64_t room : list.keys()) keys.push_back(std::to_string(room));
    return keys;
  }
};

TEST_F(CourseListThreads, AListFollowsWhatAllOfThemDo) {
  auto list = CourseList::local();
  std::vector<CourseRows::Row> rows;
  int wrong = 0;
  const Subscription seen = list.onChanged([&](const CourseListChange& change) {
    if (!std::ranges::equal(rows, change.before->all())) ++wrong;
    apply(change, rows);
    if (!std::ranges::equal(rows, change.after->all())) ++wrong;
  });
  std::atomic<int> running = kThreads;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&, thread] { work(thread, running); });
  }
  EXPECT_TRUE(pumpUntil([&] { return running == 0; }));
  for (std::thread& thread : threads) thread.join();
  const auto stored = QXCourseManager::getInstance().localCourseList();
  EXPECT_TRUE(pumpUntil([&] { return keysOf(list) == stored; }))
      << "the list does not come to what is stored";
  EXPECT_EQ(wrong, 0);
  EXPECT_FALSE(stored.empty());
}

TEST_F(CourseListThreads, ListsComeAndGoMeanwhile) {
  std::atomic<int> running = kThreads;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&, thread] { work(thread, running); });
  }
  int told = 0, round = 0;
  std::vector<std::unique_ptr<CourseList>> lists;
  std::vector<Subscription> seen;
  EXPECT_TRUE(pumpUntil([&] {
    lists.push_back(std::make_unique<CourseList>(CourseList::local()));
    seen.push_back(lists.back()->onChanged([&told](const CourseListChange&) { ++told; }));
    if (++round % 5 == 0) lists.clear();
    return running == 0;
  }));
  for (std::thread& thread : threads) thread.join();
  lists.clear();
  const int before = told;
  auto last = CourseList::local();
  EXPECT_TRUE(pumpUntil([&] { return !last.isLoading(); }));
  EXPECT_EQ(told, before) << "a list that is gone has told something";
  EXPECT_EQ(keysOf(last), QXCourseManager::getInstance().localCourseList());
}

}  // namespace
}  // namespace orv::course_list_threads_test
