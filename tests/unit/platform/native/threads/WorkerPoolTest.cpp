#include <orvnetwork/platform/native/threads/WorkerPool.h>

#include <gtest/gtest.h>

#include <latch>
#include <memory>
#include <stdexcept>
#include <vector>

namespace orv::worker_pool_test {
namespace {

// Workers outlive the test's body, so their pool does too.
WorkerPool& pool() {
  static auto* const pool = new WorkerPool;
  return *pool;
}

TEST(WorkerPool, RunsBlockedTasksAtTheSameTime) {
  constexpr std::ptrdiff_t kTasks = 8;
  const auto allRunning = std::make_shared<std::latch>(kTasks);
  const auto done = std::make_shared<std::latch>(kTasks);
  for (auto i = 0; i < kTasks; ++i) {
    pool().post([=] {
      allRunning->arrive_and_wait();  // returns only when all of them run at once
      done->count_down();
    });
  }
  done->wait();
  EXPECT_GE(pool().threadCount(), 8u);
}

// Posts itself from inside itself, so that the next task always finds this worker busy.
struct Chain : std::enable_shared_from_this<Chain> {
  static constexpr int kTasks = 100;
  std::vector<int> started;
  std::latch done{kTasks};

  void run(int i) {
    started.push_back(i);
    if (i + 1 < kTasks) pool().post([self = shared_from_this(), i] { self->run(i + 1); });
    done.count_down();
  }
};

TEST(WorkerPool, HandsWhatATaskWroteToTheTaskThatItPosted) {
  const auto chain = std::make_shared<Chain>();
  pool().post([chain] { chain->run(0); });
  chain->done.wait();
  ASSERT_EQ(chain->started.size(), 100u);
  for (int i = 0; i < Chain::kTasks; ++i) EXPECT_EQ(chain->started[static_cast<std::size_t>(i)], i);
}

TEST(WorkerPool, NeverMakesMoreThreadsThanItsBound) {
  constexpr std::ptrdiff_t kTasks = WorkerPool::kMostThreads + 20;
  const auto release = std::make_shared<std::latch>(1);
  const auto done = std::make_shared<std::latch>(kTasks);
  for (auto i = 0; i < kTasks; ++i) {
    pool().post([=] {
      release->wait();
      done->count_down();
    });
  }
  EXPECT_EQ(pool().threadCount(), WorkerPool::kMostThreads);
  release->count_down();
  done->wait();
}

TEST(WorkerPool, GoesOnAfterATaskThatThrows) {
  const auto done = std::make_shared<std::latch>(1);
  pool().post([] { throw std::runtime_error("planted"); });
  pool().post([=] { done->count_down(); });
  done->wait();
}

}  // namespace
}  // namespace orv::worker_pool_test
