#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <utility>

namespace bench {

/// The bare client's main queue: a mutex, a condition variable and a list of closures.
class MainLoop {
 public:
  void post(std::function<void()> closure) {
    {
      const std::lock_guard lock(mutex_);
      closures_.push_back(std::move(closure));
    }
    wake_.notify_one();
  }

  void stop() { stopped_ = true; }

  void run() {
    stopped_ = false;
    std::deque<std::function<void()>> batch;
    while (!stopped_) {
      {
        std::unique_lock lock(mutex_);
        wake_.wait(lock, [this] { return !closures_.empty(); });
        batch.swap(closures_);
      }
      for (auto& closure : batch) closure();
      batch.clear();
    }
  }

 private:
  std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<std::function<void()>> closures_;
  bool stopped_ = false;
};

}  // namespace bench
