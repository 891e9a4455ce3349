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
///
///     auto slots = std::make_shared<Semaphore>(2);   // two at a time
///     const SemaphoreHold hold(slots);               // waits while two others hold one, and gives it back at the end
///
/// It must not be destroyed while a thread waits for it.
class ORV_EXPORT Semaphore {
 public:
  /// @param value how many can be taken before the first `wait` has to wait
  /// It is no upper bound. 0 makes the first `wait` a wait for a `signal`; a negative number has no use.
  explicit Semaphore(std::int64_t value) : value_(value) {}
  Semaphore(const Semaphore&) = delete;
  Semaphore& operator=(const Semaphore&) = delete;

  /// Takes one, blocking the thread until there is one. A thread that holds the only one waits for ever.
  /// On the main thread that holds up every callback until then; there `tryWait` is the better choice.
  void wait();
  /// Takes one if there is one, and says whether it did. Never blocks.
  /// One that has been granted to a thread that waits is not there any more.
  bool tryWait();
  /// Gives one back: to the one that has waited longest, if anybody waits. Never blocks.
  /// When nobody waits, it is there for the next `wait`, however many there are already.
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
