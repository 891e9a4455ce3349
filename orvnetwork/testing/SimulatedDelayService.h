#pragma once

#include <orvnetwork/platform/DelayService.h>
#include <orvnetwork/testing/Scheduler.h>

#include <map>
#include <memory>
#include <optional>

namespace orv::testing {

/// Delayed tasks in virtual time: nothing waits for them; whoever runs the simulation moves the clock to the next one.
///
/// Tasks that are due at the same moment run in the order that the scheduler's seed gives their lanes. The simulation's
/// one thread only.
///
///     const SteadyTime when = platform.clock().steadyNow() + std::chrono::seconds(30);
///     platform.delays().runAt(when, platform.mainQueue(), [] { ring(); });
///     platform.runFor(Seconds(29));   // nothing yet
///     platform.runFor(Seconds(1));    // it rings
class ORV_EXPORT SimulatedDelayService final : public DelayService {
 public:
  /// @param scheduler whose virtual time counts; shared with the rest of the simulation
  explicit SimulatedDelayService(std::shared_ptr<Scheduler> scheduler) : scheduler_(std::move(scheduler)) {}

  /// Hands `task` to `executor` when the virtual steady clock has come to `when`; at once for a moment that has passed.
  /// @return what `cancel` takes
  /// The task is destroyed without having run when the simulation ends before.
  Handle runAt(SteadyTime when, Executor& executor, Task task) override;
  /// A task that has not been handed over never runs; one that has, runs.
  void cancel(Handle handle) override;

  /// Lets the `n`-th request from now fail, 1 being the next; 0 lets none fail. It fails as where no thread is to be had
  /// that waits: the task is not handed over before the next request, which tries again, however long ago it was due.
  void failAt(std::uint64_t n) { failIn_ = n; }
  /// How many requests were made to fail; 0 says that there were fewer than `n`.
  std::uint64_t failuresInjected() const { return failures_; }

 private:
  struct Waiting {
    Handle handle = 0;
    SteadyTime when;
    Executor* executor = nullptr;
    std::shared_ptr<Task> task;
  };

  const std::shared_ptr<Scheduler> scheduler_;
  std::uint64_t failIn_ = 0;
  std::uint64_t failures_ = 0;
  /// What has failed and waits for the next request.
  std::optional<Waiting> waiting_;
  /// Handles that were given for tasks that had to wait, and those under which they are scheduled now.
  std::map<Handle, Handle> scheduledAs_;
};

}  // namespace orv::testing
