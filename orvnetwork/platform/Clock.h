#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>

namespace orv {

/// Reads the two clocks. Any thread.
class ORV_EXPORT Clock {
 public:
  virtual ~Clock() = default;
  virtual WallTime wallNow() const = 0;
  virtual SteadyTime steadyNow() const = 0;
};

}  // namespace orv
