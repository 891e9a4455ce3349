#pragma once

#include <orvnetwork/platform/DelayService.h>

#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>
#include <unordered_map>

namespace orv {

/// Keeps delayed tasks in the order of their deadlines and posts them from one thread of its own.
class NativeDelayService final : public DelayService {
 public:
  NativeDelayService() = default;
  ~NativeDelayService() override;

  Handle runAt(SteadyTime when, Executor& executor, Task task) override;
  void cancel(Handle handle) override;

 private:
  struct Entry {
    Executor* executor;
    Task task;
    Handle handle;
  };
  using Entries = std::multimap<SteadyTime, Entry>;

  void startThread();
  void run();

  std::mutex mutex_;
  std::condition_variable changed_;
  Entries entries_;
  std::unordered_map<Handle, Entries::iterator> byHandle_;
  Handle lastHandle_ = 0;
  bool ending_ = false;
  std::thread thread_;
};

}  // namespace orv
