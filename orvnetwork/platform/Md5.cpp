#include "orvnetwork/platform/Md5.h"

#include <orvnetwork/platform/native/system/OpenSslInit.h>

#include <openssl/evp.h>
#include <openssl/provider.h>

#include <memory>

namespace orv {
namespace {

/// MD5 of the default provider in a library context of our own, which no system configuration reaches. Never
/// freed, for threads that hash while the process exits.
const EVP_MD* md5() {
  static const EVP_MD* const algorithm = [] {
    initOpenSsl();
    OSSL_LIB_CTX* const context = OSSL_LIB_CTX_new();
    OSSL_PROVIDER_load(context, "default");
    return EVP_MD_fetch(context, "MD5", "provider=default");
  }();
  return algorithm;
}

}  // namespace

std::string md5Hex(std::string_view bytes) {
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned int size = 0;
  EVP_Digest(bytes.data(), bytes.size(), digest, &size, md5(), nullptr);
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string hex;
  for (unsigned int at = 0; at < size; ++at) {
    hex += kDigits[digest[at] >> 4];
    hex += kDigits[digest[at] & 15];
  }
  return hex;
}

}  // namespace orv
