#pragma once

#include <orvnetwork/platform/native/tls/OpenSslOwned.h>

#include <chrono>
#include <memory>
#include <string>

namespace orv::test {

/// What a certificate is made of; a good one of a server unless said otherwise.
struct CertificateWishes {
  std::string commonName = "test";
  /// As a certificate lists them: "DNS:example.org, IP:127.0.0.1"; empty for a certificate without such a list.
  std::string names{};
  bool isAuthority = false;
  /// From and until when it is good, counted from now.
  std::chrono::seconds from = -std::chrono::hours(24);
  std::chrono::seconds until = std::chrono::hours(24);
  /// "P-256", or "RSA" with its number of bits.
  std::string key = "P-256";
  /// The digest of its signature.
  std::string digest = "SHA256";
};

/// A certificate with its key, made for one test.
class TestCertificate {
 public:
  /// Signed by itself.
  explicit TestCertificate(const CertificateWishes& wishes);

  /// One that this one has signed.
  TestCertificate issue(const CertificateWishes& wishes) const;

  x509_st* certificate() const { return certificate_.get(); }
  evp_pkey_st* key() const { return key_.get(); }
  /// The certificate, and its key, in PEM. With a password the key is encrypted.
  std::string pem() const;
  std::string keyPem(const std::string& password = "") const;
  /// As `TlsSettings::pins` takes it, computed in another way than the library does.
  std::string pin() const;

 private:
  TestCertificate(const CertificateWishes& wishes, const TestCertificate* issuer);

  std::shared_ptr<evp_pkey_st> key_;
  std::shared_ptr<x509_st> certificate_;
};

/// Writes a file below HOME and returns its path. Throws `std::runtime_error` when it cannot be written.
std::string writeTestFile(const std::string& name, const std::string& text);

}  // namespace orv::test
