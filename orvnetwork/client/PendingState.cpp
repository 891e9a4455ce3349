#include "orvnetwork/client/PendingState.h"

#include <orvnetwork/client/MainThread.h>
#include <orvnetwork/platform/Executor.h>
#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/platform/Platform.h>

#include <chrono>

namespace orv::detail {

namespace {

// Longer deadlines count as this; it is more than a process lives and less than a clock can hold.
constexpr Seconds kLongestDeadline = std::chrono::hours(24 * 365 * 20);

}  // namespace

/// Is called by a stop token, on whatever thread it is that stops, and does no more there than to post.
class PendingCore::StopWatch {
 public:
  StopWatch(std::stop_token token, std::weak_ptr<PendingCore> core)
      : callback_(std::move(token), Poster{std::move(core)}) {}

 private:
  struct Poster {
    std::weak_ptr<PendingCore> core;
    void operator()() const noexcept {
      runGuarded("stop token", [this] {
        MainQueue::instance().post([stopped = core] {
          const auto found = stopped.lock();
          if (!found || !found->isWanted()) return;
          found->end(PendingEnd::Cancelled);
          deliver(found);
        });
      });
    }
  };
  std::stop_callback<Poster> callback_;
};

PendingCore::PendingCore() = default;

PendingCore::~PendingCore() {
  dropLimits();
}

void PendingCore::follow(Task continuation) {
  continuation_ = std::move(continuation);
  if (settled_) deliverSoon();
}

void PendingCore::addWaiter(std::coroutine_handle<> waiter, Pointer owner) noexcept {
  waiter_ = waiter;
  if (owner) owner->frameRuns_ = false;
  waitersOwner_ = std::move(owner);
}

void PendingCore::removeWaiter(std::coroutine_handle<> waiter) noexcept {
  if (waiter_ != waiter) return;
  waiter_ = nullptr;
  const Pointer dropped = std::move(waitersOwner_);
}

void PendingCore::withdraw() noexcept {
  if (withdrawn_) return;
  if (waiter_) return cancel();
  withdrawn_ = true;
  dropLimits();
  const Task dropped = std::move(continuation_);
  destroyFrame();
}

void PendingCore::cancel() {
  if (!isWanted()) return;
  end(PendingEnd::Cancelled);
  deliverSoon();
}

void PendingCore::setDeadline(Seconds fromNow) {
  if (!isWanted()) return;
  auto& platform = Platform::current();
  if (deadline_ != 0) platform.delays().cancel(deadline_);
  // Written so that what is no number counts as zero.
  const Seconds span = fromNow > kLongestDeadline ? kLongestDeadline
                       : fromNow > Seconds(0)     ? fromNow
                                                  : Seconds(0);
  deadlineAt_ = platform.clock().steadyNow() + std::chrono::ceil<SteadyTime::duration>(span);
  deadline_ = platform.delays().runAt(deadlineAt_, platform.mainQueue(), [waiting = weak_from_this()] {
    if (const auto core = waiting.lock()) core->expire();
  });
}

void PendingCore::expire() {
  // One that was put off while this was on its way.
  if (!isWanted() || Platform::current().clock().steadyNow() < deadlineAt_) return;
  deadline_ = 0;
  end(PendingEnd::TimedOut);
  deliver(shared_from_this());
}

void PendingCore::stopOn(std::stop_token token) {
  if (!isWanted() || !token.stop_possible()) return;
  stopWatch_ = std::make_unique<StopWatch>(std::move(token), weak_from_this());
}

void PendingCore::end(PendingEnd how) {
  fill(how);
  setSettled();
  destroyFrame();
}

void PendingCore::setSettled() noexcept {
  settled_ = true;
  dropLimits();
}

void PendingCore::dropLimits() noexcept {
  if (deadline_ != 0) Platform::current().delays().cancel(std::exchange(deadline_, 0));
  stopWatch_.reset();
}

void PendingCore::deliverSoon() {
  if (std::exchange(deliveryPosted_, true)) return;
  MainQueue::instance().post([core = shared_from_this()] {
    core->deliveryPosted_ = false;
    deliver(core);
  });
}

// A coroutine that comes to its end answers in its turn whoever waits for it: one after another here, not one inside
// the other. One that was given up while it runs has to be gone before anybody is told.
void PendingCore::deliver(Pointer core) {
  while (core && !core->withdrawn_ && !core->frame_) {
    if (core->continuation_) {
      // On the stack, so that it may destroy the handle that it hangs on.
      Task running = std::move(core->continuation_);
      runGuarded("continuation", running);
      return;
    }
    core = core->resumeWaiter();
  }
}

PendingCore::Pointer PendingCore::resumeWaiter() {
  if (!waiter_) return nullptr;
  const auto waiter = std::exchange(waiter_, nullptr);
  const Pointer owner = std::move(waitersOwner_);
  if (!owner) {
    runGuarded("coroutine", waiter);
    return nullptr;
  }
  owner->frameRuns_ = true;
  waiter.resume();
  // The coroutine has suspended itself again, or is gone.
  if (owner->frameIsDoomed_) owner->destroyFrame();
  return owner->settled_ && !owner->deliveryPosted_ ? owner : nullptr;
}

void PendingCore::frameStarts(std::coroutine_handle<> frame) noexcept {
  frame_ = frame;
  frameRuns_ = true;
}

void PendingCore::frameEnds() noexcept {
  frame_ = nullptr;
  frameRuns_ = false;
}

void PendingCore::destroyFrame() noexcept {
  if (!frame_) return;
  if (frameRuns_) {
    frameIsDoomed_ = true;
    return;
  }
  std::exchange(frame_, nullptr).destroy();
}

}  // namespace orv::detail
