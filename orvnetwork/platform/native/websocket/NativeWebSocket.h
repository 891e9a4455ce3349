#pragma once

#include <orvnetwork/platform/Executor.h>
#include <orvnetwork/platform/WebSocket.h>
#include <orvnetwork/platform/WebSocketError.h>

#include <cstddef>
#include <memory>

namespace orv {

/// Bounds of one socket. The defaults are the ones meant for use; tests lower them.
struct NativeWebSocketLimits {
  /// How long a peer may take to answer a close frame, as long as it takes nothing of what waits.
  Seconds closing{10.0};
  /// How long sent data may stay unacknowledged before the peer counts as dead.
  Seconds unacknowledged{30.0};
  /// Text that may wait to be sent, in bytes, a small sum for each message included.
  std::size_t outgoingBytes = std::size_t{256} << 20;
  /// The longest message that is taken; a longer one is a protocol error.
  std::size_t incomingBytes = std::size_t{256} << 20;
  /// Memory that messages may hold until the main thread has dealt with them, in bytes: their texts, what `prepare`
  /// made of them, and a small sum for each. Beyond it the socket is not read until some have been let go; one message
  /// that is larger by itself is read when it is alone.
  std::size_t undeliveredBytes = std::size_t{256} << 20;
};

/// Makes a WebSocket client on the operating system's sockets, with TLS for wss and https. All network work is
/// done on one thread of the process, which lives until its end; events are posted to `mainQueue`, which must
/// live as long. Any thread.
std::shared_ptr<WebSocket> makeNativeWebSocket(WebSocketRequest request, Executor& mainQueue,
                                               NativeWebSocketLimits limits = {});

}  // namespace orv
