#pragma once

#include <orvnetwork/client/MainThread.h>
#include <orvnetwork/client/PendingCallback.h>
#include <orvnetwork/client/PendingEnd.h>
#include <orvnetwork/client/PendingState.h>
#include <orvnetwork/data/Types.h>
#include <orvnetwork/platform/Executor.h>

#include <concepts>
#include <coroutine>
#include <memory>
#include <stop_token>
#include <type_traits>
#include <utility>

namespace orv {

namespace detail {
template <typename T>
class PendingPromise;
}  // namespace detail

/// The answer that will come, and the right to have it.
///
/// Whoever holds it waits for the answer in one of two ways, once:
///
///     class Window {
///       // A callback. The handle is a member of whoever the callback belongs to.
///       void askFor(const std::string& room) {
///         info_ = orv::ask<&orv::QXAPIHelper::getCourseInfo_completeBlock_timeoutBlock>(room).then(
///             [this](const orv::Reply& reply) { paint(reply); });
///       }
///       // A coroutine, in two lines: ask, then await.
///       orv::Pending<> load(std::string room) {
///         auto asked = orv::ask<&orv::QXAPIHelper::getCourseInfo_completeBlock_timeoutBlock>(room);
///         const orv::Reply reply = co_await asked;
///         paint(reply);
///       }
///       void open() { loading_ = load("7"); }     // the member keeps the coroutine alive
///       void paint(const orv::Reply& reply) { show(reply.sentence()); }
///
///       orv::PendingCallback info_;
///       orv::Pending<> loading_;
///     };
///
/// **Destroying it is silence**: nothing calls back any more, from inside its own callback too, and a coroutine that
/// works for it is destroyed with all that it awaits. One that is running at that moment dies where it suspends itself
/// next. What has been asked of the server stays asked.
///
/// **Every wait ends.** `cancel`, a deadline and a stop token give the answer up: a coroutine that works for it is
/// destroyed, then who waits is told so, once. Of an answer `T` it is told in the type's own words (`WithoutAnswer`); a
/// `Pending<>` tells a `PendingEnd`. A coroutine that awaits something which is destroyed by somebody else is told
/// "cancelled".
///
/// **Nobody is called inside the call that caused it**, but in a turn of the main queue in which nothing of the library is
/// under way. Who is told may run a loop of its own, as a modal dialogue does: other answers come in it.
///
/// A coroutine that returns a `Pending` begins at once, awaits other `Pending`s only, and must not throw: what it throws
/// is logged on the console, and who waits is told `PendingEnd::Thrown`. Its parameters are copied into its frame; let none
/// of them be a reference, and let no lambda that captures be one, since the lambda may be gone when it goes on.
///
/// Everything here belongs to the main thread; a debug build looks after that.
template <typename T = void>
class [[nodiscard]] Pending {
 public:
  /// What the waiting brings: `T`, and for `void` how it ended.
  using Answer = std::conditional_t<std::is_void_v<T>, PendingEnd, T>;
  using promise_type = detail::PendingPromise<T>;

  /// Nothing that is waited for. Who waits all the same is told "cancelled".
  Pending() noexcept {}
  /// For those who give answers; hosts have `PendingSource`.
  explicit Pending(std::shared_ptr<detail::PendingState<Answer>> state) noexcept : state_(std::move(state)) {}
  Pending(Pending&& other) noexcept : state_(std::move(other.state_)) {}
  /// Withdraws from what it waited for, and takes the other's place.
  Pending& operator=(Pending&& other) noexcept {
    const Pending replaced(std::exchange(state_, std::move(other.state_)));
    return *this;
  }
  ~Pending() {
    if (!state_) return;
    detail::expectMainThread("a Pending");
    state_->withdraw();
  }

  /// Calls `continuation` with the answer, once, from a turn of the main queue. It takes the answer's only place, so a
  /// second `then` does not compile.
  /// @param continuation is destroyed when it has been called or withdrawn; what it throws is logged on the console
  /// @return keeps the callback: without it there is no call
  template <std::invocable<Answer> Continuation>
  [[nodiscard]] PendingCallback then(Continuation continuation) && {
    detail::expectMainThread("Pending::then");
    const auto state = taken();
    state->follow([from = state.get(), call = std::move(continuation)]() mutable { call(from->take()); });
    return PendingCallback(state);
  }

  /// Waits in a coroutine. The `Pending` must have a name: `co_await ask<…>(…)` does not compile, since compilers in use
  /// destroy what such an expression holds twice. It may be awaited once.
  detail::PendingAwaiter<Answer> operator co_await() & {
    detail::expectMainThread("co_await");
    if (!state_) state_ = endedState();
    return detail::PendingAwaiter<Answer>(state_);
  }
  void operator co_await() && = delete;  // give it a name: ask in one line, await in the next

  /// Gives the answer up: who waits is told "cancelled", in a later turn of the main queue. A coroutine that works for it
  /// is destroyed before this returns, unless it is the one that calls. Does nothing once the answer is there.
  void cancel() {
    detail::expectMainThread("Pending::cancel");
    if (const auto state = state_) state->cancel();
  }
  /// Gives the answer up when `fromNow` has passed. Replaces a deadline that was set before; zero or less: as soon as
  /// possible.
  void deadline(Seconds fromNow) & {
    detail::expectMainThread("Pending::deadline");
    if (state_) state_->setDeadline(fromNow);
  }
  /// The same where it is made: `auto asked = ask<…>(…).deadline(Seconds(3));`
  Pending deadline(Seconds fromNow) && {
    deadline(fromNow);
    return std::move(*this);
  }
  /// Gives the answer up, as `cancel` does, when somebody asks `token` to stop, on whatever thread.
  void stopOn(std::stop_token token) & {
    detail::expectMainThread("Pending::stopOn");
    if (state_) state_->stopOn(std::move(token));
  }
  /// The same where it is made.
  Pending stopOn(std::stop_token token) && {
    stopOn(std::move(token));
    return std::move(*this);
  }
  /// Lets the work go on without anybody who waits: a coroutine then keeps itself until it ends, and nothing withdraws
  /// it. All that it uses must outlive it.
  void detach() && noexcept { state_.reset(); }

  /// Whether the answer is there, or it is known that none will come, and nobody has taken it.
  bool isReady() const noexcept { return state_ && state_->isSettled(); }
  /// Whether it waits for something.
  explicit operator bool() const noexcept { return state_ != nullptr; }

 private:
  using State = detail::PendingState<Answer>;

  static std::shared_ptr<State> endedState() {
    auto state = std::make_shared<State>();
    state->end(PendingEnd::Cancelled);
    return state;
  }
  std::shared_ptr<State> taken() { return state_ ? std::exchange(state_, nullptr) : endedState(); }

  std::shared_ptr<State> state_;
};

namespace detail {

/// What all coroutines that return a `Pending` have in common.
template <typename T, typename Promise>
class PendingPromiseBase {
 public:
  using Answer = typename Pending<T>::Answer;

  PendingPromiseBase() = default;
  PendingPromiseBase(const PendingPromiseBase&) = delete;
  PendingPromiseBase& operator=(const PendingPromiseBase&) = delete;
  ~PendingPromiseBase() { state_->frameEnds(); }

  Pending<T> get_return_object() {
    expectMainThread("a coroutine");
    state_->frameStarts(std::coroutine_handle<Promise>::from_promise(static_cast<Promise&>(*this)));
    return Pending<T>(state_);
  }
  std::suspend_never initial_suspend() const noexcept { return {}; }
  /// The frame is gone when `resume` returns; then who waits is told.
  std::suspend_never final_suspend() const noexcept { return {}; }
  void unhandled_exception() noexcept {
    reportException("coroutine");
    settle(WithoutAnswer<Answer>::make(PendingEnd::Thrown));
  }

  /// Only what ends by itself can be awaited, and only by its name.
  template <typename U>
  PendingAwaiter<typename Pending<U>::Answer> await_transform(Pending<U>& awaited) {
    return awaited.operator co_await();
  }
  template <typename U>
  void await_transform(Pending<U>&& awaited) = delete;  // give it a name: ask in one line, await in the next

  const std::shared_ptr<PendingState<Answer>>& core() const noexcept { return state_; }

 protected:
  void settle(Answer answer) { state_->settle(std::move(answer)); }

 private:
  const std::shared_ptr<PendingState<Answer>> state_ = std::make_shared<PendingState<Answer>>();
};

template <typename T>
class PendingPromise : public PendingPromiseBase<T, PendingPromise<T>> {
 public:
  void return_value(T answer) { this->settle(std::move(answer)); }
};

template <>
class PendingPromise<void> : public PendingPromiseBase<void, PendingPromise<void>> {
 public:
  void return_void() { settle(PendingEnd::Finished); }
};

}  // namespace detail

}  // namespace orv
