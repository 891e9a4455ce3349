#include "orvnetwork/platform/native/threads/NativeDelayService.h"

#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/native/threads/ServiceThread.h>

#include <chrono>
#include <string>
#include <system_error>

namespace orv {

NativeDelayService::~NativeDelayService() {
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
  }
  changed_.notify_one();
  if (thread_.joinable()) thread_.join();
}

DelayService::Handle NativeDelayService::runAt(SteadyTime when, Executor& executor, Task task) {
  const std::lock_guard lock(mutex_);
  const auto handle = ++lastHandle_;
  const auto entry = entries_.emplace(when, Entry{&executor, std::move(task), handle});
  byHandle_.emplace(handle, entry);
  if (!thread_.joinable()) {
    startThread();
  } else if (entry == entries_.begin()) {
    changed_.notify_one();
  }
  return handle;
}

void NativeDelayService::startThread() {
  try {
    thread_ = startServiceThread("orv-delays", [this] { run(); });
  } catch (const std::system_error& error) {
    // The tasks wait; the next one that is asked for tries again.
    Console::write(std::string("no thread for delayed tasks: ") + error.what());
  }
}

void NativeDelayService::cancel(Handle handle) {
  // Destroyed outside the lock: what it holds may come back here.
  Task spent;
  const std::lock_guard lock(mutex_);
  const auto found = byHandle_.find(handle);
  if (found == byHandle_.end()) return;
  spent = std::move(found->second->second.task);
  entries_.erase(found->second);
  byHandle_.erase(found);
}

void NativeDelayService::run() {
  std::unique_lock lock(mutex_);
  while (!ending_) {
    if (entries_.empty()) {
      changed_.wait(lock);
      continue;
    }
    const auto first = entries_.begin();
    // A copy: the entry may be cancelled, and gone, while this thread waits.
    const SteadyTime when = first->first;
    if (when > std::chrono::steady_clock::now()) {
      changed_.wait_until(lock, when);
      continue;
    }
    Entry due = std::move(first->second);
    byHandle_.erase(due.handle);
    entries_.erase(first);
    lock.unlock();
    due.executor->post(std::move(due.task));
    lock.lock();
  }
}

}  // namespace orv
