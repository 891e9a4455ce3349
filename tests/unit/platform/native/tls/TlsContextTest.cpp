#include <orvnetwork/platform/native/tls/TlsContext.h>

#include <tests/support/TestCertificate.h>

#include <gtest/gtest.h>
#include <openssl/ssl.h>

#include <string>

namespace orv::tls_context_test {
namespace {

using test::CertificateWishes;
using test::TestCertificate;
using test::writeTestFile;

/// Why the settings are of no use; empty when they are.
std::string problemOf(const TlsSettings& settings) {
  const auto context = TlsContext::make(settings);
  if (context) return {};
  EXPECT_EQ(context.error().domain, "OrvTls");
  EXPECT_EQ(context.error().code, -1201);
  return context.error().description;
}

TEST(TlsContexts, TheLowestVersionIsAlwaysSet) {
  const auto lowest = [](TlsVersion version) {
    return SSL_CTX_get_min_proto_version(TlsContext::make({.lowestVersion = version}).value()->native());
  };
  EXPECT_EQ(lowest(TlsVersion::Tls12), TLS1_2_VERSION);
  EXPECT_EQ(lowest(TlsVersion::Tls13), TLS1_3_VERSION);
  EXPECT_EQ(SSL_CTX_get_min_proto_version(TlsContext::make({}).value()->native()), TLS1_2_VERSION);
}

TEST(TlsContexts, FilesThatCannotBeUsedAreNamed) {
  EXPECT_EQ(problemOf({.rootFiles = {"/nonexistent/ca.pem"}}),
            "root certificates /nonexistent/ca.pem cannot be read: No such file or directory");
  const std::string empty = writeTestFile("empty.pem", "");
  EXPECT_EQ(problemOf({.rootFiles = {empty}}), "root certificates " + empty + " holds no certificate in PEM");
  EXPECT_EQ(problemOf({.rootTexts = {TestCertificate(CertificateWishes{}).pem(), "nothing"}}),
            "text 2 of root certificates holds no certificate in PEM");
  EXPECT_EQ(problemOf({.certificateFile = "/nonexistent/me.pem"}),
            "client certificate /nonexistent/me.pem cannot be read: No such file or directory");
}

TEST(TlsContexts, SettingsThatTrustNobodyAreRefused) {
  EXPECT_EQ(problemOf({.usesSystemRoots = false}),
            "no root certificates: neither the system's count, nor are there others");
}

TEST(TlsContexts, APinThatIsNoneIsToldAndNotPassedOver) {
  const std::string good = TestCertificate(CertificateWishes{}).pin();
  EXPECT_EQ(problemOf({.pins = {good, "sha256//nonsense"}}),
            "the pin \"sha256//nonsense\" is not the SHA-256 of a key in base64");
  EXPECT_EQ(problemOf({.pins = {""}}), "the pin \"\" is not the SHA-256 of a key in base64");
  const auto context = TlsContext::make({.pins = {good, "sha256/" + good}});
  EXPECT_EQ(context.value()->pins(), (std::vector<std::string>{good, good}));
}

TEST(TlsContexts, ACertificateOfTheClientsComesWithItsChainAndKey) {
  const TestCertificate root({.commonName = "root", .isAuthority = true});
  const TestCertificate own = root.issue({.commonName = "me"});
  const std::string both = writeTestFile("both.pem", own.keyPem() + own.pem() + root.pem());
  const auto one = TlsContext::make({.certificateFile = both});
  ASSERT_TRUE(one) << one.error().text();
  EXPECT_TRUE((*one)->hasCertificate());
  STACK_OF(X509)* chain = nullptr;
  SSL_CTX_get0_chain_certs((*one)->native(), &chain);
  EXPECT_EQ(sk_X509_num(chain), 1);
  const std::string certificate = writeTestFile("me.pem", own.pem());
  const std::string key = writeTestFile("me.key", own.keyPem());
  EXPECT_EQ(problemOf({.certificateFile = certificate, .keyFile = key}), "");
  EXPECT_FALSE(TlsContext::make({}).value()->hasCertificate());
}

TEST(TlsContexts, AKeyThatCannotBeUsedIsTold) {
  const TestCertificate own(CertificateWishes{});
  const std::string certificate = writeTestFile("me.pem", own.pem());
  const std::string other = writeTestFile("other.key", TestCertificate(CertificateWishes{}).keyPem());
  const std::string locked = writeTestFile("locked.key", own.keyPem("secret"));
  EXPECT_EQ(problemOf({.certificateFile = certificate}),
            "client key " + certificate + " holds no private key in PEM");
  EXPECT_TRUE(
      problemOf({.certificateFile = certificate, .keyFile = other})
          .starts_with("client key " + other + " does not go with the client certificate " + certificate))
      << problemOf({.certificateFile = certificate, .keyFile = other});
  EXPECT_EQ(problemOf({.certificateFile = certificate, .keyFile = locked}),
            "client key " + locked + ": the private key is encrypted, and no password can be given");
  EXPECT_EQ(problemOf({.keyFile = other}), "client key " + other + " without a client certificate");
}

}  // namespace
}  // namespace orv::tls_context_test
