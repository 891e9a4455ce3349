#pragma once

#include <string>
#include <string_view>

namespace orv {

/// The text with what is escaped as "%2F" in its plain form. Every "%" must have two hexadecimal digits behind it, as
/// `parseUrl` sees to. Any thread.
std::string percentDecoded(std::string_view text);

/// The bytes in base64 (RFC 4648, section 4). Any thread.
std::string base64(std::string_view bytes);

/// The value of an "Authorization" or "Proxy-Authorization" header for "user:password". Any thread.
std::string basicAuthorization(std::string_view userAndPassword);

}  // namespace orv
