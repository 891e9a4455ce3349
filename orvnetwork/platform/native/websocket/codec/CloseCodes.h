#pragma once

/// @file
/// Codes of the WebSocket closing handshake.

namespace orv::close_codes {

inline constexpr int kNormal = 1000;
inline constexpr int kGoingAway = 1001;
inline constexpr int kProtocolError = 1002;
inline constexpr int kBadPayload = 1007;
inline constexpr int kTooBig = 1009;
/// Told for a close frame that has no code.
inline constexpr int kNone = 1005;

/// The reason told when the peer ended the stream without a close frame.
inline constexpr const char* kStreamEndReason = "Stream end encountered";

/// Whether a peer may send `code`: those of the protocol that are not reserved, and the free ranges.
constexpr bool isAllowed(int code) {
  const bool reserved = code >= 1004 && code <= 1006;
  return (code >= 1000 && code <= 1011 && !reserved) || (code >= 3000 && code <= 4999);
}

}  // namespace orv::close_codes
