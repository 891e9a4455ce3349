#include "orvnetwork/testing/SimulatedPlatform.h"

#include <orvnetwork/testing/SimulatedBackgroundDrain.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>

namespace orv::testing {

namespace {

std::chrono::nanoseconds toNanoseconds(Seconds span) {
  return std::chrono::round<std::chrono::nanoseconds>(span);
}

}  // namespace

SimulatedPlatform& SimulatedPlatform::install(std::uint64_t seed) {
  auto platform = std::make_unique<SimulatedPlatform>(seed);
  auto& installed = *platform;
  if (!Platform::install(std::move(platform))) {
    throw std::logic_error("another platform is in use: install the simulated one first, once a process");
  }
  return installed;
}

// Each source of chance has a stream of its own, so that one does not disturb another.
SimulatedPlatform::SimulatedPlatform(std::uint64_t seed)
    : seed_(seed),
      scheduler_(Scheduler::make(seed)),
      start_(scheduler_->now()),
      clock_(scheduler_),
      mainQueue_(scheduler_),
      workers_(scheduler_->makeLane(LaneKind::Workers, "workers")),
      delays_(scheduler_),
      reachability_(*scheduler_, mainQueue_),
      files_(seed + 1),
      network_(scheduler_, mainQueue_),
      randomNumbers_(seed + 2) {}

SimulatedPlatform::~SimulatedPlatform() {
  scheduler_->shutDown();
}

void SimulatedPlatform::settle(std::uint64_t stepLimit) {
  scheduler_->settle(stepLimit);
}

void SimulatedPlatform::runFor(Seconds span) {
  runUntil([] { return false; }, span);
}

bool SimulatedPlatform::runUntil(const std::function<bool()>& done, Seconds limit) {
  const auto end = scheduler_->now() + std::max(std::chrono::nanoseconds::zero(), toNanoseconds(limit));
  while (true) {
    if (scheduler_->settleUntil(done)) {
      return true;
    }
    const auto due = scheduler_->nextDue();
    // What is due and yet not run waits for a task further down on the call stack.
    if (!due || *due > end || *due <= scheduler_->now()) {
      break;
    }
    scheduler_->moveTo(*due);
  }
  scheduler_->moveTo(end);
  return done();
}

bool SimulatedPlatform::step() {
  return scheduler_->step();
}

void SimulatedPlatform::stall(Seconds span) {
  scheduler_->moveTo(scheduler_->now() + toNanoseconds(span));
}

void SimulatedPlatform::jumpWallClock(Seconds by) {
  clock_.setWallTime(clock_.wallNow() + toNanoseconds(by));
}

void SimulatedPlatform::queueRandom(const std::vector<std::uint32_t>& values) {
  queuedRandom_.insert(queuedRandom_.end(), values.begin(), values.end());
}

std::optional<Seconds> SimulatedPlatform::nextDueIn() const {
  const auto due = scheduler_->nextDue();
  if (!due) {
    return std::nullopt;
  }
  return *due - scheduler_->now();
}

std::uint32_t SimulatedPlatform::random() {
  if (queuedRandom_.empty()) {
    return static_cast<std::uint32_t>(randomNumbers_.next() >> 32);
  }
  const auto value = queuedRandom_.front();
  queuedRandom_.pop_front();
  return value;
}

std::shared_ptr<WebSocket> SimulatedPlatform::makeWebSocket(WebSocketRequest request) {
  return network_.makeWebSocket(std::move(request));
}

std::unique_ptr<BackgroundDrain> SimulatedPlatform::makeBackgroundDrain(std::function<void()> drain) {
  return std::make_unique<SimulatedBackgroundDrain>(*scheduler_, std::move(drain));
}

}  // namespace orv::testing
