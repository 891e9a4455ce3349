#include "orvnetwork/platform/native/websocket/TlsSession.h"

#include <orvnetwork/platform/native/system/OpenSslInit.h>
#include <orvnetwork/platform/native/websocket/NativeWebSocket.h>

#include <arpa/inet.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include <string>

namespace orv {

namespace {

SSL_CTX* makeContext() {
  initOpenSsl();
  SSL_CTX* context = SSL_CTX_new(TLS_client_method());
  if (context == nullptr) return nullptr;
  SSL_CTX_set_min_proto_version(context, TLS1_2_VERSION);
  SSL_CTX_set_verify(context, SSL_VERIFY_PEER, nullptr);
  SSL_CTX_set_default_verify_paths(context);
  ERR_clear_error();
  return context;
}

/// Shared by all sessions, since reading the trust store takes time; never freed.
SSL_CTX* sharedContext() {
  static SSL_CTX* const context = makeContext();
  return context;
}

bool isNumericAddress(const std::string& host) {
  in6_addr address;
  return inet_pton(AF_INET, host.c_str(), &address) == 1 || inet_pton(AF_INET6, host.c_str(), &address) == 1;
}

bool nameHost(SSL* session, const std::string& host) {
  X509_VERIFY_PARAM* verification = SSL_get0_param(session);
  if (isNumericAddress(host)) return X509_VERIFY_PARAM_set1_ip_asc(verification, host.c_str()) == 1;
  // A name stands in the list of alternative names or nowhere: the subject's common name is no host name any more.
  X509_VERIFY_PARAM_set_hostflags(verification,
                                  X509_CHECK_FLAG_NO_PARTIAL_WILDCARDS | X509_CHECK_FLAG_NEVER_CHECK_SUBJECT);
  // A trailing dot only says that the name is absolute; certificates do not carry it.
  const std::string name = host.ends_with('.') ? host.substr(0, host.size() - 1) : host;
  return X509_VERIFY_PARAM_set1_host(verification, name.c_str(), name.size()) == 1 &&
         SSL_set_tlsext_host_name(session, name.c_str()) == 1;
}

}  // namespace

SSL* newTlsSession(const std::string& host) {
  SSL_CTX* context = sharedContext();
  SSL* session = context != nullptr ? SSL_new(context) : nullptr;
  if (session == nullptr) return nullptr;
  if (nameHost(session, host)) return session;
  SSL_free(session);
  return nullptr;
}

Error tlsHandshakeError(const SSL* session, unsigned long code) {
  if (const long result = SSL_get_verify_result(session); result != X509_V_OK) {
    return {websocket_error::kTlsDomain, result, X509_verify_cert_error_string(result)};
  }
  char text[256];
  ERR_error_string_n(code, text, sizeof text);
  return {websocket_error::kTlsDomain, ERR_GET_REASON(code), text};
}

}  // namespace orv
