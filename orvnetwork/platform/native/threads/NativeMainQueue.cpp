#include "orvnetwork/platform/native/threads/NativeMainQueue.h"

#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/native/threads/WordWait.h>

#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace orv {

NativeMainQueue::NativeMainQueue() : descriptor_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

NativeMainQueue::~NativeMainQueue() {
  ::close(descriptor_);
}

void NativeMainQueue::post(Task task) {
  if (appendsHere()) return ready_.push_back(std::move(task));
  std::unique_lock lock(mutex_);
  incoming_.push_back(std::move(task));
  hasIncoming_.store(true, std::memory_order_release);
  signalIfArmed(lock);
}

void NativeMainQueue::postAll(std::vector<Task>& tasks) {
  if (tasks.empty()) return;
  std::unique_lock lock(mutex_);
  std::ranges::move(tasks, std::back_inserter(incoming_));
  tasks.clear();
  hasIncoming_.store(true, std::memory_order_release);
  signalIfArmed(lock);
}

/// Whether a task that is posted now can go behind what is ready: on the main thread, while it drains, when nothing that
/// was posted before on any other thread waits to be taken over.
bool NativeMainQueue::appendsHere() const {
  return isCurrent() && drains_ && !hasIncoming_.load(std::memory_order_acquire);
}

void NativeMainQueue::claim() {
  auto nobody = std::thread::id();
  mainThread_.compare_exchange_strong(nobody, std::this_thread::get_id());
}

bool NativeMainQueue::isCurrent() const {
  return mainThread_.load(std::memory_order_relaxed) == std::this_thread::get_id();
}

bool NativeMainQueue::isOnItsThread(const char* operation) {
  claim();
  if (isCurrent()) return true;
  Console::write(std::string(operation) +
                 " of the main queue was called on another thread and does nothing there");
  return false;
}

void NativeMainQueue::run() {
  if (!isOnItsThread("run()")) return;
  while (!stopRequested_.exchange(false)) {
    takeOverIncoming();
    while (!ready_.empty() && !stopRequested_.load(std::memory_order_relaxed)) runFirst();
    std::unique_lock lock(mutex_);
    // A nested drain may have signalled what has been done since.
    if (!incoming_.empty() || !ready_.empty() || signalled_ || stopRequested_.load()) continue;
    sleep(lock);
  }
  // Whoever drains next must know of what was left over.
  rearm();
}

void NativeMainQueue::stop() {
  stopRequested_.store(true);
  // An empty task brings a waiting run() round to look at the flag.
  post([] {});
}

std::size_t NativeMainQueue::drain() {
  if (!isOnItsThread("drain()")) return 0;
  takeOverIncoming();
  std::size_t count = 0;
  for (auto waiting = ready_.size(); waiting > 0 && !ready_.empty(); --waiting, ++count) runFirst();
  rearm();
  return count;
}

void NativeMainQueue::runFirst() {
  Task task = std::move(ready_.front());
  ready_.pop_front();
  runGuarded("main queue", task);
}

void NativeMainQueue::takeOverIncoming() {
  std::uint64_t written = 0;
  {
    const std::lock_guard lock(mutex_);
    armed_ = false;
    signalled_ = false;
    written = written_;
    if (ready_.empty()) {
      ready_.swap(incoming_);
    } else {
      std::ranges::move(incoming_, std::back_inserter(ready_));
      incoming_.clear();
    }
    hasIncoming_.store(false, std::memory_order_relaxed);
  }
  drains_ = true;
  if (written != read_) clearDescriptor();
}

/// Whoever signals writes after it has let go of the lock, so a write may still be on its way: it is read the next time,
/// which that write brings about.
void NativeMainQueue::clearDescriptor() {
  std::uint64_t count = 0;
  if (::read(descriptor_, &count, sizeof count) == sizeof count) read_ += count;
}

void NativeMainQueue::rearm() {
  std::unique_lock lock(mutex_);
  drains_ = false;
  armed_ = true;
  if (!ready_.empty() || !incoming_.empty()) signalIfArmed(lock);
}

/// The lock is not held afterwards.
void NativeMainQueue::sleep(std::unique_lock<std::mutex>& lock) {
  drains_ = false;
  armed_ = true;
  sleeping_.store(1, std::memory_order_relaxed);
  lock.unlock();
  while (sleeping_.load(std::memory_order_acquire) == 1) waitWhile(sleeping_, 1);
}

/// The lock is not held afterwards.
void NativeMainQueue::signalIfArmed(std::unique_lock<std::mutex>& lock) {
  if (!armed_ || signalled_) return;
  armed_ = false;
  signalled_ = true;
  const bool wakesRun = sleeping_.exchange(0, std::memory_order_release) == 1;
  if (!wakesRun) ++written_;
  const bool hasWaker = waker_ != nullptr;
  lock.unlock();
  if (wakesRun) {
    wakeOne(sleeping_);
  } else {
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = ::write(descriptor_, &one, sizeof one);
  }
  if (!hasWaker) return;
  lock.lock();
  callWaker(lock);
}

void NativeMainQueue::callWaker(std::unique_lock<std::mutex>& lock) {
  if (!waker_) return;
  auto waker = waker_;
  const auto self = std::this_thread::get_id();
  wakerRunsOn_.push_back(self);
  lock.unlock();
  runGuarded("main queue waker", *waker);
  // It may have taken itself away: what it holds ends without the lock.
  waker = nullptr;
  lock.lock();
  wakerRunsOn_.erase(std::ranges::find(wakerRunsOn_, self));
  wakerIdle_.notify_all();
}

void NativeMainQueue::setWaker(std::function<void()> waker) {
  auto former = waker ? std::make_shared<const std::function<void()>>(std::move(waker)) : nullptr;
  std::unique_lock lock(mutex_);
  waker_.swap(former);
  // The old one must not be running any more when its owner thinks it gone.
  wakerIdle_.wait(lock, [this] {
    return std::ranges::all_of(wakerRunsOn_, [](auto id) { return id == std::this_thread::get_id(); });
  });
  if (signalled_) callWaker(lock);
}

}  // namespace orv
