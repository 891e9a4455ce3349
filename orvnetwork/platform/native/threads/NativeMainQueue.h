#pragma once

#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/platform/native/threads/BatchExecutor.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace orv {

/// The main queue on an event descriptor.
///
/// The descriptor is written only when tasks begin to wait while nobody drains, so a burst of posts costs
/// one system call, and posts from inside a task cost none, not even a lock. A `run()` that waits is woken without the
/// descriptor, and whoever wakes another thread does so with nothing locked: it may run at once.
class NativeMainQueue final : public MainQueue, public BatchExecutor {
 public:
  NativeMainQueue();
  ~NativeMainQueue() override;

  void post(Task task) override;
  void postAll(std::vector<Task>& tasks) override;
  void claim() override;
  bool isCurrent() const override;
  void run() override;
  void stop() override;
  std::size_t drain() override;
  int wakeUpDescriptor() override { return descriptor_; }
  void setWaker(std::function<void()> waker) override;

 private:
  bool appendsHere() const;
  void takeOverIncoming();
  void clearDescriptor();
  void runFirst();
  void rearm();
  void sleep(std::unique_lock<std::mutex>& lock);
  bool isOnItsThread(const char* operation);
  void callWaker(std::unique_lock<std::mutex>& lock);
  void signalIfArmed(std::unique_lock<std::mutex>& lock);

  const int descriptor_;
  std::atomic<std::thread::id> mainThread_{};
  std::atomic<bool> stopRequested_{false};

  std::mutex mutex_;
  std::deque<Task> incoming_;
  std::shared_ptr<const std::function<void()>> waker_;
  std::vector<std::thread::id> wakerRunsOn_;
  std::condition_variable wakerIdle_;
  bool armed_ = true;          // nobody drains: the next post has to signal
  bool signalled_ = false;     // that has been done, or will be in a moment
  std::uint64_t written_ = 0;  // how often the descriptor was written, or will be in a moment
  // Read without the mutex, too.
  std::atomic<bool> hasIncoming_{false};    // whether there is something in `incoming_`
  std::atomic<std::uint32_t> sleeping_{0};  // 1 while `run()` waits for it to become 0

  // Main thread only.
  std::deque<Task> ready_;  // taken over from incoming_, in order
  bool drains_ = false;     // since `armed_` was set to false here: what is appended to `ready_` is found
  std::uint64_t read_ = 0;  // how many of the writes were read
};

}  // namespace orv
