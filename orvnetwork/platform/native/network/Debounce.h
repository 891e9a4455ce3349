#pragma once

#include <algorithm>
#include <chrono>
#include <optional>

namespace orv {

/// Turns bursts of events into single moments: one is due when nothing has happened for a while after an
/// event, or when the first event of the burst is a longer while ago. Not synchronised.
class Debounce {
 public:
  using Clock = std::chrono::steady_clock;

  /// `quiet`: how long nothing may happen; `longest`: how long a burst may put the moment off.
  Debounce(Clock::duration quiet, Clock::duration longest) : quiet_(quiet), longest_(longest) {}

  void eventAt(Clock::time_point now) {
    if (!due_) latest_ = now + longest_;
    due_ = std::min(now + quiet_, latest_);
  }

  /// When the moment is due; absent when no event waits.
  std::optional<Clock::time_point> dueAt() const { return due_; }

  /// Whether the moment has come. It starts afresh then.
  bool takeIfDue(Clock::time_point now) {
    if (!due_ || now < *due_) return false;
    due_.reset();
    return true;
  }

 private:
  Clock::duration quiet_;
  Clock::duration longest_;
  std::optional<Clock::time_point> due_;
  Clock::time_point latest_;
};

}  // namespace orv
