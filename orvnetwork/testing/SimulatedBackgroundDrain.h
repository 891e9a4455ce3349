#pragma once

#include <orvnetwork/platform/BackgroundDrain.h>
#include <orvnetwork/testing/Scheduler.h>

#include <functional>
#include <memory>

namespace orv::testing {

/// A background drain on a lane of its own: work that was reported is done when the seed gives it a turn.
class ORV_EXPORT SimulatedBackgroundDrain final : public BackgroundDrain {
 public:
  SimulatedBackgroundDrain(Scheduler& scheduler, std::function<void()> drain);
  /// Work that was reported and not done yet is not done any more.
  ~SimulatedBackgroundDrain() override;

  void nudge() override;
  /// Called from inside the function it does nothing.
  void runNow() override;

 private:
  struct State;
  static void run(State& state);

  const std::shared_ptr<State> state_;
};

}  // namespace orv::testing
