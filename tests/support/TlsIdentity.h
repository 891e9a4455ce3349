#pragma once

#include <tests/support/TestCertificate.h>

#include <memory>
#include <string>
#include <vector>

struct ssl_ctx_st;

namespace orv::test {

/// A server's key and certificate, and how it speaks TLS.
class TlsIdentity {
 public:
  /// With a certificate that it signed itself, made for one test.
  /// @param names as a certificate lists them: "DNS:example.org, IP:127.0.0.1"; empty for one without such a list
  explicit TlsIdentity(const std::string& names, const std::string& commonName = "test");
  /// With this certificate, however weak it is, and those that are sent behind it.
  explicit TlsIdentity(const TestCertificate& own, const std::vector<TestCertificate>& behind = {});

  /// The context for the server's sessions.
  ssl_ctx_st* context() const { return context_.get(); }

  /// Makes the server speak no later version of the protocol (TLS1_1_VERSION and the like), however weak.
  void speakAtMost(int version);

  /// Makes the server want a certificate of the client's that this one has issued.
  void askForCertificateBy(const TestCertificate& authority);

  /// Makes this process trust the certificate, and no other. To be called before its first TLS connection.
  void trust() const;

 private:
  struct FreeContext {
    void operator()(ssl_ctx_st* context) const;
  };
  std::unique_ptr<ssl_ctx_st, FreeContext> context_;
};

/// Makes this process trust this certificate as the system's only root. To be called before its first TLS connection.
void trustAsSystemRoot(const TestCertificate& root);

}  // namespace orv::test
