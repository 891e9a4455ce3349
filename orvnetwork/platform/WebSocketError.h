#pragma once

namespace orv {

/// Domains and codes of the errors that a socket fails with, on the operating system and in the simulation.
namespace websocket_error {
/// The operating system: the code is its error number.
inline constexpr const char* kSystemDomain = "POSIX";
/// The protocol itself; its codes are the ones below.
inline constexpr const char* kDomain = "OrvWebSocket";
/// TLS: the code is the verifier's result for a refused certificate, else the TLS library's reason.
inline constexpr const char* kTlsDomain = "OrvTls";
/// Name look-up: the code is the one of getaddrinfo.
inline constexpr const char* kNameLookupDomain = "OrvNameLookup";

/// The address is none.
inline constexpr int kBadUrl = -1000;
/// No connection came about within the limit.
inline constexpr int kTimedOut = 504;
/// The server answered the handshake with an HTTP status of 400 or more, which the description names.
inline constexpr int kRefusedByServer = 2132;
/// The server's answer to the handshake is not that of a WebSocket server.
inline constexpr int kBadHandshake = 2133;
/// Writing failed, or more text waits than the limit allows.
inline constexpr int kWriteFailed = 2145;
}  // namespace websocket_error

}  // namespace orv
