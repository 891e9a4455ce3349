#include <tests/support/TlsIdentity.h>

#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include <cstdlib>
#include <stdexcept>

namespace orv::test {

namespace {

void require(bool condition, const char* what) {
  if (!condition) throw std::runtime_error(what);
}

void addNames(X509* certificate, const std::string& names) {
  X509_EXTENSION* extension = X509V3_EXT_conf_nid(nullptr, nullptr, NID_subject_alt_name, names.c_str());
  require(extension != nullptr, "bad names");
  X509_add_ext(certificate, extension, -1);
  X509_EXTENSION_free(extension);
}

X509* signedCertificate(EVP_PKEY* key, const std::string& names, const std::string& commonName) {
  constexpr long kDay = 24 * 60 * 60;
  X509* certificate = X509_new();
  X509_set_version(certificate, X509_VERSION_3);
  ASN1_INTEGER_set(X509_get_serialNumber(certificate), 1);
  X509_gmtime_adj(X509_getm_notBefore(certificate), -kDay);
  X509_gmtime_adj(X509_getm_notAfter(certificate), kDay);
  X509_set_pubkey(certificate, key);
  X509_NAME* name = X509_get_subject_name(certificate);
  X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC,
                             reinterpret_cast<const unsigned char*>(commonName.c_str()), -1, -1, 0);
  X509_set_issuer_name(certificate, name);
  if (!names.empty()) addNames(certificate, names);
  require(X509_sign(certificate, key, EVP_sha256()) > 0, "signing failed");
  return certificate;
}

}  // namespace

TlsIdentity::TlsIdentity(const std::string& names, const std::string& commonName)
    : context_(SSL_CTX_new(TLS_server_method())) {
  EVP_PKEY* key = EVP_EC_gen("P-256");
  X509* certificate = signedCertificate(key, names, commonName);
  require(SSL_CTX_use_certificate(context_.get(), certificate) == 1, "bad certificate");
  require(SSL_CTX_use_PrivateKey(context_.get(), key) == 1, "bad key");
  X509_free(certificate);
  EVP_PKEY_free(key);
}

void TlsIdentity::speakAtMost(int version) {
  SSL_CTX_set_security_level(context_.get(), 0);
  SSL_CTX_set_min_proto_version(context_.get(), 0);
  SSL_CTX_set_max_proto_version(context_.get(), version);
}

void TlsIdentity::trust() const {
  const std::string path = std::string(std::getenv("HOME")) + "/trusted.pem";
  FILE* file = std::fopen(path.c_str(), "w");
  require(file != nullptr, "cannot write the trust store");
  PEM_write_X509(file, SSL_CTX_get0_certificate(context_.get()));
  std::fclose(file);
  setenv("SSL_CERT_FILE", path.c_str(), 1);
  setenv("SSL_CERT_DIR", "/nonexistent", 1);
}

void TlsIdentity::FreeContext::operator()(ssl_ctx_st* context) const {
  SSL_CTX_free(context);
}

}  // namespace orv::test
