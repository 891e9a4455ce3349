#pragma once

// What a `Pending` and the one who will answer share. `PendingCore` knows who waits and what ends the waiting,
// `PendingState` the answer, `PendingAwaiter` and `PendingPromise` are the two sides of a coroutine. Main thread only.

#include <orvnetwork/client/PendingEnd.h>
#include <orvnetwork/client/Subscription.h>
#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Task.h>
#include <orvnetwork/data/Types.h>
#include <orvnetwork/platform/DelayService.h>

#include <coroutine>
#include <memory>
#include <optional>
#include <stop_token>
#include <utility>

namespace orv::detail {

/// Who waits for an answer of any type: a callback, or a coroutine. At most one of them, and it is told once.
///
/// Whoever calls something here holds a pointer to it meanwhile.
class ORV_EXPORT PendingCore : public Withdrawable, public std::enable_shared_from_this<PendingCore> {
 public:
  using Pointer = std::shared_ptr<PendingCore>;

  PendingCore();
  ~PendingCore() override;
  PendingCore(const PendingCore&) = delete;
  PendingCore& operator=(const PendingCore&) = delete;

  /// Whether the answer is there, or it is known that none will come.
  bool isSettled() const noexcept { return settled_; }
  /// Whether it is there and no turn is under way that will tell it. Until that turn has come, a coroutine that asks
  /// again and again would keep the main thread for itself.
  bool isAtHand() const noexcept { return settled_ && !deliveryPosted_; }
  /// Whether an answer would still be of use.
  bool isWanted() const noexcept { return !settled_ && !withdrawn_; }

  /// @name The one who waits
  /// @{
  /// Has `continuation` called, once, in a turn of the main queue of its own when the answer is there.
  void follow(Task continuation);
  /// Whether a callback waits.
  bool isFollowed() const noexcept { return static_cast<bool>(continuation_); }
  /// Whether a coroutine waits.
  bool isAwaited() const noexcept { return waiter_ != nullptr; }
  /// @param owner the core for which the coroutine works; null for a coroutine of another kind
  void addWaiter(std::coroutine_handle<> waiter, Pointer owner) noexcept;
  /// For a coroutine that is destroyed while it waits.
  void removeWaiter(std::coroutine_handle<> waiter) noexcept;
  /// Nobody is told any more, and a coroutine that works for it is destroyed. A coroutine that awaits it is told
  /// "cancelled", since it would wait for ever.
  void withdraw() noexcept override;
  /// Ends the waiting with "cancelled".
  void cancel();
  /// Ends it as timed out after so many seconds. A second call puts another deadline in the place of the first.
  void setDeadline(Seconds fromNow);
  /// Ends it with "cancelled" when a stop is asked for, on whatever thread that is; it is told on the main thread.
  void stopOn(std::stop_token token);
  /// @}

  /// @name The one who answers
  /// @{
  /// Tells who waits, if anybody does. In a turn of the main queue that nobody who waits has caused.
  static void deliver(Pointer core);
  /// The same in a turn of its own.
  void deliverSoon();
  /// A coroutine works for it from now on, and is destroyed when nobody wants the answer any more.
  void frameStarts(std::coroutine_handle<> frame) noexcept;
  /// The coroutine is over and has answered.
  void frameEnds() noexcept;
  /// Settles it without an answer, and without telling anybody yet.
  void end(PendingEnd how);
  /// @}

 protected:
  /// To be called when the answer has been put in its place.
  void setSettled() noexcept;

 private:
  class StopWatch;

  /// Puts what stands for no answer in the answer's place.
  virtual void fill(PendingEnd how) = 0;
  Pointer resumeWaiter();
  void expire();
  void dropLimits() noexcept;
  void destroyFrame() noexcept;

  Task continuation_;
  std::coroutine_handle<> waiter_;
  Pointer waitersOwner_;
  std::coroutine_handle<> frame_;  // of the coroutine that works for it
  DelayService::Handle deadline_ = 0;
  SteadyTime deadlineAt_{};
  std::unique_ptr<StopWatch> stopWatch_;
  bool settled_ = false;
  bool withdrawn_ = false;
  bool deliveryPosted_ = false;
  bool frameRuns_ = false;
  bool frameIsDoomed_ = false;
};

/// The answer itself.
template <typename T>
class PendingState : public PendingCore {
  static_assert(Answerable<T>,
                "this type cannot say that no answer came: wait for a Result<T> or a std::optional<T>");

 public:
  /// Puts the answer in its place and tells nobody yet; false when it is not wanted any more.
  bool settle(T answer) {
    if (!isWanted()) return false;
    answer_.emplace(std::move(answer));
    setSettled();
    return true;
  }
  /// Moves the answer out. A second time there is none.
  T take() {
    if (!answer_) return WithoutAnswer<T>::make(PendingEnd::Cancelled);
    T taken = std::move(*answer_);
    answer_.reset();
    return taken;
  }

 private:
  void fill(PendingEnd how) override { answer_.emplace(WithoutAnswer<T>::make(how)); }

  std::optional<T> answer_;
};

/// What stands in a coroutine's frame while it awaits. Destroyed with the frame, it takes itself off the list.
template <typename T>
class PendingAwaiter {
 public:
  explicit PendingAwaiter(std::shared_ptr<PendingState<T>> state) noexcept : state_(std::move(state)) {}
  PendingAwaiter(const PendingAwaiter&) = delete;
  PendingAwaiter& operator=(const PendingAwaiter&) = delete;
  ~PendingAwaiter() {
    if (waiter_) state_->removeWaiter(waiter_);
  }

  /// Where somebody else awaits already there is nothing to be had, and nothing to wait for.
  bool await_ready() const noexcept { return state_->isAtHand() || state_->isAwaited(); }
  template <typename Promise>
  void await_suspend(std::coroutine_handle<Promise> waiter) noexcept {
    waiter_ = waiter;
    if constexpr (requires { waiter.promise().core(); }) {
      state_->addWaiter(waiter, waiter.promise().core());
    } else {
      state_->addWaiter(waiter, nullptr);
    }
  }
  T await_resume() {
    waiter_ = nullptr;
    return state_->isAtHand() ? state_->take() : WithoutAnswer<T>::make(PendingEnd::Cancelled);
  }

 private:
  const std::shared_ptr<PendingState<T>> state_;
  std::coroutine_handle<> waiter_;
};

}  // namespace orv::detail
