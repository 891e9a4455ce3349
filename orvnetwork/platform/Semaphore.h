#pragma once

#include <orvnetwork/data/Export.h>

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <utility>

namespace orv {

/// A counting semaphore. It belongs to no thread: what one thread has taken another may give back. It is not
/// re-entrant. Those that wait are served in the order in which they came, so that none waits for ever beside
/// one that takes it again and again. Any thread.
class ORV_EXPORT Semaphore {
 public:
  /// @param value how many can be taken before the first `wait` has to wait
  explicit Semaphore(std::int64_t value) : value_(value) {}
  Semaphore(const Semaphore&) = delete;
  Semaphore& operator=(const Semaphore&) = delete;

  /// Takes one, blocking the thread until there is one. A thread that holds the only one waits for ever.
  void wait();
  /// Takes one if there is one, and says whether it did. Never blocks.
  bool tryWait();
  /// Gives one back: to the one that has waited longest, if anybody waits. Never blocks.
  void signal();

 private:
  std::mutex mutex_;
  std::condition_variable granted_;
  /// What can be taken at once. Never above 0 while somebody waits.
  std::int64_t value_;
  /// Those that wait hold the tickets from `served_` on, up to, but not including, `nextTicket_`.
  std::uint64_t nextTicket_ = 0;
  std::uint64_t served_ = 0;
};

/// Takes one of a semaphore for its own life.
class SemaphoreHold {
 public:
  /// Waits until there is one.
  /// @param semaphore not null; kept alive until the hold has gone
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
