#include "orvnetwork/platform/native/tls/TlsSession.h"

#include <orvnetwork/platform/WebSocketError.h>
#include <orvnetwork/platform/native/tls/ChainCheck.h>
#include <orvnetwork/platform/native/tls/SessionFacts.h>
#include <orvnetwork/platform/native/tls/TicketStamp.h>
#include <orvnetwork/platform/native/tls/TlsFailure.h>
#include <orvnetwork/platform/native/tls/TlsTickets.h>

#include <arpa/inet.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <chrono>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orv {

namespace {

WallTime wallNow() {
  return std::chrono::system_clock::now();
}

// ---- Tickets

/// How long the server takes a ticket.
std::chrono::seconds lifeOf(const SSL_SESSION* ticket) {
  const unsigned long told = SSL_SESSION_get_ticket_lifetime_hint(ticket);
  return std::chrono::seconds(told > 0 ? static_cast<long>(told) : SSL_SESSION_get_timeout(ticket));
}

void keepTicket(const SessionFacts& facts, SSL_SESSION* session) {
  if (!facts.resumes || SSL_SESSION_is_resumable(session) != 1) return;
  TlsTicket ticket;
  ticket.session.reset(SSL_SESSION_dup(session));
  if (ticket.session == nullptr || !stampTicket(ticket.session.get(), facts.key)) return;
  ticket.key = facts.key;
  ticket.verifiedAt = facts.verifiedAt;
  ticket.chainEnds = facts.chainEnds;
  ticket.expires = wallNow() + lifeOf(session);
  ticket.servesOnce = SSL_SESSION_get_protocol_version(session) >= TLS1_3_VERSION;
  tlsTickets().put(std::move(ticket));
}

/// What is kept is a copy: a link that ends without a goodbye, as links do that die, spoils the one in use.
int onNewTicket(SSL* session, SSL_SESSION* ticket) {
  try {
    keepTicket(factsOf(session), ticket);
  } catch (const std::exception&) {
    // The next handshake is a full one.
  }
  return 0;
}

void offerTicket(SSL* session, SessionFacts& facts) {
  auto ticket = tlsTickets().take(facts.key, wallNow());
  if (!ticket || SSL_set_session(session, ticket->session.get()) != 1) return;
  facts.offeredTicket = true;
  facts.verifiedAt = ticket->verifiedAt;
  facts.chainEnds = ticket->chainEnds;
}

// ---- Making a session

int onCertificateWanted(SSL* session, void*) {
  factsOf(session).askedForCertificate = true;
  return 1;
}

bool isNumericAddress(const std::string& host) {
  in6_addr address;
  return inet_pton(AF_INET, host.c_str(), &address) == 1 || inet_pton(AF_INET6, host.c_str(), &address) == 1;
}

/// A trailing dot only says that the name is absolute; certificates do not carry it.
std::string withoutFinalDot(const std::string& host) {
  return host.ends_with('.') ? host.substr(0, host.size() - 1) : host;
}

bool nameHost(SSL* session, const std::string& host) {
  X509_VERIFY_PARAM* verification = SSL_get0_param(session);
  if (isNumericAddress(host)) return X509_VERIFY_PARAM_set1_ip_asc(verification, host.c_str()) == 1;
  // A name stands in the list of alternative names or nowhere: the subject's common name is no host name any more.
  X509_VERIFY_PARAM_set_hostflags(verification,
                                  X509_CHECK_FLAG_NO_PARTIAL_WILDCARDS | X509_CHECK_FLAG_NEVER_CHECK_SUBJECT);
  const std::string name = withoutFinalDot(host);
  return X509_VERIFY_PARAM_set1_host(verification, name.c_str(), name.size()) == 1 &&
         SSL_set_tlsext_host_name(session, name.c_str()) == 1;
}

std::string serverText(const TlsServer& server) {
  std::string text = withoutFinalDot(server.host);
  for (char& c : text) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return text + " " + std::to_string(server.port);
}

}  // namespace

SSL* newTlsSession(std::shared_ptr<const TlsContext> context, const TlsServer& server) {
  SSL_CTX* const native = context->native();
  SSL_CTX_set_cert_verify_callback(native, &checkChain, nullptr);
  SSL_CTX_sess_set_new_cb(native, &onNewTicket);
  OpenSslOwned<SSL> session(SSL_new(native));
  if (session == nullptr || !nameHost(session.get(), server.host)) return nullptr;
  const TicketKey key{context->number(), serverText(server)};
  auto made = std::make_unique<SessionFacts>(SessionFacts{std::move(context), key, server.resumes});
  if (!attachSessionFacts(session.get(), std::move(made))) return nullptr;
  SSL_set_cert_cb(session.get(), &onCertificateWanted, nullptr);
  if (server.resumes) offerTicket(session.get(), factsOf(session.get()));
  return session.release();
}

std::optional<Error> tlsHandshakeFlaw(const SSL* session) {
  if (SSL_session_reused(session) != 1) return std::nullopt;
  const TicketKey* const checked = stampOfTicket(SSL_get_session(session));
  if (checked != nullptr && *checked == factsOf(session).key) return std::nullopt;
  return Error{websocket_error::kTlsDomain, X509_V_ERR_APPLICATION_VERIFICATION,
               "the handshake goes on from one that has checked something else"};
}

Error tlsSessionError(const SSL* session, unsigned long code) {
  const SessionFacts& facts = factsOf(session);
  if (facts.offeredTicket) tlsTickets().drop(facts.key);
  if (facts.refusal) return *facts.refusal;
  return tlsLibraryError(
      code, {facts.context->lowestVersion(), facts.askedForCertificate, facts.context->hasCertificate()});
}

void reportTls(const SSL* session, ConnectReport& report) {
  const SessionFacts& facts = factsOf(session);
  report.chain = facts.chain;
  report.tlsResumed = SSL_session_reused(session) == 1;
  if (SSL_is_init_finished(session) == 1 || !facts.chain.empty()) {
    report.tlsVersion = SSL_get_version(session);
    report.tlsCipher = SSL_get_cipher_name(session);
  }
  report.tlsBytes = static_cast<std::size_t>(BIO_number_read(SSL_get_rbio(session)) +
                                             BIO_number_written(SSL_get_wbio(session)));
}

}  // namespace orv
