#pragma once

#include <orvnetwork/platform/Export.h>
#include <orvnetwork/platform/Types.h>

namespace orv {

/// Reads the two clocks. Any thread.
class ORV_EXPORT Clock {
 public:
  virtual ~Clock() = default;
  virtual WallTime wallNow() const = 0;
  virtual SteadyTime steadyNow() const = 0;
};

}  // namespace orv
