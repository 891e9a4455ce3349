#include "orvnetwork/platform/native/threads/NativeMainQueue.h"

#include <orvnetwork/platform/Console.h>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
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
  std::unique_lock lock(mutex_);
  incoming_.push_back(std::move(task));
  signalIfArmed(lock);
}

void NativeMainQueue::postAll(std::vector<Task>& tasks) {
  if (tasks.empty()) return;
  std::unique_lock lock(mutex_);
  std::ranges::move(tasks, std::back_inserter(incoming_));
  tasks.clear();
  signalIfArmed(lock);
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
    if (!incoming_.empty() || !ready_.empty() || stopRequested_.load()) continue;
    armed_ = true;
    lock.unlock();
    waitForSignal();
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
  bool clear = false;
  {
    const std::lock_guard lock(mutex_);
    armed_ = false;
    clear = std::exchange(signalled_, false);
    if (ready_.empty()) {
      ready_.swap(incoming_);
    } else {
      std::ranges::move(incoming_, std::back_inserter(ready_));
      incoming_.clear();
    }
  }
  if (!clear) return;
  std::uint64_t count = 0;
  [[maybe_unused]] const auto bytes = ::read(descriptor_, &count, sizeof count);
}

void NativeMainQueue::rearm() {
  std::unique_lock lock(mutex_);
  armed_ = true;
  if (!ready_.empty() || !incoming_.empty()) signalIfArmed(lock);
}

void NativeMainQueue::signalIfArmed(std::unique_lock<std::mutex>& lock) {
  if (!armed_ || signalled_) return;
  armed_ = false;
  signalled_ = true;
  const std::uint64_t one = 1;
  [[maybe_unused]] const auto written = ::write(descriptor_, &one, sizeof one);
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

void NativeMainQueue::waitForSignal() {
  pollfd watched{descriptor_, POLLIN, 0};
  while (::poll(&watched, 1, -1) < 0 && errno == EINTR) {
  }
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
