#pragma once

#include <orvnetwork/platform/DelayService.h>
#include <orvnetwork/testing/Scheduler.h>

#include <memory>

namespace orv::testing {

/// Delayed tasks in virtual time: nothing waits for them; whoever runs the simulation moves the clock to the next one.
///
/// Tasks that are due at the same moment run in the order that the scheduler's seed gives their lanes. The simulation's
/// one thread only.
class ORV_EXPORT SimulatedDelayService final : public DelayService {
 public:
  explicit SimulatedDelayService(std::shared_ptr<Scheduler> scheduler) : scheduler_(std::move(scheduler)) {}

  /// Hands `task` to `executor` when the virtual steady clock has come to `when`; at once for a moment that has passed.
  /// @return what `cancel` takes
  Handle runAt(SteadyTime when, Executor& executor, Task task) override {
    return scheduler_->runAt(when, executor, std::move(task));
  }
  /// A task that has not been handed over never runs; one that has, runs.
  void cancel(Handle handle) override { scheduler_->cancel(handle); }

 private:
  const std::shared_ptr<Scheduler> scheduler_;
};

}  // namespace orv::testing
