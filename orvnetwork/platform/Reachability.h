#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>

#include <functional>

namespace orv {

/// What the network is good for: not known yet, nothing, paid by the byte, or anything else. The numbers are those
/// that notifications carry.
enum class ReachabilityStatus : int { Unknown = -1, NotReachable = 0, Cellular = 1, WiFi = 2 };

/// Watches whether there is a network.
/// Hosts leave it to `QXWebSocketMgr::watchNetworkStatus`; a platform has one watcher.
class ORV_EXPORT Reachability {
 public:
  /// Is called with each report, on the main queue.
  using Callback = std::function<void(ReachabilityStatus)>;

  virtual ~Reachability() = default;

  /// Names the server that matters, as a URL: one on a loopback address is reachable whenever the loopback
  /// interface is up; for any other, and for none, the default route counts. Any thread, before or during
  /// monitoring; takes effect with the next report.
  virtual void setServer(const OptionalString& url) = 0;

  /// Starts to watch. The first report follows soon after, always asynchronously; later ones on every change
  /// that the system reports, also when the status came out the same. `callback` runs on the main queue.
  /// Starting again replaces the callback and reports again. Any thread.
  virtual void startMonitoring(Callback callback) = 0;

  /// Stops; a report that was queued already is dropped when this is called on the main thread. Any thread.
  virtual void stopMonitoring() = 0;
};

}  // namespace orv
