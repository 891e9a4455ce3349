#include <tests/support/TlsIdentity.h>

#include <openssl/pem.h>
#include <openssl/ssl.h>

#include <cstdlib>
#include <stdexcept>

namespace orv::test {

namespace {

void require(bool condition, const char* what) {
  if (!condition) throw std::runtime_error(what);
}

void trustFile(const std::string& path) {
  setenv("SSL_CERT_FILE", path.c_str(), 1);
  setenv("SSL_CERT_DIR", "/nonexistent", 1);
}

}  // namespace

TlsIdentity::TlsIdentity(const std::string& names, const std::string& commonName)
    : TlsIdentity(TestCertificate({.commonName = commonName, .names = names})) {}

TlsIdentity::TlsIdentity(const TestCertificate& own, const std::vector<TestCertificate>& behind)
    : context_(SSL_CTX_new(TLS_server_method())) {
  SSL_CTX_set_security_level(context_.get(), 0);
  require(SSL_CTX_use_certificate(context_.get(), own.certificate()) == 1, "bad certificate");
  require(SSL_CTX_use_PrivateKey(context_.get(), own.key()) == 1, "bad key");
  for (const TestCertificate& one : behind) {
    require(SSL_CTX_add1_chain_cert(context_.get(), one.certificate()) == 1, "bad chain");
  }
}

void TlsIdentity::speakAtMost(int version) {
  SSL_CTX_set_security_level(context_.get(), 0);
  SSL_CTX_set_min_proto_version(context_.get(), 0);
  SSL_CTX_set_max_proto_version(context_.get(), version);
}

void TlsIdentity::askForCertificateBy(const TestCertificate& authority) {
  const std::string name = "test";
  SSL_CTX_set_session_id_context(context_.get(), reinterpret_cast<const unsigned char*>(name.data()),
                                 static_cast<unsigned>(name.size()));
  SSL_CTX_set_verify(context_.get(), SSL_VERIFY_PEER | SSL_VERIFY_FAIL_IF_NO_PEER_CERT, nullptr);
  require(X509_STORE_add_cert(SSL_CTX_get_cert_store(context_.get()), authority.certificate()) == 1,
          "bad authority");
}

void TlsIdentity::trust() const {
  const std::string path = std::string(std::getenv("HOME")) + "/trusted.pem";
  FILE* file = std::fopen(path.c_str(), "w");
  require(file != nullptr, "cannot write the trust store");
  PEM_write_X509(file, SSL_CTX_get0_certificate(context_.get()));
  std::fclose(file);
  trustFile(path);
}

void trustAsSystemRoot(const TestCertificate& root) {
  trustFile(writeTestFile("trusted.pem", root.pem()));
}

void TlsIdentity::FreeContext::operator()(ssl_ctx_st* context) const {
  SSL_CTX_free(context);
}

}  // namespace orv::test
