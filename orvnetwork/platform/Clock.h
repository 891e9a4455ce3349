#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>

namespace orv {

/// Reads the two clocks. Neither blocks; any thread.
class ORV_EXPORT Clock {
 public:
  virtual ~Clock() = default;

  /// The date and time of day, in nanoseconds since 1970-01-01 00:00 UTC. It may jump either way when somebody
  /// sets the clock: for what is shown, stored or sent, not for measuring.
  virtual WallTime wallNow() const = 0;

  /// A moment for measuring how long something takes. It never goes back and no setting of the clock moves it;
  /// its origin means nothing, so it cannot be compared with one of another process.
  virtual SteadyTime steadyNow() const = 0;
};

}  // namespace orv
