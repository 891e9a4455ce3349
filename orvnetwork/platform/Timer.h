#pragma once

#include <orvnetwork/platform/DelayService.h>

#include <functional>
#include <memory>

namespace orv {

/// Runs an action on the main queue after an interval, once or again and again.
///
/// A repeating timer keeps its grid: it is due at creation + n × interval, slots that were missed are left
/// out, and it never runs twice at once. After `invalidate()` nothing runs, not even a firing that was
/// already queued. The steady clock counts, so a change of the wall clock moves nothing. A timer that has
/// been scheduled lives until it is invalidated, whether or not anybody holds it.
class ORV_EXPORT Timer {
 public:
  /// A new, running timer. Any thread.
  /// @param interval time to the first firing, and between firings, in seconds; zero or less means 0.1 ms
  /// @param repeats whether it fires again and again until it is invalidated
  /// @param action runs on the main queue; what it throws is logged to the console
  static std::shared_ptr<Timer> schedule(Seconds interval, bool repeats, std::function<void()> action);

  virtual ~Timer() = default;

  /// Runs the action now, on the calling thread. A one-shot timer is spent by it; a repeating one keeps its
  /// schedule. Does nothing on an invalid timer. The timer counts as valid while the action runs.
  virtual void fire() = 0;

  /// Ends the timer. Any thread, any number of times, also from inside the action. The action is destroyed on the
  /// main thread: before this returns when it is called there and no thread is inside the action.
  virtual void invalidate() = 0;

  /// Whether it will still fire, or its action runs. Any thread.
  virtual bool isValid() const = 0;
  /// The interval that it was made with, in seconds.
  virtual Seconds interval() const = 0;
};

}  // namespace orv
