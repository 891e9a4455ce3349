#include <tests/support/TestCertificate.h>

#include <openssl/bio.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/sha.h>
#include <openssl/x509v3.h>

#include <array>
#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace orv::test {

namespace {

void require(bool condition, const char* what) {
  if (!condition) throw std::runtime_error(what);
}

EVP_PKEY* makeKey(const std::string& kind) {
  EVP_PKEY* const key =
      kind.starts_with("RSA") ? EVP_RSA_gen(std::stoul(kind.substr(3))) : EVP_EC_gen(kind.c_str());
  require(key != nullptr, "no key");
  return key;
}

void addExtension(X509* certificate, int kind, const char* value) {
  X509_EXTENSION* extension = X509V3_EXT_conf_nid(nullptr, nullptr, kind, value);
  require(extension != nullptr, "bad extension");
  X509_add_ext(certificate, extension, -1);
  X509_EXTENSION_free(extension);
}

std::string textIn(BIO* memory) {
  char* bytes = nullptr;
  const long size = BIO_get_mem_data(memory, &bytes);
  return {bytes, static_cast<std::size_t>(size)};
}

long serialNumber() {
  static long last = 0;
  return ++last;
}

}  // namespace

TestCertificate::TestCertificate(const CertificateWishes& wishes) : TestCertificate(wishes, nullptr) {}

TestCertificate TestCertificate::issue(const CertificateWishes& wishes) const {
  return {wishes, this};
}

TestCertificate::TestCertificate(const CertificateWishes& wishes, const TestCertificate* issuer)
    : key_(makeKey(wishes.key), OpenSslFree()), certificate_(X509_new(), OpenSslFree()) {
  X509* const certificate = certificate_.get();
  X509_set_version(certificate, X509_VERSION_3);
  ASN1_INTEGER_set(X509_get_serialNumber(certificate), serialNumber());
  X509_gmtime_adj(X509_getm_notBefore(certificate), wishes.from.count());
  X509_gmtime_adj(X509_getm_notAfter(certificate), wishes.until.count());
  X509_set_pubkey(certificate, key_.get());
  X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate), "CN", MBSTRING_UTF8,
                             reinterpret_cast<const unsigned char*>(wishes.commonName.data()),
                             static_cast<int>(wishes.commonName.size()), -1, 0);
  const TestCertificate& signer = issuer != nullptr ? *issuer : *this;
  X509_set_issuer_name(certificate, X509_get_subject_name(signer.certificate()));
  if (wishes.isAuthority) addExtension(certificate, NID_basic_constraints, "critical,CA:TRUE");
  if (!wishes.names.empty()) addExtension(certificate, NID_subject_alt_name, wishes.names.c_str());
  require(X509_sign(certificate, signer.key(), EVP_get_digestbyname(wishes.digest.c_str())) > 0,
          "signing failed");
}

std::string TestCertificate::pem() const {
  const std::unique_ptr<BIO, int (*)(BIO*)> out(BIO_new(BIO_s_mem()), &BIO_free);
  require(PEM_write_bio_X509(out.get(), certificate()) == 1, "cannot write the certificate");
  return textIn(out.get());
}

std::string TestCertificate::keyPem(const std::string& password) const {
  const std::unique_ptr<BIO, int (*)(BIO*)> out(BIO_new(BIO_s_mem()), &BIO_free);
  const EVP_CIPHER* const cipher = password.empty() ? nullptr : EVP_aes_128_cbc();
  const auto* const bytes = reinterpret_cast<const unsigned char*>(password.data());
  require(PEM_write_bio_PrivateKey(out.get(), key(), cipher, bytes, static_cast<int>(password.size()),
                                   nullptr, nullptr) == 1,
          "cannot write the key");
  return textIn(out.get());
}

std::string TestCertificate::pin() const {
  const std::unique_ptr<BIO, int (*)(BIO*)> out(BIO_new(BIO_s_mem()), &BIO_free);
  require(i2d_PUBKEY_bio(out.get(), key()) == 1, "cannot write the public key");
  const std::string der = textIn(out.get());
  std::array<unsigned char, SHA256_DIGEST_LENGTH> digest{};
  SHA256(reinterpret_cast<const unsigned char*>(der.data()), der.size(), digest.data());
  std::array<unsigned char, 64> text{};
  const int length = EVP_EncodeBlock(text.data(), digest.data(), static_cast<int>(digest.size()));
  return {text.begin(), text.begin() + length};
}

std::string writeTestFile(const std::string& name, const std::string& text) {
  const std::string path = std::string(std::getenv("HOME")) + "/" + name;
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << text;
  file.close();
  require(file.good(), "cannot write a file");
  return path;
}

}  // namespace orv::test
