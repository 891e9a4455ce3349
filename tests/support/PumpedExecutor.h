#pragma once

#include <orvnetwork/platform/Executor.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>

namespace orv::test {

/// A main queue whose tasks run where and when the test says.
class PumpedExecutor final : public Executor {
 public:
  void post(Task task) override {
    // Told under the lock, so that whoever runs the task may destroy this object afterwards.
    const std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
    arrived_.notify_one();
  }

  /// Runs tasks on this thread as they come until `condition` holds; false when it does not within a minute.
  bool pumpUntil(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (!condition()) {
      if (std::chrono::steady_clock::now() > deadline) return false;
      // Conditions may also depend on what other threads do without posting.
      if (waitForTask(std::chrono::milliseconds(1))) runFirst();
    }
    return true;
  }

  std::size_t queued() {
    const std::lock_guard lock(mutex_);
    return tasks_.size();
  }

  /// Waits, without running anything, until `count` tasks are queued.
  bool waitForQueued(std::size_t count) {
    std::unique_lock lock(mutex_);
    return arrived_.wait_for(lock, std::chrono::minutes(1), [&] { return tasks_.size() >= count; });
  }

 private:
  bool waitForTask(std::chrono::milliseconds limit) {
    std::unique_lock lock(mutex_);
    return arrived_.wait_for(lock, limit, [this] { return !tasks_.empty(); });
  }

  void runFirst() {
    Task task;
    {
      const std::lock_guard lock(mutex_);
      task = std::move(tasks_.front());
      tasks_.pop_front();
    }
    task();
  }

  std::mutex mutex_;
  std::condition_variable arrived_;
  std::deque<Task> tasks_;
};

}  // namespace orv::test
