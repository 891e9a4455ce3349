#pragma once

#include <orvnetwork/platform/Executor.h>
#include <orvnetwork/platform/Reachability.h>

#include <chrono>
#include <memory>
#include <string>

namespace orv {

struct NativeReachabilityOptions {
  /// A report follows when the system has announced nothing for this long ...
  std::chrono::milliseconds quiet{100};
  /// ... or when the first announcement is this long ago.
  std::chrono::milliseconds longestBurst{500};
  /// Where the system tells the kinds of its links.
  std::string linkInformation = "/sys/class/net";
};

/// Reachability as the kernel's links and routes tell it. It has a thread of its own from the first
/// `startMonitoring` until it is destroyed, in the network namespace of the thread that made that call.
/// Where the kernel tells nothing, as in some sandboxes, the network is reported as reachable once, and the
/// console hears of it. `mainQueue` must outlive the object. Destroying it waits for its thread, for some
/// milliseconds. Any thread.
std::unique_ptr<Reachability> makeNativeReachability(Executor& mainQueue,
                                                     NativeReachabilityOptions options = {});

}  // namespace orv
