#pragma once

#include <orvnetwork/client/MainThread.h>
#include <orvnetwork/client/Pending.h>
#include <orvnetwork/client/PendingState.h>

#include <memory>
#include <utility>

namespace orv {

/// The other end of a `Pending`: who will answer holds it. For work of a host's own, and for what calls back otherwise.
///
///     orv::Pending<orv::Result<Image>> decode(std::string file) {
///       orv::PendingSource<orv::Result<Image>> source;
///       auto pending = source.pending();
///       worker.decode(file, [source = std::move(source)](Image image) mutable { source.answer(std::move(image)); });
///       return pending;
///     }
///
/// Main thread only: a worker posts to the main queue first, and moves the source along. A source that is destroyed
/// without an answer tells "cancelled".
template <typename T = void>
class [[nodiscard]] PendingSource {
 public:
  using Answer = typename Pending<T>::Answer;

  PendingSource() : state_(std::make_shared<detail::PendingState<Answer>>()) {}
  PendingSource(PendingSource&& other) noexcept = default;
  /// Gives up what it would have answered.
  PendingSource& operator=(PendingSource&& other) noexcept {
    const PendingSource replaced(std::exchange(state_, std::move(other.state_)));
    return *this;
  }
  ~PendingSource() {
    if (!state_) return;
    detail::expectMainThread("a PendingSource");
    state_->cancel();
  }

  /// Where the answer is waited for. To be called once.
  Pending<T> pending() { return Pending<T>(state_); }
  /// Whether anybody still wants an answer.
  bool isWanted() const noexcept { return state_ && state_->isWanted(); }
  /// Answers; who waits is told in a later turn of the main queue. Does nothing when nobody wants it any more.
  void answer(Answer value) {
    detail::expectMainThread("PendingSource::answer");
    const auto state = std::exchange(state_, nullptr);
    if (state && state->settle(std::move(value))) state->deliverSoon();
  }
  /// Answers and tells who waits before it returns. Only from a closure that the main queue runs for this alone.
  void answerNow(Answer value) {
    detail::expectMainThread("PendingSource::answerNow");
    const auto state = std::exchange(state_, nullptr);
    if (state && state->settle(std::move(value))) detail::PendingCore::deliver(state);
  }

 private:
  explicit PendingSource(std::shared_ptr<detail::PendingState<Answer>> state) noexcept
      : state_(std::move(state)) {}

  std::shared_ptr<detail::PendingState<Answer>> state_;
};

}  // namespace orv
