#pragma once

#include <memory>
#include <string>

struct ssl_ctx_st;

namespace orv::test {

/// A server's key with a certificate that it signed itself, made for one test.
class TlsIdentity {
 public:
  /// `names` as a certificate lists them: "DNS:example.org, IP:127.0.0.1"; empty for a certificate without such a list.
  explicit TlsIdentity(const std::string& names, const std::string& commonName = "test");

  /// The context for the server's sessions.
  ssl_ctx_st* context() const { return context_.get(); }

  /// Makes the server speak no later version of the protocol (TLS1_1_VERSION and the like), however weak.
  void speakAtMost(int version);

  /// Makes this process trust the certificate, and no other. To be called before its first TLS connection.
  void trust() const;

 private:
  struct FreeContext {
    void operator()(ssl_ctx_st* context) const;
  };
  std::unique_ptr<ssl_ctx_st, FreeContext> context_;
};

}  // namespace orv::test
