#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace orv {

/// The SHA-1 digest of some bytes (FIPS 180-4, section 6.1). Any thread.
///
/// For the answer to a WebSocket handshake, which is to show that the server has read the key, and keeps nothing
/// secret. OpenSSL's would do too, but its first use reads a configuration and fills tables: 1 ms and half a megabyte
/// that a link without TLS has no other need for.
std::array<std::uint8_t, 20> sha1(std::string_view bytes);

}  // namespace orv
