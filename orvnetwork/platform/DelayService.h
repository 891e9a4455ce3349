#pragma once

#include <orvnetwork/data/Types.h>
#include <orvnetwork/platform/Executor.h>

namespace orv {

/// Posts tasks later. It runs none itself: when a task is due it goes to the executor that was named for it, behind
/// what waits there already.
class ORV_EXPORT DelayService {
 public:
  /// Names a task that was asked for; never 0, and never given twice.
  using Handle = std::uint64_t;

  virtual ~DelayService() = default;

  /// Posts `task` to `executor` once the steady clock has reached `when`, never before and never inside this
  /// call. Tasks due at the same moment are posted in the order in which they were asked for. Any thread.
  /// @param when a moment of `Clock::steadyNow`; one that has passed means as soon as possible
  /// @param executor must live until the task has been posted or cancelled
  /// @return what `cancel` takes
  virtual Handle runAt(SteadyTime when, Executor& executor, Task task) = 0;

  /// Forgets a task that has not been posted yet, and destroys it on the calling thread; otherwise does nothing.
  /// Any thread.
  virtual void cancel(Handle handle) = 0;
};

}  // namespace orv
