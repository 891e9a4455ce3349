#pragma once

#include <orvnetwork/client/PendingState.h>
#include <orvnetwork/client/Subscription.h>
#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>

#include <memory>
#include <stop_token>

namespace orv {

/// A callback that waits for an answer: what `Pending::then` gives. Destroying it withdraws the callback for good.
///
/// It is destroyed, moved and asked on the main thread. Destroying it is always allowed, from inside the callback too:
/// the running call goes on to its end. What the callback captured is destroyed with it, or when it has been called.
class ORV_EXPORT PendingCallback {
 public:
  /// No callback.
  PendingCallback() noexcept = default;
  /// For `Pending`.
  explicit PendingCallback(std::shared_ptr<detail::PendingCore> core) noexcept;
  PendingCallback(PendingCallback&& other) noexcept = default;
  /// Withdraws the callback that it kept, and keeps the other's.
  PendingCallback& operator=(PendingCallback&& other) noexcept;
  ~PendingCallback();

  /// Gives the answer up: the callback is told "cancelled", from a turn of the main queue of its own, never inside this
  /// call. A request that has been sent stays sent. Does nothing once the answer is there.
  void cancel();
  /// Gives the answer up when `fromNow` has passed, and tells the callback that its time was over. Replaces the
  /// deadline that was set before; zero or less: as soon as possible.
  void deadline(Seconds fromNow);
  /// Gives the answer up, as `cancel` does, when somebody asks `token` to stop, on whatever thread.
  void stopOn(std::stop_token token);
  /// Lets the callback be called without anybody who keeps it. Nothing withdraws it any more, so all that it uses must
  /// outlive it.
  void detach() noexcept { core_.reset(); }

  /// Whether the callback waits still.
  bool isWaiting() const noexcept;
  /// The callback as a subscription, to be kept among others.
  operator Subscription() && noexcept { return Subscription(std::move(core_)); }

 private:
  std::shared_ptr<detail::PendingCore> core_;
};

}  // namespace orv
