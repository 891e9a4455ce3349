#pragma once

#include <orvnetwork/data/Export.h>

#include <string>
#include <string_view>

namespace orv {

/// The MD5 digest of some bytes as 32 lower-case hexadecimal digits. It does not depend on how the system's
/// cryptography is configured: it works where only approved algorithms are enabled by default. Any thread.
/// @param bytes what is hashed, as it is: no encoding is applied and a zero byte ends nothing
///
///     md5Hex("")        // "d41d8cd98f00b204e9800998ecf8427e"
///     md5Hex("hello")   // "5d41402abc4b2a76b9719d911017c592"
///
/// For the protocol, which wants passwords in this form, and for telling texts apart. It keeps nothing secret.
ORV_EXPORT std::string md5Hex(std::string_view bytes);

}  // namespace orv
