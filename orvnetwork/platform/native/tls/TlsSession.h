#pragma once

#include <orvnetwork/data/Error.h>
#include <orvnetwork/platform/ConnectReport.h>
#include <orvnetwork/platform/native/tls/TlsContext.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

struct ssl_st;

namespace orv {

/// Whom a session is for.
struct TlsServer {
  /// A name or a numeric address, without brackets.
  std::string host;
  std::uint16_t port = 0;
  /// Whether the handshake may go on from an earlier one, and leave something for later ones.
  bool resumes = true;
};

/// Makes a client session for `server`: it names the host to the server, and takes no certificate but one for that name
/// (or numeric address) that leads to a root of the context's and, if the context has pins, has one of those keys on its
/// way there. A ticket of an earlier handshake is offered if there is one. Null when there is no memory. The caller owns
/// the session. This and all that follows belongs to the network thread.
ssl_st* newTlsSession(std::shared_ptr<const TlsContext> context, const TlsServer& server);

/// To be asked once the handshake has succeeded: why it does not count all the same. A handshake that went on from another
/// one counts only if that one had checked the very same.
std::optional<Error> tlsHandshakeFlaw(const ssl_st* session);

/// Why a session has failed, in its handshake or later: the verifier's reason if it refused the certificate, else `code`
/// of the TLS library. Tickets for this server are dropped if one was offered in vain.
Error tlsSessionError(const ssl_st* session, unsigned long code);

/// Writes down what there is to tell of a handshake, as far as it has come.
void reportTls(const ssl_st* session, ConnectReport& report);

}  // namespace orv
