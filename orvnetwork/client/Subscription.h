#pragma once

#include <orvnetwork/data/Export.h>

#include <memory>

namespace orv {

namespace detail {

/// Something that calls back until it is withdrawn.
class ORV_EXPORT Withdrawable {
 public:
  virtual ~Withdrawable();
  /// Nothing calls back any more once this has returned; a call that is running goes on to its end. Main thread.
  virtual void withdraw() noexcept = 0;
};

}  // namespace detail

/// Keeps a callback registered; destroying or resetting it withdraws the callback for good.
///
/// It is what everything gives out that tells something more than once. Keep it where the callback belongs, as a member
/// of the window that it paints: when the window goes, nothing reaches it any more.
///
///     class Window {
///      public:
///       explicit Window(orv::LinkStatus& link)
///           : shown_(link.onChanged([this](const orv::LinkChange& change) { paint(change.now.sentence()); })) {}
///
///      private:
///       void paint(const std::string& text) { show(text); }
///       orv::Subscription shown_;
///     };
///
/// It may be destroyed at any time on the main thread, from inside its own callback too: the running call goes on to its
/// end, and what the callback captured lives as long. What it captured is destroyed with it otherwise, before `reset`
/// returns. A subscription may outlive whoever gave it out.
class ORV_EXPORT Subscription {
 public:
  /// Of nothing.
  Subscription() noexcept = default;
  /// For those who give subscriptions out.
  explicit Subscription(std::shared_ptr<detail::Withdrawable> registered) noexcept;
  Subscription(Subscription&& other) noexcept = default;
  /// Withdraws the callback that it kept, and keeps the other's.
  Subscription& operator=(Subscription&& other) noexcept;
  ~Subscription() { reset(); }

  /// Withdraws the callback; does nothing the second time.
  void reset() noexcept;
  /// Whether it keeps a callback registered.
  explicit operator bool() const noexcept { return registered_ != nullptr; }

 private:
  std::shared_ptr<detail::Withdrawable> registered_;
};

}  // namespace orv
