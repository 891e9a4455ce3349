#include "orvnetwork/platform/native/tls/OpenSslOwned.h"

#include <openssl/ssl.h>

namespace orv {

void OpenSslFree::operator()(EVP_PKEY* key) const noexcept {
  EVP_PKEY_free(key);
}

void OpenSslFree::operator()(SSL_CTX* context) const noexcept {
  SSL_CTX_free(context);
}

void OpenSslFree::operator()(SSL_SESSION* session) const noexcept {
  SSL_SESSION_free(session);
}

void OpenSslFree::operator()(SSL* session) const noexcept {
  SSL_free(session);
}

void OpenSslFree::operator()(X509* certificate) const noexcept {
  X509_free(certificate);
}

}  // namespace orv
