#pragma once

#include <orvnetwork/platform/Executor.h>
#include <orvnetwork/platform/Reachability.h>
#include <orvnetwork/platform/native/network/NativeReachabilityOptions.h>

#include <memory>

namespace orv {

/// Reachability as the kernel's links and routes tell it. It has a thread of its own from the first
/// `startMonitoring` until it is destroyed, in the network namespace of the thread that made that call.
/// Where the kernel tells nothing, as in some sandboxes, the network is reported as reachable once, and the
/// console gets a line. `mainQueue` must outlive the object. Destroying it waits for its thread, for some
/// milliseconds. Any thread.
std::unique_ptr<Reachability> makeNativeReachability(Executor& mainQueue,
                                                     NativeReachabilityOptions options = {});

}  // namespace orv
