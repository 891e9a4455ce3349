#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace orv {

/// Whether a list as the variable NO_PROXY holds names this server. Entries stand between commas or blanks:
///
/// - "*": every server
/// - "example.org", ".example.org" and "*.example.org", which are the same: this domain and all below it
/// - "192.0.2.7", "2001:db8::7", "[2001:db8::7]": this address
/// - "192.0.2.0/24", "2001:db8::/32": the addresses of this network
/// - any of them but a network with ":443" behind it (an address with colons in brackets then): on this port only
///
/// Case and dots at the end of names do not count. Names are not looked up: a network has no names. What cannot be read
/// names nothing. `host` is as in an address, without brackets. Any thread.
bool isExcepted(std::string_view list, std::string_view host, std::uint16_t port);

}  // namespace orv
