#pragma once

#include <orvnetwork/data/Types.h>
#include <orvnetwork/platform/Executor.h>

namespace orv {

/// Posts tasks later.
class ORV_EXPORT DelayService {
 public:
  using Handle = std::uint64_t;

  virtual ~DelayService() = default;

  /// Posts `task` to `executor` once the steady clock has reached `when`, never before and never inside this
  /// call. Tasks due at the same moment are posted in the order in which they were asked for. Any thread.
  virtual Handle runAt(SteadyTime when, Executor& executor, Task task) = 0;

  /// Forgets a task that has not been posted yet; otherwise does nothing. Any thread.
  virtual void cancel(Handle handle) = 0;
};

}  // namespace orv
