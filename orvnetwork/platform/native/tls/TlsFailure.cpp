#include "orvnetwork/platform/native/tls/TlsFailure.h"

#include <orvnetwork/platform/WebSocketError.h>

#include <openssl/err.h>
#include <openssl/ssl.h>

#include <string>

namespace orv {

namespace {

static_assert(kCertificateRequired == SSL_R_TLSV13_ALERT_CERTIFICATE_REQUIRED);

/// Whether the server says by this that the certificate of the client does not please it: it checks no other.
bool isAboutClientCertificate(int reason) {
  switch (reason) {
    case SSL_R_SSLV3_ALERT_BAD_CERTIFICATE:
    case SSL_R_SSLV3_ALERT_UNSUPPORTED_CERTIFICATE:
    case SSL_R_SSLV3_ALERT_CERTIFICATE_REVOKED:
    case SSL_R_SSLV3_ALERT_CERTIFICATE_EXPIRED:
    case SSL_R_SSLV3_ALERT_CERTIFICATE_UNKNOWN:
    case SSL_R_TLSV1_ALERT_UNKNOWN_CA:
    case SSL_R_TLSV1_ALERT_ACCESS_DENIED:
      return true;
    default:
      return false;
  }
}

bool isAboutVersion(int reason) {
  return reason == SSL_R_TLSV1_ALERT_PROTOCOL_VERSION || reason == SSL_R_UNSUPPORTED_PROTOCOL ||
         reason == SSL_R_WRONG_SSL_VERSION || reason == SSL_R_VERSION_TOO_LOW;
}

bool missesClientCertificate(int reason, const TlsCircumstances& circumstances) {
  return reason == kCertificateRequired ||
         (reason == SSL_R_SSLV3_ALERT_HANDSHAKE_FAILURE && circumstances.askedForCertificate &&
          !circumstances.hasCertificate);
}

const char* versionText(TlsVersion version) {
  return version == TlsVersion::Tls13 ? "TLS 1.3" : "TLS 1.2";
}

std::string meaningOf(int reason, const TlsCircumstances& circumstances) {
  if (missesClientCertificate(reason, circumstances)) {
    return circumstances.hasCertificate ? "the server wants another certificate of this client"
                                        : "the server wants a certificate of this client, which has none";
  }
  if (isAboutClientCertificate(reason)) return "the server does not take the certificate of this client";
  if (isAboutVersion(reason)) {
    return "the server does not speak " + std::string(versionText(circumstances.lowestVersion)) +
           " or later, the lowest version that is set";
  }
  return reason == SSL_R_WRONG_VERSION_NUMBER ? "what answers there does not speak TLS" : "";
}

}  // namespace

Error tlsLibraryError(unsigned long code, const TlsCircumstances& circumstances) {
  const int reason = ERR_GET_REASON(code);
  const char* const words = ERR_reason_error_string(code);
  std::string text = words != nullptr ? words : "error " + std::to_string(code);
  if (const std::string meaning = meaningOf(reason, circumstances); !meaning.empty()) text += ": " + meaning;
  const bool missesOurs = missesClientCertificate(reason, circumstances);
  return {websocket_error::kTlsDomain, missesOurs ? kCertificateRequired : reason, std::move(text)};
}

}  // namespace orv
