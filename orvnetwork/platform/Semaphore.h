#pragma once

#include <orvnetwork/platform/Export.h>

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <utility>

namespace orv {

/// A counting semaphore. It belongs to no thread: what one thread has taken another may give back. It is not
/// re-entrant. Any thread.
class ORV_EXPORT Semaphore {
 public:
  explicit Semaphore(std::int64_t value) : value_(value) {}
  Semaphore(const Semaphore&) = delete;
  Semaphore& operator=(const Semaphore&) = delete;

  /// Takes one, waiting until there is one.
  void wait();
  /// Takes one if there is one; says whether.
  bool tryWait();
  /// Gives one back.
  void signal();

 private:
  std::mutex mutex_;
  std::condition_variable signalled_;
  std::int64_t value_;
};

/// Takes one of a semaphore for its own life.
class SemaphoreHold {
 public:
  explicit SemaphoreHold(std::shared_ptr<Semaphore> semaphore) : semaphore_(std::move(semaphore)) {
    semaphore_->wait();
  }
  ~SemaphoreHold() { semaphore_->signal(); }
  SemaphoreHold(const SemaphoreHold&) = delete;
  SemaphoreHold& operator=(const SemaphoreHold&) = delete;

 private:
  const std::shared_ptr<Semaphore> semaphore_;
};

}  // namespace orv
