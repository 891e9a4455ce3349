#pragma once

#include <orvnetwork/data/Error.h>

#include <string>

struct ssl_st;

namespace orv {

/// Makes a TLS 1.2 or newer client session for `host`: it names the host to the server, and takes no
/// certificate but one for that name (or numeric address) that leads to the system's trust store, or to the
/// one that the environment names with SSL_CERT_FILE and SSL_CERT_DIR. Null when there is no memory for it.
/// The caller owns the session. Any thread.
ssl_st* newTlsSession(const std::string& host);

/// Why a handshake failed: the verifier's reason if it refused the certificate, else `code` of the TLS
/// library.
Error tlsHandshakeError(const ssl_st* session, unsigned long code);

}  // namespace orv
