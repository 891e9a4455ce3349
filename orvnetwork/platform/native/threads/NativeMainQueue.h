#pragma once

#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/platform/native/threads/BatchExecutor.h>

#include <atomic>
#include <condition_variable>
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
/// one system call, and posts from inside a task cost none.
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
  void takeOverIncoming();
  void runFirst();
  void rearm();
  bool isOnItsThread(const char* operation);
  void callWaker(std::unique_lock<std::mutex>& lock);
  void signalIfArmed(std::unique_lock<std::mutex>& lock);
  void waitForSignal();

  const int descriptor_;
  std::atomic<std::thread::id> mainThread_{};
  std::atomic<bool> stopRequested_{false};

  std::mutex mutex_;
  std::deque<Task> incoming_;
  std::shared_ptr<const std::function<void()>> waker_;
  std::vector<std::thread::id> wakerRunsOn_;
  std::condition_variable wakerIdle_;
  bool armed_ = true;       // nobody drains: the next post has to signal
  bool signalled_ = false;  // the descriptor is readable

  std::deque<Task> ready_;  // main thread only: taken over from incoming_, in order
};

}  // namespace orv
