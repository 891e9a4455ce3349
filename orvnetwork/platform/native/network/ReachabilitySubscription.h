#pragma once

#include <orvnetwork/platform/Reachability.h>

#include <cstdint>
#include <memory>
#include <mutex>

namespace orv {

/// What was found out about the network.
struct NetworkFacts {
  /// What the default routes are good for.
  ReachabilityStatus world = ReachabilityStatus::NotReachable;
  /// What the loopback link is good for.
  ReachabilityStatus thisMachine = ReachabilityStatus::NotReachable;
};

/// What the host wants to know of the network. Queued reports share it with the object that the host talks
/// to, and may outlive that. Any thread.
class ReachabilitySubscription {
 public:
  /// Each start and each stop begins a new period; reports of an older one are dropped. Never 0.
  using Period = std::uint64_t;

  void setServerIsOnThisMachine(bool isHere);
  /// Both return the callback that was in force, which is the host's: it is for the caller to let it go, with no lock
  /// held.
  using SharedCallback = std::shared_ptr<const Reachability::Callback>;
  SharedCallback start(Reachability::Callback callback);
  SharedCallback stop();

  /// The current period if reports are wanted in it, else 0.
  Period monitoredPeriod() const;

  /// Calls the callback with the status that matters for the server, on the calling thread, unless the period
  /// is over. What the callback throws comes out.
  void deliver(Period period, NetworkFacts facts) const;

 private:
  SharedCallback beginPeriod(SharedCallback callback, bool monitoring);

  mutable std::mutex mutex_;
  bool serverIsHere_ = false;
  bool monitoring_ = false;
  Period period_ = 1;
  SharedCallback callback_;
};

}  // namespace orv
