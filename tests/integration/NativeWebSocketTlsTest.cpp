#include <tests/support/RawPeer.h>
#include <tests/support/TlsIdentity.h>
#include <tests/support/WebSocketFixture.h>

#include <openssl/ssl.h>
#include <openssl/x509_vfy.h>

#include <cerrno>
#include <string>
#include <string_view>

namespace orv::native_web_socket_tls_test {
namespace {

using namespace test;

class NativeWebSocketTls : public WebSocketTest {
 protected:
  /// Connects to `host` up to the opening event.
  RawPeer openSecurely(const TlsIdentity& identity, std::string_view host) {
    start(listener.url("/", "wss", host));
    RawPeer peer = listener.accept();
    EXPECT_TRUE(peer.acceptTls(identity.context()));
    peer.acceptHandshake();
    EXPECT_TRUE(waitForEvent("opened"));
    return peer;
  }
  /// How the attempt to connect to `host` ends when the client does not take the server's certificate.
  Error refusal(const TlsIdentity& identity, std::string_view host) {
    start(listener.url("/", "wss", host));
    RawPeer peer = listener.accept();
    peer.acceptTls(identity.context());
    EXPECT_TRUE(waitForEnd());
    peer.close();
    EXPECT_EQ(eventsAfterAll().size(), 1u);
    EXPECT_EQ(delegate.lastError.domain, "OrvTls");
    return delegate.lastError;
  }
};

TEST_F(NativeWebSocketTls, TalksToAServerWhoseNameAndCertificateAreGood) {
  const TlsIdentity identity("DNS:localhost");
  identity.trust();
  RawPeer peer = openSecurely(identity, "localhost");
  send("secret");
  EXPECT_EQ(peer.readFrame()->payload, "secret");
  peer.send(frameBytes(opcode::kText, "answer") + frameBytes(opcode::kPing, "p"));
  EXPECT_TRUE(waitForEvent("text answer"));
  EXPECT_EQ(peer.readFrame()->payload, "p");
  peer.send(frameBytes(opcode::kClose, closePayload(4000, "bye")));
  EXPECT_TRUE(waitForEnd());
  EXPECT_EQ(peer.readFrame()->closeCode(), 1000);
  peer.close();
  EXPECT_EQ(eventsAfterAll(), (Events{"opened", "text answer", "closed 4000 bye clean"}));
}

TEST_F(NativeWebSocketTls, ChecksNumericAddressesToo) {
  const TlsIdentity identity("IP:127.0.0.1");
  identity.trust();
  RawPeer peer = openSecurely(identity, "127.0.0.1");
  send("secret");
  EXPECT_EQ(peer.readFrame()->payload, "secret");
}

TEST_F(NativeWebSocketTls, NamesTheHostToTheServer) {
  const TlsIdentity identity("DNS:localhost");
  identity.trust();
  std::string named;
  SSL_CTX_set_tlsext_servername_arg(identity.context(), &named);
  SSL_CTX_set_tlsext_servername_callback(
      identity.context(), +[](SSL* session, int*, void* into) {
        const char* name = SSL_get_servername(session, TLSEXT_NAMETYPE_host_name);
        *static_cast<std::string*>(into) = name != nullptr ? name : "(none)";
        return SSL_TLSEXT_ERR_OK;
      });
  RawPeer peer = openSecurely(identity, "localhost");
  EXPECT_EQ(named, "localhost");
}

TEST_F(NativeWebSocketTls, MovesLargeMessagesBothWays) {
  const TlsIdentity identity("DNS:localhost");
  identity.trust();
  RawPeer peer = openSecurely(identity, "localhost");
  const std::string large(std::size_t{4} << 20, 'x');
  send(large);
  EXPECT_TRUE(peer.readFrame()->payload == large);
  peer.send(frameBytes(opcode::kText, large));
  EXPECT_TRUE(waitFor([this] { return delegate.events.size() == 2; }));
  EXPECT_TRUE(delegate.events.back() == "text " + large);
}

TEST_F(NativeWebSocketTls, RefusesACertificateForAnotherName) {
  const TlsIdentity identity("DNS:elsewhere.example");
  identity.trust();
  EXPECT_EQ(refusal(identity, "localhost").code, X509_V_ERR_HOSTNAME_MISMATCH);
}

TEST_F(NativeWebSocketTls, RefusesACertificateForAnotherAddress) {
  const TlsIdentity identity("IP:127.0.0.2, DNS:127.0.0.1");
  identity.trust();
  EXPECT_EQ(refusal(identity, "127.0.0.1").code, X509_V_ERR_IP_ADDRESS_MISMATCH);
}

TEST_F(NativeWebSocketTls, RefusesACertificateThatNamesTheHostAsItsSubjectOnly) {
  const TlsIdentity identity("", "localhost");
  identity.trust();
  EXPECT_EQ(refusal(identity, "localhost").code, X509_V_ERR_HOSTNAME_MISMATCH);
}

TEST_F(NativeWebSocketTls, RefusesAnUnknownAuthority) {
  const TlsIdentity identity("DNS:localhost");
  TlsIdentity("DNS:localhost").trust();
  EXPECT_NE(refusal(identity, "localhost").code, X509_V_OK);
  EXPECT_NE(delegate.lastError.description.find("certificate"), std::string::npos)
      << delegate.lastError.description;
}

TEST_F(NativeWebSocketTls, RefusesOldVersionsOfTheProtocol) {
  TlsIdentity identity("DNS:localhost");
  identity.trust();
  identity.speakAtMost(TLS1_1_VERSION);
  refusal(identity, "localhost");
}

TEST_F(NativeWebSocketTls, SpeaksVersionOnePointTwo) {
  TlsIdentity identity("DNS:localhost");
  identity.trust();
  identity.speakAtMost(TLS1_2_VERSION);
  openSecurely(identity, "localhost");
}

TEST_F(NativeWebSocketTls, FailsWhenTheServerDoesNotSpeakTls) {
  start(listener.url("/", "wss"));
  RawPeer peer = listener.accept();
  peer.send("HTTP/1.1 400 Bad Request\r\n\r\n");
  EXPECT_TRUE(waitForEnd());
  EXPECT_EQ(delegate.lastError.domain, "OrvTls");
}

TEST_F(NativeWebSocketTls, FailsWhenTheServerLeavesDuringTheTlsHandshake) {
  start(listener.url("/", "wss"));
  RawPeer peer = listener.accept();
  EXPECT_FALSE(peer.readEnd());  // the client's greeting
  peer.close();
  EXPECT_TRUE(waitForEnd());
  EXPECT_TRUE(delegate.lastError.domain == "OrvTls" || delegate.lastError.code == ECONNRESET)
      << delegate.lastError.text();
}

TEST_F(NativeWebSocketTls, AnEndOfTheStreamDuringTheTlsHandshakeIsToldAsThat) {
  start(listener.url("/", "wss"));
  RawPeer peer = listener.accept();
  shutdown(peer.descriptor(), SHUT_WR);  // a close would be a reset where the greeting has not been read
  EXPECT_TRUE(waitForEnd());
  EXPECT_EQ(delegate.lastError.domain, "OrvTls");
  EXPECT_EQ(delegate.lastError.description, "the peer ended the stream during the TLS handshake");
}

TEST_F(NativeWebSocketTls, AGoodbyeDuringTheTlsHandshakeIsToldAsItsEndToo) {
  start(listener.url("/", "wss"));
  RawPeer peer = listener.accept();
  peer.send(std::string("\x15\x03\x03\x00\x02\x01\x00", 7));  // an alert that says no more than that
  EXPECT_TRUE(waitForEnd());
  EXPECT_EQ(delegate.lastError.domain, "OrvTls");
  EXPECT_EQ(delegate.lastError.description, "the peer ended the stream during the TLS handshake");
}

TEST_F(NativeWebSocketTls, TheTimeOfTheTlsHandshakeEndsWithIt) {
  const TlsIdentity identity("DNS:localhost");
  identity.trust();
  start(listener.url("/", "wss", "localhost"));
  RawPeer peer = listener.accept();
  EXPECT_TRUE(peer.acceptTls(identity.context()));
  const std::string incoming = peer.readRequest();
  const auto took = socket->connectReport().tls;
  ASSERT_TRUE(took.has_value());
  peer.send(RawPeer::agreement(incoming));
  EXPECT_TRUE(waitForEvent("opened"));
  EXPECT_EQ(socket->connectReport().tls, took);
}

TEST_F(NativeWebSocketTls, TheEndOfTheStreamIsAnUncleanCloseWithOrWithoutATlsGoodbye) {
  const TlsIdentity identity("DNS:localhost");
  identity.trust();
  for (const bool goodbye : {true, false}) {
    delegate.events.clear();
    RawPeer peer = openSecurely(identity, "localhost");
    if (goodbye) {
      peer.close();
    } else {
      shutdown(peer.descriptor(), SHUT_RDWR);
    }
    EXPECT_TRUE(waitForEnd());
    EXPECT_EQ(eventsAfterAll(), (Events{"opened", "closed 1001 Stream end encountered unclean"}));
  }
}

TEST_F(NativeWebSocketTls, OurCloseEndsWithThePeersCode) {
  const TlsIdentity identity("DNS:localhost");
  identity.trust();
  RawPeer peer = openSecurely(identity, "localhost");
  send("before");
  socket->close();
  EXPECT_EQ(peer.readFrame()->payload, "before");
  EXPECT_EQ(peer.readFrame()->closeCode(), 1000);
  peer.send(frameBytes(opcode::kText, "late") + frameBytes(opcode::kClose, closePayload(1000)));
  EXPECT_TRUE(waitForEnd());
  EXPECT_TRUE(peer.readEnd());
  peer.close();
  EXPECT_EQ(eventsAfterAll(), (Events{"opened", "text late", "closed 1000 (absent) clean"}));
}

}  // namespace
}  // namespace orv::native_web_socket_tls_test
