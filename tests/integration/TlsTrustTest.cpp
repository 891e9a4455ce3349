// Servers with something wrong each, over TLS 1.2 and 1.3: each failure says which rule refused, and how far it came.

#include <orvnetwork/data/Error.h>
#include <orvnetwork/transport/LinkFailure.h>

#include <tests/support/TlsTest.h>

#include <openssl/ssl.h>
#include <openssl/x509_vfy.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace orv::tls_trust_test {
namespace {

using namespace std::chrono_literals;
using namespace test;

/// A way of being refused.
struct RefusalRow {
  const char* name;
  /// Makes the server's identity and, where it has to be set, whom the client trusts.
  std::function<TlsIdentity(const TestCertificate& root, TlsSettings& settings)> make;
  long code;
  LinkTrouble trouble;
  /// Has to stand in the error's text.
  std::vector<std::string> words;
  std::size_t told = 1;
  const char* host = "localhost";
};

TlsIdentity good(const TestCertificate& root) {
  return TlsIdentity(root.issue({.commonName = "server", .names = "DNS:localhost"}));
}

std::vector<RefusalRow> refusalRows() {
  using Settings = TlsSettings;
  const CertificateWishes server{.commonName = "server", .names = "DNS:localhost"};
  const auto with = [server](auto change) {
    return [=](const TestCertificate& root, Settings&) {
      CertificateWishes wishes = server;
      change(wishes);
      return TlsIdentity(root.issue(wishes));
    };
  };
  return {
      {"expired",
       with([](auto& w) { w.from = -48h, w.until = -1h; }),
       X509_V_ERR_CERT_HAS_EXPIRED,
       LinkTrouble::CertificateExpired,
       {"expired: valid until ", "this machine's clock says"}},
      {"not yet good",
       with([](auto& w) { w.from = 2h; }),
       X509_V_ERR_CERT_NOT_YET_VALID,
       LinkTrouble::CertificateNotTrusted,
       {"not yet valid: valid from ", "this machine's clock says"}},
      {"another host",
       with([](auto& w) { w.names = "DNS:a.test, DNS:b.test"; }),
       X509_V_ERR_HOSTNAME_MISMATCH,
       LinkTrouble::CertificateOfAnother,
       {"hostname mismatch: it names a.test, b.test"}},
      {"a part of the name",
       with([](auto& w) { w.names = "DNS:local*"; }),
       X509_V_ERR_HOSTNAME_MISMATCH,
       LinkTrouble::CertificateOfAnother,
       {"it names local*"}},
      {"its subject only",
       with([](auto& w) { w.names = "", w.commonName = "localhost"; }),
       X509_V_ERR_HOSTNAME_MISMATCH,
       LinkTrouble::CertificateOfAnother,
       {"it names no host"}},
      {"another address",
       with([](auto& w) { w.names = "IP:127.0.0.2, DNS:127.0.0.1"; }),
       X509_V_ERR_IP_ADDRESS_MISMATCH,
       LinkTrouble::CertificateOfAnother,
       {"it names 127.0.0.2, 127.0.0.1"},
       1,
       "127.0.0.1"},
      {"signed by itself",
       [server](const TestCertificate&, Settings&) { return TlsIdentity(TestCertificate(server)); },
       X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT,
       LinkTrouble::CertificateNotTrusted,
       {"\"server\" has signed it"}},
      {"a root that nobody knows",
       [server](const TestCertificate&, Settings&) {
         const TestCertificate other({.commonName = "Office CA", .isAuthority = true});
         return TlsIdentity(other.issue(server), {other});
       },
       X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN,
       LinkTrouble::CertificateNotTrusted,
       {"its root \"Office CA\""},
       2},
      {"a certificate between is missing",
       [server](const TestCertificate& root, Settings&) {
         return TlsIdentity(root.issue({.commonName = "Between", .isAuthority = true}).issue(server));
       },
       X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY,
       LinkTrouble::CertificateNotTrusted,
       {"\"Between\", which issued \"server\", is not known here", "intercepts TLS"}},
      {"one between has expired",
       [server](const TestCertificate& root, Settings&) {
         const TestCertificate between =
             root.issue({.commonName = "Between", .isAuthority = true, .from = -48h, .until = -1h});
         return TlsIdentity(between.issue(server), {between});
       },
       X509_V_ERR_CERT_HAS_EXPIRED,
       LinkTrouble::CertificateExpired,
       {"\"Between\" is valid until "},
       2},
      {"a weak key",
       with([](auto& w) { w.key = "RSA1024"; }),
       X509_V_ERR_EE_KEY_TOO_SMALL,
       LinkTrouble::CertificateNotTrusted,
       {"\"server\" has a key of RSA, 1024 bits"}},
      {"a weak digest",
       with([](auto& w) { w.digest = "SHA1"; }),
       X509_V_ERR_CA_MD_TOO_WEAK,
       LinkTrouble::CertificateNotTrusted,
       {"\"server\" is signed by ecdsa-with-SHA1"}},
      {"another key than pinned",
       [](const TestCertificate& root, Settings& settings) {
         settings.pins = {TestCertificate(CertificateWishes{}).pin()};
         return good(root);
       },
       -1200,
       LinkTrouble::CertificateNotPinned,
       {"expected sha256/", "saw sha256/", "of \"server\"", "of \"root\""}},
  };
}

class TlsTrust : public TlsTest {
 protected:
  const TestCertificate root{{.commonName = "root", .isAuthority = true}};
  const TlsSettings rootOnly{.rootTexts = {root.pem()}, .usesSystemRoots = false};
};

TEST_F(TlsTrust, EachRefusalSaysWhichRuleRefused) {
  for (const int version : {TLS1_3_VERSION, TLS1_2_VERSION}) {
    for (const RefusalRow& row : refusalRows()) {
      SCOPED_TRACE(std::string(row.name) + (version == TLS1_3_VERSION ? ", TLS 1.3" : ", TLS 1.2"));
      TlsSettings settings = rootOnly;
      TlsIdentity identity = row.make(root, settings);
      if (version == TLS1_2_VERSION) identity.speakAtMost(version);
      use(settings);
      const Error error = refusal(identity, row.host);
      EXPECT_EQ(error.code, row.code) << error.text();
      for (const std::string& words : row.words) {
        EXPECT_NE(error.description.find(words), std::string::npos)
            << error.description << "\nlacks: " << words;
      }
      EXPECT_EQ(linkFailureOf(error).trouble, row.trouble);
      EXPECT_EQ(lastReport.chain.size(), row.told) << "certificates are told, refused or not";
      EXPECT_EQ(lastReport.tlsVersion, version == TLS1_3_VERSION ? "TLSv1.3" : "TLSv1.2");
      EXPECT_TRUE(lastReport.tls);
      EXPECT_GT(lastReport.tlsBytes, 500u);
      EXPECT_FALSE(lastReport.upgrade);
    }
  }
}

TEST_F(TlsTrust, OwnRootsCountBesideTheSystemsOrInTheirPlace) {
  const TestCertificate system({.commonName = "system", .isAuthority = true});
  trustAsSystemRoot(system);
  const TlsIdentity ofSystem = good(system);
  const TlsIdentity ofOwn = good(root);
  TlsSettings both = rootOnly;
  both.usesSystemRoots = true;
  use(both);
  reportOfOpening(ofSystem);
  reportOfOpening(ofOwn);
  use(rootOnly);
  reportOfOpening(ofOwn);
  EXPECT_EQ(refusal(ofSystem).code, X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY);
  use({.rootFiles = {writeTestFile("own.pem", root.pem())}, .usesSystemRoots = false});
  reportOfOpening(ofOwn);
  request.network = nullptr;
  reportOfOpening(ofSystem);
  EXPECT_EQ(refusal(ofOwn).code, X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY);
}

TEST_F(TlsTrust, APinOfAnyKeyOnTheVerifiedWayIsEnough) {
  const TestCertificate between = root.issue({.commonName = "Between", .isAuthority = true});
  const TestCertificate own = between.issue({.commonName = "server", .names = "DNS:localhost"});
  const TlsIdentity identity(own, {between});
  const std::string spare = TestCertificate(CertificateWishes{}).pin();
  for (const TestCertificate* pinned : {&own, &between, &root}) {
    TlsSettings settings = rootOnly;
    settings.pins = {spare, "sha256//" + pinned->pin()};
    use(settings);
    EXPECT_EQ(reportOfOpening(identity).chain.size(), 2u) << "as it was sent";
  }
}

TEST_F(TlsTrust, APinOfACertificateThatOnlyStandsBesideTheWayIsNotEnough) {
  const TestCertificate beside({.commonName = "beside", .isAuthority = true});
  TlsSettings settings = rootOnly;
  settings.pins = {beside.pin()};
  use(settings);
  const TestCertificate own = root.issue({.commonName = "server", .names = "DNS:localhost"});
  EXPECT_EQ(refusal(TlsIdentity(own, {beside})).code, websocket_error::kPinMismatch);
  EXPECT_EQ(lastReport.chain.size(), 2u);
}

TEST_F(TlsTrust, APinTakesThePlaceOfNoOtherCheck) {
  const TestCertificate own({.commonName = "server", .names = "DNS:localhost"});
  TlsSettings settings = rootOnly;
  settings.pins = {own.pin()};
  use(settings);
  EXPECT_EQ(refusal(TlsIdentity(own)).code, X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT);
  const TestCertificate late = root.issue({.commonName = "server", .names = "DNS:localhost", .until = -1h});
  settings.pins = {late.pin()};
  use(settings);
  EXPECT_EQ(refusal(TlsIdentity(late)).code, X509_V_ERR_CERT_HAS_EXPIRED);
  const TestCertificate other = root.issue({.commonName = "server", .names = "DNS:elsewhere.test"});
  settings.pins = {other.pin()};
  use(settings);
  EXPECT_EQ(refusal(TlsIdentity(other)).code, X509_V_ERR_HOSTNAME_MISMATCH);
}

TEST_F(TlsTrust, SettingsThatCannotBeUsedConnectNowhere) {
  const Error error = refusalOfSettings({.rootFiles = {"/nonexistent/ca.pem"}});
  EXPECT_EQ(error,
            (Error{"OrvTls", websocket_error::kBadTlsSettings,
                   "root certificates /nonexistent/ca.pem cannot be read: No such file or directory"}));
  EXPECT_EQ(linkFailureOf(error).trouble, LinkTrouble::BadTlsSettings);
  EXPECT_EQ(refusalOfSettings({.pins = {"nonsense"}}).code, websocket_error::kBadTlsSettings);
  // They have no meaning without TLS.
  delegate.events.clear();
  openToPeer();
}

TEST_F(TlsTrust, TheLowestVersionIsKept) {
  TlsIdentity identity = good(root);
  TlsSettings settings = rootOnly;
  settings.lowestVersion = TlsVersion::Tls13;
  use(settings);
  EXPECT_EQ(reportOfOpening(identity).tlsVersion, "TLSv1.3");
  identity.speakAtMost(TLS1_2_VERSION);
  Error error = refusal(identity);
  EXPECT_NE(error.description.find("the server does not speak TLS 1.3 or later"), std::string::npos)
      << error.text();
  EXPECT_EQ(linkFailureOf(error).trouble, LinkTrouble::TlsFailed);
  use(rootOnly);
  EXPECT_EQ(reportOfOpening(identity).tlsVersion, "TLSv1.2");
  identity.speakAtMost(TLS1_1_VERSION);
  error = refusal(identity);
  EXPECT_NE(error.description.find("the server does not speak TLS 1.2 or later"), std::string::npos)
      << error.text();
}

TEST_F(TlsTrust, WhatDoesNotSpeakTlsIsToldAsThat) {
  start(listener.url("/", "wss"));
  RawPeer peer = listener.accept();
  peer.send("HTTP/1.1 400 Bad Request\r\n\r\n");
  ASSERT_TRUE(waitForEnd());
  EXPECT_EQ(delegate.lastError.description, "wrong version number: what answers there does not speak TLS");
}

}  // namespace
}  // namespace orv::tls_trust_test
