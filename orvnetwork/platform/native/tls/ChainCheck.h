#pragma once

struct x509_store_ctx_st;

namespace orv {

/// The check of a server's chain of certificates, which the TLS library calls during a full handshake: the library's own
/// verifier with all its rules, and after it the pins. What was seen goes into the session's facts. 1 when the chain is
/// good. Throws nothing.
int checkChain(x509_store_ctx_st* verifier, void*);

}  // namespace orv
