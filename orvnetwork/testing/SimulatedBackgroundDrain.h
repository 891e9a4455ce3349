#pragma once

#include <orvnetwork/platform/BackgroundDrain.h>
#include <orvnetwork/testing/Scheduler.h>

#include <functional>
#include <memory>

namespace orv::testing {

/// A background drain on a lane of its own: work that was reported is done when the seed gives it a turn, before or after
/// what else is ready, as it would be on a thread. The simulation's one thread only.
///
/// Made by `SimulatedPlatform::makeBackgroundDrain`, and by a test that looks at the drain alone:
///
///     int written = 0;
///     SimulatedBackgroundDrain drain(platform.scheduler(), [&] { ++written; });
///     drain.nudge();
///     drain.nudge();
///     platform.settle();   // written is 1: two reports, one call
class ORV_EXPORT SimulatedBackgroundDrain final : public BackgroundDrain {
 public:
  /// @param drain does the work that was reported; called on the lane, never inside itself
  /// What it throws is logged on the console.
  SimulatedBackgroundDrain(Scheduler& scheduler, std::function<void()> drain);
  /// Work that was reported and not done yet is not done any more.
  ~SimulatedBackgroundDrain() override;

  /// Reports work. Several reports before the lane's turn bring one call.
  void nudge() override;
  /// Does the work now, before this returns.
  /// Called from inside the function it does nothing. A turn that was asked for by `nudge` comes all the same, later.
  void runNow() override;

 private:
  struct State;
  static void run(State& state);

  const std::shared_ptr<State> state_;
};

}  // namespace orv::testing
