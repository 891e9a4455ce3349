#include <orvnetwork/platform/Semaphore.h>

namespace orv {

void Semaphore::wait() {
  std::unique_lock lock(mutex_);
  signalled_.wait(lock, [this] { return value_ > 0; });
  --value_;
}

bool Semaphore::tryWait() {
  const std::lock_guard lock(mutex_);
  if (value_ <= 0) return false;
  --value_;
  return true;
}

void Semaphore::signal() {
  const std::lock_guard lock(mutex_);
  ++value_;
  signalled_.notify_one();
}

}  // namespace orv
