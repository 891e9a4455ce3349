#pragma once

#include <orvnetwork/platform/Executor.h>
#include <orvnetwork/platform/WebSocket.h>

#include <memory>

namespace orv {

/// Stands in for a socket that could not be made: it fails with `error` as soon as it is opened. It takes
/// neither a descriptor nor a thread.
std::shared_ptr<WebSocket> makeFailedWebSocket(Executor& mainQueue, Error error);

}  // namespace orv
