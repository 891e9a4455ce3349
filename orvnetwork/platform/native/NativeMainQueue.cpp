#include <orvnetwork/platform/native/NativeMainQueue.h>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <iterator>
#include <utility>

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

void NativeMainQueue::claim() {
  auto nobody = std::thread::id();
  mainThread_.compare_exchange_strong(nobody, std::this_thread::get_id());
}

bool NativeMainQueue::isCurrent() const {
  return mainThread_.load(std::memory_order_relaxed) == std::this_thread::get_id();
}

void NativeMainQueue::run() {
  claim();
  while (!stopRequested_.exchange(false)) {
    takeOverIncoming();
    while (!ready_.empty() && !stopRequested_.load(std::memory_order_relaxed)) runFirst();
    std::unique_lock lock(mutex_);
    if (!incoming_.empty() || !ready_.empty() || stopRequested_.load()) continue;
    armed_ = true;
    lock.unlock();
    waitForSignal();
  }
  // Whoever drains next must hear of what was left over.
  rearm();
}

void NativeMainQueue::stop() {
  stopRequested_.store(true);
  // An empty task brings a waiting run() round to look at the flag.
  post([] {});
}

std::size_t NativeMainQueue::drain() {
  claim();
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
  if (!waker_) return;
  const auto waker = waker_;
  lock.unlock();
  runGuarded("main queue waker", waker);
}

void NativeMainQueue::waitForSignal() {
  pollfd watched{descriptor_, POLLIN, 0};
  while (::poll(&watched, 1, -1) < 0 && errno == EINTR) {
  }
}

void NativeMainQueue::setWaker(std::function<void()> waker) {
  std::unique_lock lock(mutex_);
  waker_ = std::move(waker);
  if (!signalled_ || !waker_) return;
  const auto call = waker_;
  lock.unlock();
  runGuarded("main queue waker", call);
}

}  // namespace orv
