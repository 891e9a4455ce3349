#include <orvnetwork/data/Error.h>
#include <orvnetwork/transport/LinkFailure.h>

#include <tests/support/TlsTest.h>

#include <openssl/ssl.h>

#include <string>

namespace orv::tls_client_certificate_test {
namespace {

using namespace test;

/// Servers that want to know who the client is, in both versions.
class TlsClientCertificate : public TlsTest {
 protected:
  TlsIdentity asking(int version) const {
    TlsIdentity identity(root.issue({.commonName = "server", .names = "DNS:localhost"}));
    identity.askForCertificateBy(clients);
    if (version == TLS1_2_VERSION) identity.speakAtMost(version);
    return identity;
  }
  static std::string fileOf(const TestCertificate& one) {
    return writeTestFile("client.pem", one.pem() + one.keyPem());
  }
  const TestCertificate root{{.commonName = "root", .isAuthority = true}};
  const TlsSettings rootOnly{.rootTexts = {root.pem()}, .usesSystemRoots = false};
  const TestCertificate clients{{.commonName = "clients", .isAuthority = true}};
};

TEST_F(TlsClientCertificate, IsShownToTheServerThatAsks) {
  for (const int version : {TLS1_3_VERSION, TLS1_2_VERSION}) {
    const TlsIdentity identity = asking(version);
    TlsSettings settings = rootOnly;
    settings.certificateFile = fileOf(clients.issue({.commonName = "me"}));
    use(settings);
    RawPeer peer = openSecurely(identity);
    send("secret");
    EXPECT_EQ(peer.readFrame()->payload, "secret");
    peer.close();
    EXPECT_TRUE(waitForEnd());
    eventsAfterAll();
  }
}

TEST_F(TlsClientCertificate, IsToldWhenItIsMissing) {
  use(rootOnly);
  for (const int version : {TLS1_3_VERSION, TLS1_2_VERSION}) {
    SCOPED_TRACE(version == TLS1_3_VERSION ? "TLS 1.3: the first read fails"
                                           : "TLS 1.2: the handshake fails");
    const TlsIdentity identity = asking(version);
    const Error error = refusal(identity);
    EXPECT_EQ(error.code, 1116) << error.text();
    EXPECT_NE(error.description.find("the server wants a certificate of this client, which has none"),
              std::string::npos)
        << error.text();
    EXPECT_EQ(linkFailureOf(error).trouble, LinkTrouble::ClientCertificateWanted);
    EXPECT_EQ(lastReport.chain.size(), 1u);
  }
}

TEST_F(TlsClientCertificate, IsToldWhenItIsMissingAlsoIfTheServerResetsTheConnectionBehindThat) {
  use(rootOnly);
  const TlsIdentity identity = asking(TLS1_3_VERSION);
  for (int i = 0; i < 20; ++i) {
    delegate.events.clear();
    start(listener.url("/", "wss", "localhost"));
    RawPeer peer = listener.accept();
    EXPECT_FALSE(peer.acceptTls(identity.context()));
    // What the client has sent meanwhile is not read, so this is a reset.
    peer.close();
    EXPECT_TRUE(waitForEnd());
    EXPECT_EQ(eventsAfterAll(), Events{"failed OrvTls 1116"}) << delegate.lastError.text();
  }
}

TEST_F(TlsClientCertificate, IsToldWhenItIsNotTaken) {
  for (const int version : {TLS1_3_VERSION, TLS1_2_VERSION}) {
    const TlsIdentity identity = asking(version);
    TlsSettings settings = rootOnly;
    settings.certificateFile = fileOf(TestCertificate({.commonName = "stranger"}));
    use(settings);
    const Error error = refusal(identity);
    EXPECT_NE(error.description.find("the server does not take the certificate of this client"),
              std::string::npos)
        << error.text();
    EXPECT_EQ(linkFailureOf(error).trouble, LinkTrouble::ClientCertificateWanted);
  }
}

}  // namespace
}  // namespace orv::tls_client_certificate_test
