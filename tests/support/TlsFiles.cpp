#include <tests/support/TlsFiles.h>

#include <openssl/pem.h>
#include <openssl/ssl.h>

#include <cstdio>
#include <memory>
#include <stdexcept>

namespace orv::test {

void writePemFile(const TlsIdentity& identity, const std::string& path) {
  const std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "w"), &std::fclose);
  if (file == nullptr || PEM_write_X509(file.get(), SSL_CTX_get0_certificate(identity.context())) != 1 ||
      PEM_write_PrivateKey(file.get(), SSL_CTX_get0_privatekey(identity.context()), nullptr, nullptr, 0,
                           nullptr, nullptr) != 1) {
    throw std::runtime_error("cannot write " + path);
  }
}

}  // namespace orv::test
