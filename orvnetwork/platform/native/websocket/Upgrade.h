#pragma once

// The opening handshake of RFC 6455, section 4: one HTTP request, and what must stand in the answer to it.

#include <orvnetwork/data/Types.h>
#include <orvnetwork/platform/native/websocket/WebSocketUrl.h>

#include <string>
#include <string_view>

namespace orv {

/// The request for a WebSocket. `key` is 16 random bytes in base64.
std::string upgradeRequest(const WebSocketUrl& url, std::string_view key);

/// What is wrong with an answer of status 101, in words; absent when the server agrees.
/// @param header with the empty line at its end
OptionalString flawOfUpgrade(std::string_view header, std::string_view key);

}  // namespace orv
