#include "orvnetwork/platform/Semaphore.h"

namespace orv {

void Semaphore::wait() {
  std::unique_lock lock(mutex_);
  if (value_ > 0) {
    --value_;
    return;
  }
  const std::uint64_t ticket = nextTicket_++;
  granted_.wait(lock, [&] { return ticket < served_; });
}

bool Semaphore::tryWait() {
  const std::lock_guard lock(mutex_);
  if (value_ <= 0) return false;
  --value_;
  return true;
}

void Semaphore::signal() {
  const std::lock_guard lock(mutex_);
  if (served_ == nextTicket_) {
    ++value_;
    return;
  }
  // It goes to the one that has waited longest without being free in between.
  ++served_;
  granted_.notify_all();
}

}  // namespace orv
