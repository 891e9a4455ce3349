#include "orvnetwork/testing/SimulatedBackgroundDrain.h"

#include <functional>
#include <memory>

namespace orv::testing {

struct SimulatedBackgroundDrain::State {
  std::shared_ptr<Lane> lane;
  std::function<void()> drain;
  bool nudged = false;
  bool running = false;
  bool ended = false;
};

SimulatedBackgroundDrain::SimulatedBackgroundDrain(Scheduler& scheduler, std::function<void()> drain)
    : state_(std::make_shared<State>()) {
  state_->lane = scheduler.makeLane(LaneKind::Background, "background drain");
  state_->drain = std::move(drain);
}

SimulatedBackgroundDrain::~SimulatedBackgroundDrain() {
  state_->ended = true;
  state_->lane->clear();
}

void SimulatedBackgroundDrain::nudge() {
  if (std::exchange(state_->nudged, true)) {
    return;
  }
  state_->lane->post([state = state_] {
    state->nudged = false;
    if (!state->ended) {
      run(*state);
    }
  });
}

void SimulatedBackgroundDrain::runNow() {
  const auto keepAlive = state_;
  run(*keepAlive);
}

void SimulatedBackgroundDrain::run(State& state) {
  if (state.running) {
    return;
  }
  state.running = true;
  runGuarded("background drain", state.drain);
  state.running = false;
}

}  // namespace orv::testing
