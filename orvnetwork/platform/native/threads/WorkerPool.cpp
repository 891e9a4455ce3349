#include "orvnetwork/platform/native/threads/WorkerPool.h"

#include <orvnetwork/platform/native/threads/ServiceThread.h>

#include <system_error>
#include <thread>

namespace orv {

void WorkerPool::post(Task task) {
  const std::lock_guard lock(mutex_);
  tasks_.push_back(std::move(task));
  if (tasks_.size() <= idle_ || threads_ >= kMostThreads) {
    wake_.notify_one();
    return;
  }
  try {
    startServiceThread("orv-worker", [this] { work(); }).detach();
    ++threads_;
  } catch (const std::system_error&) {
    // No more threads to be had: a worker that is there takes the task, or the next post tries again.
    wake_.notify_one();
  }
}

std::size_t WorkerPool::threadCount() const {
  const std::lock_guard lock(mutex_);
  return threads_;
}

void WorkerPool::work() {
  std::unique_lock lock(mutex_);
  for (;;) {
    while (!tasks_.empty()) {
      Task task = std::move(tasks_.front());
      tasks_.pop_front();
      lock.unlock();
      runGuarded("worker", task);
      task = Task();
      lock.lock();
    }
    ++idle_;
    const bool woken = wake_.wait_for(lock, kIdleLife, [this] { return !tasks_.empty(); });
    --idle_;
    if (woken) continue;
    --threads_;
    return;
  }
}

}  // namespace orv
