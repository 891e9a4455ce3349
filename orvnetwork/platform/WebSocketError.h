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
/// The proxy on the way: the code is one of those below, or the one of a SOCKS reply (1 to 8).
inline constexpr const char* kProxyDomain = "OrvProxy";
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

/// The proxy's answers that are no SOCKS reply. HTTP: the status as it came, 400 and above.
inline constexpr int kProxyNotUnderstood = -1100;
/// The proxy's name is not known, it cannot be connected to, does not answer, or ends the talk.
inline constexpr int kProxyUnreachable = -1103;
/// The proxy takes neither the user nor nobody.
inline constexpr int kProxyRefusesUser = -1101;
/// The settings name no proxy that could be used.
inline constexpr int kBadProxy = -1102;

/// TLS: none of the keys that are pinned is in the chain.
inline constexpr int kPinMismatch = -1200;
/// TLS: files of the settings could not be used.
inline constexpr int kBadTlsSettings = -1201;
}  // namespace websocket_error

}  // namespace orv
