#pragma once

#include <orvnetwork/data/Export.h>

namespace orv {

/// Runs one function again and again on a thread of its own, soon after work was reported. Reporting costs a
/// few nanoseconds because a drain that ran lately looks by itself, and only one that has fallen asleep is
/// woken. Made by `Platform::makeBackgroundDrain`.
class ORV_EXPORT BackgroundDrain {
 public:
  /// Once it has returned the function is not called any more; work that was reported may be left undone.
  virtual ~BackgroundDrain() = default;

  /// Says that there is work: the function runs within about a millisecond. Any thread, wait-free.
  virtual void nudge() = 0;

  /// Runs the function on the calling thread if it is not running, else waits for it and runs it again:
  /// on return all work reported before the call has been done. Does nothing inside the function itself. Any
  /// thread.
  virtual void runNow() = 0;
};

}  // namespace orv
