#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>

namespace orv {

/// Reads the two clocks. Neither blocks; any thread.
///
///     Clock& clock = Platform::current().clock();
///     const SteadyTime begin = clock.steadyNow();
///     work();
///     const Seconds took = clock.steadyNow() - begin;
class ORV_EXPORT Clock {
 public:
  virtual ~Clock() = default;

  /// The date and time of day, in nanoseconds since 1970-01-01 00:00 UTC. It may jump either way when somebody
  /// sets the clock: for what is shown, stored or sent, not for measuring.
  virtual WallTime wallNow() const = 0;

  /// A moment for measuring how long something takes. It never goes back and no setting of the clock moves it;
  /// its origin means nothing, so it cannot be compared with one of another process.
  /// It is the clock that `DelayService` and `Timer` go by.
  virtual SteadyTime steadyNow() const = 0;
};

}  // namespace orv
