// The link over TLS: whom it trusts, and what it says when it does not.

#include <devserver/DevServer.h>
#include <tests/support/LiveLink.h>
#include <tests/support/TlsFiles.h>

#include <boost/json/parse.hpp>

#include <cstdlib>
#include <optional>
#include <string>

namespace orv::link_tls_test {
namespace {

using test::TlsIdentity;

class LinkTls : public test::LiveLinkTest {
 protected:
  /// Starts a server with this certificate.
  void serve(const TlsIdentity& identity) {
    DevServerOptions options;
    options.tlsCertificateFile = std::string(std::getenv("HOME")) + "/server.pem";
    test::writePemFile(identity, options.tlsCertificateFile);
    server_.emplace(options);
    server_->start();
  }
  std::string url(const char* host) const {
    return "wss://" + std::string(host) + ":" + std::to_string(server_->port());
  }
  /// What the link tells about a server that it does not trust.
  std::string refusal(const std::string& address) {
    start(address);
    EXPECT_TRUE(waitForPosted(QXNotificationDidFailWithError));
    EXPECT_FALSE(link.isOpen());
    EXPECT_TRUE(link.isClosed());
    EXPECT_EQ(server_->counters().opened, 0u);
    EXPECT_EQ(names(), (Strings{"QXNotificationReachabilityStatusChange",
                                "QXNotificationDidAutoReconnectFailed", "QXNotificationDidFailWithError"}));
    const auto info = json::parse(lastUserInfo(QXNotificationDidFailWithError));
    const auto& error = info.at("QXNotificationKey_Msg");
    EXPECT_EQ(error.at("domain").as_string(), "OrvTls");
    EXPECT_EQ(countLogged(":( Websocket Failed With Error OrvTls"), 1u);
    return std::string(error.at("description").as_string().c_str());
  }

  std::optional<DevServer> server_;
};

TEST_F(LinkTls, WorksWithAServerWhoseCertificateIsTrusted) {
  const TlsIdentity identity("DNS:localhost");
  identity.trust();
  serve(identity);
  bringUp(url("localhost"));
  EXPECT_TRUE(echoes());
  EXPECT_EQ(server_->push("Rooms.Push.Message"), 1u);
  EXPECT_TRUE(waitForPosted(QXNotificationPushOrvMessage));
  Strings expected{"Dev.Echo ok"};
  for (int i = 0; i < 200; ++i) {
    expected.push_back("Dev.Echo" + std::to_string(i) + " ok");
    send("Dev.Echo" + std::to_string(i));
  }
  ASSERT_TRUE(waitForOutcomes(expected.size()));
  EXPECT_EQ(outcomes, expected);
  ASSERT_TRUE(waitForReconnectPause());
  notifications.clear();
  server_->restart();
  ASSERT_TRUE(waitUntilReopened());
  EXPECT_TRUE(echoes());
}

TEST_F(LinkTls, RefusesACertificateForAnotherHost) {
  const TlsIdentity identity("DNS:classroom.test");
  identity.trust();
  serve(identity);
  EXPECT_EQ(refusal(url("localhost")), "hostname mismatch: it names classroom.test");
}

TEST_F(LinkTls, RefusesACertificateForAnotherAddress) {
  const TlsIdentity identity("IP:127.0.0.2");
  identity.trust();
  serve(identity);
  EXPECT_EQ(refusal(url("127.0.0.1")), "IP address mismatch: it names 127.0.0.2");
}

TEST_F(LinkTls, RefusesACertificateOfAnUnknownAuthority) {
  const TlsIdentity identity("DNS:localhost");
  TlsIdentity("DNS:localhost").trust();
  serve(identity);
  EXPECT_NE(refusal(url("localhost")).find("self-signed certificate"), std::string::npos);
}

}  // namespace
}  // namespace orv::link_tls_test
