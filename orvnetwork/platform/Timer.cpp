#include "orvnetwork/platform/Timer.h"

#include <orvnetwork/platform/Platform.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <mutex>

namespace orv {

namespace {

using Nanoseconds = std::chrono::nanoseconds;

constexpr Seconds kShortestInterval{0.0001};
// About 146 years: keeps deadline arithmetic far from overflow.
constexpr Seconds kLongestInterval{4.6e9};

Seconds effectiveInterval(Seconds interval) {
  if (!(interval > Seconds::zero())) return kShortestInterval;
  return std::min(interval, kLongestInterval);
}

class ScheduledTimer final : public Timer, public std::enable_shared_from_this<ScheduledTimer> {
 public:
  ScheduledTimer(Seconds interval, bool repeats, std::function<void()> action)
      : interval_(effectiveInterval(interval)),
        step_(std::max(Nanoseconds(1), std::chrono::duration_cast<Nanoseconds>(interval_))),
        repeats_(repeats),
        action_(std::make_shared<std::function<void()>>(std::move(action))),
        due_(Platform::current().clock().steadyNow() + step_) {}

  void start() {
    const std::lock_guard lock(mutex_);
    arm();
  }

  void fire() override {
    if (!valid_.load(std::memory_order_acquire)) return;
    runAction();
    if (!repeats_) invalidate();
  }

  void invalidate() override {
    std::shared_ptr<std::function<void()>> spent;
    DelayService::Handle handle = 0;
    {
      const std::lock_guard lock(mutex_);
      if (!valid_.exchange(false, std::memory_order_acq_rel)) return;
      // Destroyed outside the lock, since what the action holds may call back here, and on the main thread.
      spent = std::move(action_);
      handle = handle_;
    }
    auto& platform = Platform::current();
    platform.delays().cancel(handle);
    if (spent) platform.mainQueue().destroyThere(std::move(spent));
  }

  bool isValid() const override { return valid_.load(std::memory_order_acquire); }
  Seconds interval() const override { return interval_; }

 private:
  void arm() {
    auto& platform = Platform::current();
    handle_ =
        platform.delays().runAt(due_, platform.mainQueue(), [self = shared_from_this()] { self->onDue(); });
  }

  void onDue() {
    if (!isValid()) return;
    runAction();
    if (!repeats_) {
      invalidate();
      return;
    }
    const std::lock_guard lock(mutex_);
    if (!isValid()) return;
    const auto late = Platform::current().clock().steadyNow() - due_;
    due_ += step_ * (1 + std::max<std::int64_t>(0, late / step_));
    arm();
  }

  // The action never runs twice at once, neither from inside itself nor on two threads.
  void runAction() {
    if (running_.exchange(true, std::memory_order_acq_rel)) return;
    std::shared_ptr<std::function<void()>> action;
    {
      const std::lock_guard lock(mutex_);
      action = action_;
    }
    if (action && *action) runGuarded("timer", *action);
    running_.store(false, std::memory_order_release);
    // Meanwhile the main thread may have let go of it.
    Platform::current().mainQueue().destroyThere(std::move(action));
  }

  const Seconds interval_;
  const Nanoseconds step_;
  const bool repeats_;
  std::atomic<bool> valid_{true};
  std::atomic<bool> running_{false};
  std::mutex mutex_;
  std::shared_ptr<std::function<void()>> action_;
  SteadyTime due_;
  DelayService::Handle handle_ = 0;
};

}  // namespace

std::shared_ptr<Timer> Timer::schedule(Seconds interval, bool repeats, std::function<void()> action) {
  auto timer = std::make_shared<ScheduledTimer>(interval, repeats, std::move(action));
  timer->start();
  return timer;
}

}  // namespace orv
