#pragma once

#include <orvnetwork/platform/Executor.h>
#include <orvnetwork/platform/WebSocket.h>

#include <cstddef>
#include <memory>

namespace orv {

/// Domains and codes of the errors that a socket fails with. Errors of the operating system have the domain
/// "POSIX" and its error number.
namespace websocket_error {
/// The protocol itself; its codes are the ones below.
inline constexpr const char* kDomain = "OrvWebSocket";
/// TLS: the code is the verifier's result for a refused certificate, else the TLS library's reason.
inline constexpr const char* kTlsDomain = "OrvTls";
/// Name look-up: the code is the one of getaddrinfo.
inline constexpr const char* kNameLookupDomain = "OrvNameLookup";

inline constexpr int kBadUrl = -1000;
inline constexpr int kTimedOut = 504;
/// The server answered the handshake with an HTTP status of 400 or more, which the description names.
inline constexpr int kRefusedByServer = 2132;
/// The server's answer to the handshake is not that of a WebSocket server.
inline constexpr int kBadHandshake = 2133;
/// Writing failed, or more text waits than the limit allows.
inline constexpr int kWriteFailed = 2145;
}  // namespace websocket_error

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
