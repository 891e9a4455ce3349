#pragma once

#include <orvnetwork/data/Types.h>

#include <string>
#include <string_view>

struct x509_st;

namespace orv {

/// The pin of a certificate's public key: SHA-256 of its SubjectPublicKeyInfo in base64. Empty when the key cannot be
/// written down. Any thread.
std::string keyPin(const x509_st* certificate);

/// A pin as `TlsSettings::pins` takes it, in the form of `keyPin`; absent when it is none. Any thread.
OptionalString readPin(std::string_view text);

}  // namespace orv
