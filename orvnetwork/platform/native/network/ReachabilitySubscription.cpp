#include "orvnetwork/platform/native/network/ReachabilitySubscription.h"

namespace orv {

void ReachabilitySubscription::setServerIsOnThisMachine(bool isHere) {
  const std::lock_guard lock(mutex_);
  serverIsHere_ = isHere;
}

ReachabilitySubscription::SharedCallback ReachabilitySubscription::start(Reachability::Callback callback) {
  return beginPeriod(callback ? std::make_shared<const Reachability::Callback>(std::move(callback)) : nullptr,
                     true);
}

ReachabilitySubscription::SharedCallback ReachabilitySubscription::stop() {
  return beginPeriod(nullptr, false);
}

ReachabilitySubscription::SharedCallback ReachabilitySubscription::beginPeriod(SharedCallback callback,
                                                                               bool monitoring) {
  const std::lock_guard lock(mutex_);
  ++period_;
  monitoring_ = monitoring;
  callback_.swap(callback);
  return callback;
}

ReachabilitySubscription::Period ReachabilitySubscription::monitoredPeriod() const {
  const std::lock_guard lock(mutex_);
  return monitoring_ ? period_ : 0;
}

void ReachabilitySubscription::deliver(Period period, NetworkFacts facts) const {
  SharedCallback callback;
  ReachabilityStatus status{};
  {
    const std::lock_guard lock(mutex_);
    if (period != period_) return;
    callback = callback_;
    status = serverIsHere_ ? facts.thisMachine : facts.world;
  }
  if (callback) (*callback)(status);
}

}  // namespace orv
