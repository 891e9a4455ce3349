#pragma once

#include <orvnetwork/platform/Clock.h>
#include <orvnetwork/testing/Scheduler.h>

#include <chrono>
#include <memory>

namespace orv::testing {

/// The clocks of the simulation. The steady clock is the scheduler's; the wall clock goes at the same pace
/// and can be set. At the start it is 2024-01-31 08:00:00 UTC.
class ORV_EXPORT SimulatedClock final : public Clock {
 public:
  explicit SimulatedClock(std::shared_ptr<Scheduler> scheduler)
      : scheduler_(std::move(scheduler)), start_(scheduler_->now()) {}

  WallTime wallNow() const override { return wallAtStart_ + (scheduler_->now() - start_); }
  SteadyTime steadyNow() const override { return scheduler_->now(); }

  /// Sets the wall clock. No timer moves.
  void setWallTime(WallTime time) { wallAtStart_ += time - wallNow(); }

 private:
  const std::shared_ptr<Scheduler> scheduler_;
  const SteadyTime start_;
  WallTime wallAtStart_{std::chrono::seconds(1'706'688'000)};
};

}  // namespace orv::testing
