#pragma once

#include <atomic>
#include <functional>
#include <thread>

namespace orv {

/// Reads on a thread of its own, until told to stop.
class RepeatedRead {
 public:
  RepeatedRead(const std::atomic<bool>& done, std::function<void()> read)
      : thread_([this, &done, read = std::move(read)] {
          while (!done.load(std::memory_order_relaxed)) {
            read();
            rounds_.fetch_add(1, std::memory_order_relaxed);
          }
        }) {}
  ~RepeatedRead() { thread_.join(); }
  bool hasReadOften() const { return rounds_.load(std::memory_order_relaxed) >= 3000; }

 private:
  std::atomic<int> rounds_ = 0;
  std::thread thread_;
};

}  // namespace orv
