// Local courses on the real platform, asked for by several at once.

#include <orvnetwork/client/LocalCourses.h>
#include <orvnetwork/client/PendingCallback.h>
#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/MainQueue.h>

#include <gtest/gtest.h>
#include <poll.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <set>
#include <string_view>
#include <vector>

namespace orv::local_courses_threads_test {
namespace {

constexpr std::size_t kRounds = 100;
constexpr auto kLongest = std::chrono::seconds(60);

TEST(LocalCoursesThreads, TwoObjectsGiveNoNumberTwice) {
  Console::setSink([](std::string_view) {});
  auto& main = MainQueue::instance();
  main.claim();
  LocalCourses one, other;
  std::vector<std::int64_t> numbers;
  std::size_t failed = 0;
  std::vector<PendingCallback> kept;
  for (std::size_t round = 0; round < kRounds; ++round) {
    for (LocalCourses* courses : {&one, &other}) {
      kept.push_back(courses->create().then([&](const LocalCourses::Answer& made) {
        if (made) {
          numbers.push_back((*made)->roomID);
        } else {
          ++failed;
        }
      }));
    }
  }
  const auto end = std::chrono::steady_clock::now() + kLongest;
  while (numbers.size() + failed < 2 * kRounds && std::chrono::steady_clock::now() < end) {
    ::pollfd wait{main.wakeUpDescriptor(), POLLIN, 0};
    ::poll(&wait, 1, 20);
    main.drain();
  }
  EXPECT_EQ(failed, 0u);
  EXPECT_EQ(std::set<std::int64_t>(numbers.begin(), numbers.end()).size(), 2 * kRounds);
  EXPECT_EQ(QXCourseManager::getInstance().localCourseList().size(), 2 * kRounds);
}

}  // namespace
}  // namespace orv::local_courses_threads_test
