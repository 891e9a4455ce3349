#pragma once

#include <orvnetwork/platform/Clock.h>
#include <orvnetwork/testing/Scheduler.h>

#include <chrono>
#include <memory>

namespace orv::testing {

/// The clocks of the simulation. The steady clock is the scheduler's; the wall clock goes at the same pace
/// and can be set. At the start it is 2024-01-31 08:00:00 UTC. Neither moves by itself: running the simulation moves
/// them to whatever is due next. The simulation's one thread only.
///
///     platform.clock().setWallTime(WallTime(std::chrono::seconds(1'735'689'599)));   // 2024-12-31 23:59:59 UTC
///     platform.runFor(Seconds(2));                                                   // the year has changed
class ORV_EXPORT SimulatedClock final : public Clock {
 public:
  /// @param scheduler whose virtual time both clocks show
  explicit SimulatedClock(std::shared_ptr<Scheduler> scheduler)
      : scheduler_(std::move(scheduler)), start_(scheduler_->now()) {}

  /// The time of day, for stamps and identifiers. It is the last time that was set, and the virtual time since then.
  WallTime wallNow() const override { return wallAtStart_ + (scheduler_->now() - start_); }
  /// The clock that timers go by. It starts at one hour and only goes forward.
  SteadyTime steadyNow() const override { return scheduler_->now(); }

  /// Sets the wall clock, forward or back, as a user or a time server does. No timer moves, and the steady clock neither.
  void setWallTime(WallTime time) { wallAtStart_ += time - wallNow(); }

 private:
  const std::shared_ptr<Scheduler> scheduler_;
  const SteadyTime start_;
  WallTime wallAtStart_{std::chrono::seconds(1'706'688'000)};
};

}  // namespace orv::testing
