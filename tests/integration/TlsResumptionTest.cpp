// Handshakes that go on from earlier ones, across links of one process.

#include <orvnetwork/platform/native/tls/TicketStamp.h>
#include <orvnetwork/platform/native/tls/TlsContexts.h>
#include <orvnetwork/platform/native/tls/TlsTickets.h>
#include <orvnetwork/platform/native/websocket/IoThread.h>

#include <devserver/DevServer.h>
#include <tests/support/TlsFiles.h>
#include <tests/support/TlsTest.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <openssl/ssl.h>
#include <openssl/x509_vfy.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <future>
#include <set>
#include <string>
#include <vector>

namespace orv::tls_resumption_test {
namespace {

using namespace test;

class TlsResumption : public TlsTest {
 protected:
  void SetUp() override { use(settings); }

  const TestCertificate root{{.commonName = "root", .isAuthority = true}};
  const TestCertificate own = root.issue({.commonName = "server", .names = "DNS:localhost"});
  const TlsSettings settings{.rootTexts = {root.pem()}, .usesSystemRoots = false};
  TlsIdentity identity{own};
};

TEST_F(TlsResumption, TheNextLinkGoesOnFromTheLastOne) {
  const ConnectReport full = reportOfOpening(identity);
  EXPECT_FALSE(full.tlsResumed);
  EXPECT_EQ(full.chain.size(), 1u);
  for (int i = 0; i < 6; ++i) {
    const ConnectReport resumed = reportOfOpening(identity);
    EXPECT_TRUE(resumed.tlsResumed) << i;
    EXPECT_TRUE(resumed.chain.empty());
    EXPECT_LT(resumed.tlsBytes, full.tlsBytes);
    EXPECT_EQ(resumed.tlsVersion, "TLSv1.3");
  }
}

TEST_F(TlsResumption, ALinkThatDiesWithoutAGoodbyeLeavesItsTickets) {
  for (const int version : {TLS1_3_VERSION, TLS1_2_VERSION}) {
    identity = TlsIdentity(own);
    if (version == TLS1_2_VERSION) identity.speakAtMost(version);
    EXPECT_FALSE(reportOfOpening(identity, "localhost", false).tlsResumed);
    EXPECT_TRUE(reportOfOpening(identity, "localhost", false).tlsResumed);
    EXPECT_TRUE(reportOfOpening(identity, "localhost", false).tlsResumed);
    TlsSettings other = settings;
    other.pins = {own.pin()};
    use(other);
    reportOfOpening(identity);
    use(settings);
  }
}

TEST_F(TlsResumption, AHandshakeThatGoesOnFromAnotherCheckIsRefused) {
  reportOfOpening(identity);
  std::promise<void> done;
  boost::asio::post(ioContext(), [&] {
    const auto context = tlsContextFor(settings);
    const TicketKey key{(*context)->number(), "localhost " + std::to_string(listener.port())};
    auto ticket = tlsTickets().take(key, std::chrono::system_clock::now());
    tlsTickets().drop(key);
    EXPECT_TRUE(ticket.has_value());
    if (ticket) {
      stampTicket(ticket->session.get(), {key.context + 1, key.server});
      tlsTickets().put(*std::move(ticket));
    }
    done.set_value();
  });
  done.get_future().wait();
  // The server may still be writing when the client has gone already.
  ::signal(SIGPIPE, SIG_IGN);
  EXPECT_EQ(refusal(identity).code, X509_V_ERR_APPLICATION_VERIFICATION);
  EXPECT_TRUE(lastReport.tlsResumed);
}

TEST_F(TlsResumption, NoTicketIsShownTwice) {
  // The server tells by a ticket's own number which one it was, so it must see a new one each time.
  std::vector<std::string> seen;
  SSL_CTX_set_app_data(identity.context(), &seen);
  SSL_CTX_set_session_cache_mode(identity.context(),
                                 SSL_SESS_CACHE_SERVER | SSL_SESS_CACHE_NO_INTERNAL_LOOKUP);
  SSL_CTX_set_options(identity.context(), SSL_OP_NO_TICKET);
  SSL_CTX_set_num_tickets(identity.context(), 2);
  SSL_CTX_sess_set_get_cb(
      identity.context(), +[](SSL* session, const unsigned char* id, int size, int*) {
        auto* into = static_cast<std::vector<std::string>*>(SSL_CTX_get_app_data(SSL_get_SSL_CTX(session)));
        into->emplace_back(reinterpret_cast<const char*>(id), static_cast<std::size_t>(size));
        return static_cast<SSL_SESSION*>(nullptr);
      });
  for (int i = 0; i < 5; ++i) EXPECT_FALSE(reportOfOpening(identity).tlsResumed) << "the server knows none";
  EXPECT_EQ(seen.size(), 4u) << "one with each link but the first";
  EXPECT_EQ(std::set<std::string>(seen.begin(), seen.end()).size(), seen.size());
}

TEST_F(TlsResumption, OtherSettingsMakeAFullHandshakeAndSoDoesTheWayBack) {
  EXPECT_FALSE(reportOfOpening(identity).tlsResumed);
  TlsSettings other = settings;
  other.pins = {own.pin()};
  use(other);
  EXPECT_FALSE(reportOfOpening(identity).tlsResumed);
  EXPECT_TRUE(reportOfOpening(identity).tlsResumed);
  use(settings);
  EXPECT_FALSE(reportOfOpening(identity).tlsResumed);
}

TEST_F(TlsResumption, APinThatDoesNotMatchIsNotPassedByATicket) {
  EXPECT_FALSE(reportOfOpening(identity).tlsResumed);
  TlsSettings other = settings;
  other.pins = {TestCertificate(CertificateWishes{}).pin()};
  use(other);
  EXPECT_EQ(refusal(identity).code, websocket_error::kPinMismatch);
}

TEST_F(TlsResumption, AFullHandshakeCanBeAskedFor) {
  reportOfOpening(identity);
  TlsSettings full = settings;
  full.resumes = false;
  use(full);
  const ConnectReport report = reportOfOpening(identity);
  EXPECT_FALSE(report.tlsResumed);
  EXPECT_EQ(report.chain.size(), 1u);
  use(settings);
  EXPECT_TRUE(reportOfOpening(identity).tlsResumed);
}

TEST_F(TlsResumption, AServerThatHasForgottenMakesAFullHandshakeByItself) {
  for (const int version : {TLS1_3_VERSION, TLS1_2_VERSION}) {
    identity = TlsIdentity(own);
    if (version == TLS1_2_VERSION) identity.speakAtMost(version);
    reportOfOpening(identity);
    identity = TlsIdentity(own);
    if (version == TLS1_2_VERSION) identity.speakAtMost(version);
    EXPECT_FALSE(reportOfOpening(identity).tlsResumed);
    EXPECT_TRUE(reportOfOpening(identity).tlsResumed);
  }
}

TEST_F(TlsResumption, AClientWithACertificateGoesOnToo) {
  const TestCertificate clients({.commonName = "clients", .isAuthority = true});
  const TestCertificate me = clients.issue({.commonName = "me"});
  identity.askForCertificateBy(clients);
  TlsSettings known = settings;
  known.certificateFile = writeTestFile("me.pem", me.pem() + me.keyPem());
  use(known);
  EXPECT_FALSE(reportOfOpening(identity).tlsResumed);
  EXPECT_TRUE(reportOfOpening(identity).tlsResumed);
  use(settings);
  EXPECT_EQ(refusal(identity).code, 1116) << "without it there is nothing to go on from";
}

TEST_F(TlsResumption, WorksWithTheEmbeddedServerUntilThatStartsAnew) {
  DevServerOptions options;
  options.tlsCertificateFile = std::string(std::getenv("HOME")) + "/server.pem";
  writePemFile(identity, options.tlsCertificateFile);
  DevServer server(options);
  server.start();
  const auto report = [&] {
    delegate.events.clear();
    start("wss://localhost:" + std::to_string(server.port()));
    EXPECT_TRUE(waitForEvent("opened")) << delegate.lastError.text();
    const ConnectReport told = socket->connectReport();
    socket->close();
    EXPECT_TRUE(waitForEnd());
    eventsAfterAll();
    return told;
  };
  EXPECT_FALSE(report().tlsResumed);
  EXPECT_TRUE(report().tlsResumed);
  EXPECT_TRUE(report().tlsResumed);
  server.restart();
  EXPECT_FALSE(report().tlsResumed);
  EXPECT_TRUE(report().tlsResumed);
}

}  // namespace
}  // namespace orv::tls_resumption_test
