#pragma once

#include <orvnetwork/platform/Executor.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>

namespace orv {

/// Worker threads that are made when tasks wait and all workers are busy, and that go when they had nothing
/// to do for a while.
class WorkerPool final : public Executor {
 public:
  /// More tasks than this at once wait for a free worker: a bound against a burst of blocked tasks.
  static constexpr std::size_t kMostThreads = 64;
  static constexpr std::chrono::seconds kIdleLife{10};

  void post(Task task) override;

  /// Workers that exist now. Any thread.
  std::size_t threadCount() const;

 private:
  void work();

  mutable std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<Task> tasks_;
  std::size_t threads_ = 0;
  std::size_t idle_ = 0;
};

}  // namespace orv
