#pragma once

#include <orvnetwork/data/Types.h>

#include <cstdint>

namespace orv {

/// What a WebSocket address says about the connection to make.
struct WebSocketUrl {
  bool secure = false;
  /// A name or a numeric address, without brackets.
  std::string host;
  std::uint16_t port = 0;
  /// Path and query; never empty.
  std::string target;
  /// Value of the "Host" header: with the port only where the address names one.
  std::string hostHeader;
  /// Value of the "Origin" header: with the port only where it is not the scheme's own.
  std::string origin;
  /// Value of the "Authorization" header, when the address carries a user.
  OptionalString authorization;

  bool operator==(const WebSocketUrl&) const = default;
};

/// Reads an absolute address of the scheme ws, http, wss or https (in any case). Absent for anything else:
/// another scheme, no host, a port outside 1 to 65535, characters that no address may contain. Any thread.
std::optional<WebSocketUrl> parseWebSocketUrl(std::string_view text);

}  // namespace orv
