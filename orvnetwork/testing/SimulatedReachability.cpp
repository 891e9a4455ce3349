#include "orvnetwork/testing/SimulatedReachability.h"

#include <memory>
#include <utility>

namespace orv::testing {

SimulatedReachability::SimulatedReachability(Scheduler& scheduler, MainQueue& mainQueue)
    : mainQueue_(mainQueue), lane_(scheduler.makeLane(LaneKind::Link, "reachability")) {}

void SimulatedReachability::startMonitoring(Callback callback) {
  replace(std::move(callback));
  if (withheld_) {
    return;
  }
  lane_->post([watch = watch_, generation = watch_->generation, mainQueue = &mainQueue_] {
    if (watch->generation == generation) {
      post(*mainQueue, watch);
    }
  });
}

void SimulatedReachability::stopMonitoring() {
  ++watch_->generation;
  replace(nullptr);
}

void SimulatedReachability::replace(Callback callback) {
  mainQueue_.destroyThere(std::exchange(watch_->callback, std::move(callback)));
}

void SimulatedReachability::report(ReachabilityStatus status) {
  watch_->status = status;
  if (watch_->callback) {
    post(mainQueue_, watch_);
  }
}

void SimulatedReachability::setStatus(ReachabilityStatus status) {
  watch_->status = status;
}

void SimulatedReachability::post(Executor& mainQueue, const std::shared_ptr<Watch>& watch) {
  mainQueue.post([watch, status = watch->status, generation = watch->generation] {
    if (watch->generation != generation) {
      return;
    }
    // A copy: the callback may start or stop the monitoring.
    const Callback callback = watch->callback;
    if (callback) {
      callback(status);
    }
  });
}

}  // namespace orv::testing
