#pragma once

#include <orvnetwork/platform/NetworkSettings.h>

#include <tests/support/TlsIdentity.h>
#include <tests/support/WebSocketFixture.h>

#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace orv::test {

/// Attempts of a socket to reach a server that speaks TLS in a way of its own, on this machine.
class TlsTest : public WebSocketTest {
 protected:
  /// Says how the following attempts go.
  void use(TlsSettings settings) {
    request.network = std::make_shared<const NetworkSettings>(NetworkSettings{.tls = std::move(settings)});
  }
  /// Connects to `host`, up to the opening event.
  RawPeer openSecurely(const TlsIdentity& identity, std::string_view host = "localhost") {
    delegate.events.clear();
    start(listener.url("/", "wss", host));
    RawPeer peer = listener.accept();
    EXPECT_TRUE(peer.acceptTls(identity.context()));
    peer.acceptHandshake();
    EXPECT_TRUE(waitForEvent("opened")) << delegate.lastError.text();
    return peer;
  }
  /// What is told of an attempt that succeeds. The link ends after that, with a goodbye or as if it had died.
  ConnectReport reportOfOpening(const TlsIdentity& identity, std::string_view host = "localhost",
                                bool goodbye = true) {
    RawPeer peer = openSecurely(identity, host);
    const ConnectReport report = socket->connectReport();
    if (goodbye) {
      peer.close();
    } else {
      peer.reset();
    }
    EXPECT_TRUE(waitForEnd());
    eventsAfterAll();
    return report;
  }
  /// What is told of an attempt that fails, and in `lastReport` how far it has come.
  Error refusal(const TlsIdentity& identity, std::string_view host = "localhost") {
    delegate.events.clear();
    start(listener.url("/", "wss", host));
    RawPeer peer = listener.accept();
    peer.acceptTls(identity.context());
    EXPECT_TRUE(waitForEnd());
    lastReport = socket->connectReport();
    peer.close();
    EXPECT_EQ(eventsAfterAll().size(), 1u);
    EXPECT_EQ(delegate.lastError.domain, "OrvTls");
    return delegate.lastError;
  }
  /// The same where it fails before anything connects.
  Error refusalOfSettings(TlsSettings settings) {
    use(std::move(settings));
    delegate.events.clear();
    start(listener.url("/", "wss", "localhost"));
    EXPECT_TRUE(waitForEnd());
    EXPECT_TRUE(socket->connectReport().attempts.empty());
    eventsAfterAll();
    return delegate.lastError;
  }

  ConnectReport lastReport;
};

}  // namespace orv::test
