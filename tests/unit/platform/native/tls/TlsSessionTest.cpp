// Handshakes in memory: what is checked, what is kept of it, and that one does not go on from another that has checked
// something else.

#include <orvnetwork/platform/native/tls/TlsContexts.h>
#include <orvnetwork/platform/native/tls/TlsSession.h>
#include <orvnetwork/platform/native/tls/TlsTickets.h>

#include <tests/support/TlsIdentity.h>

#include <gtest/gtest.h>
#include <openssl/err.h>
#include <openssl/ssl.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>

namespace orv::tls_session_test {
namespace {

using namespace std::chrono_literals;
using test::TestCertificate;
using test::TlsIdentity;

/// A client and a server with two pipes between them.
class Talk {
 public:
  Talk(SSL* client, SSL_CTX* server) : client_(client), server_(SSL_new(server)) {
    BIO* ofClient = nullptr;
    BIO* ofServer = nullptr;
    BIO_new_bio_pair(&ofClient, 0, &ofServer, 0);
    SSL_set_bio(client_.get(), ofClient, ofClient);
    SSL_set_bio(server_.get(), ofServer, ofServer);
    SSL_set_connect_state(client_.get());
    SSL_set_accept_state(server_.get());
  }
  /// Whether the handshake has succeeded on the client's side; the tickets have come then.
  bool shakeHands() {
    ERR_clear_error();
    for (int i = 0; i < 20; ++i) {
      const int done = SSL_do_handshake(client_.get());
      if (done != 1 && SSL_get_error(client_.get(), done) == SSL_ERROR_SSL) return noteError();
      if (SSL_do_handshake(server_.get()) == 1 && done == 1) {
        SSL_write(server_.get(), "x", 1);
        char byte = 0;
        return SSL_read(client_.get(), &byte, 1) == 1;
      }
      ERR_clear_error();
    }
    return false;
  }
  SSL* client() { return client_.get(); }
  std::optional<Error> flaw() { return tlsHandshakeFlaw(client_.get()); }
  Error error() { return tlsSessionError(client_.get(), error_); }
  ConnectReport report() {
    ConnectReport told;
    reportTls(client_.get(), told);
    return told;
  }

 private:
  bool noteError() {
    error_ = ERR_get_error();
    return false;
  }

  OpenSslOwned<SSL> client_;
  OpenSslOwned<SSL> server_;
  unsigned long error_ = 0;
};

class TlsSessions : public ::testing::Test {
 protected:
  Talk talk(const TlsSettings& settings, const TlsServer& server = {"localhost", 443}) {
    return {newTlsSession(tlsContextFor(settings).value(), server), identity_.context()};
  }
  bool resumes(const TlsSettings& settings, const TlsServer& server = {"localhost", 443}) {
    Talk one = talk(settings, server);
    EXPECT_TRUE(one.shakeHands()) << one.error().text();
    EXPECT_EQ(one.flaw(), std::nullopt);
    return one.report().tlsResumed;
  }

  const TestCertificate root_{{.commonName = "root", .isAuthority = true}};
  const TestCertificate own_ =
      root_.issue({.commonName = "server", .names = "DNS:localhost, DNS:other.test"});
  TlsIdentity identity_{own_};
  const TlsSettings settings_{.rootTexts = {root_.pem()}, .usesSystemRoots = false};
};

TEST_F(TlsSessions, AHandshakeGoesOnFromAnEarlierOneOfTheSameServerAndSettings) {
  EXPECT_FALSE(resumes(settings_));
  EXPECT_EQ(tlsTickets().count(), 2u);
  EXPECT_TRUE(resumes(settings_));
  EXPECT_TRUE(resumes(settings_, {"LocalHost.", 443})) << "the same name";
}

TEST_F(TlsSessions, AnotherServerOrOtherSettingsMakeAFullHandshake) {
  EXPECT_FALSE(resumes(settings_));
  EXPECT_FALSE(resumes(settings_, {"localhost", 444}));
  EXPECT_FALSE(resumes(settings_, {"other.test", 443}));
  TlsSettings pinned = settings_;
  pinned.pins = {own_.pin()};
  EXPECT_FALSE(resumes(pinned));
  TlsSettings newer = settings_;
  newer.lowestVersion = TlsVersion::Tls13;
  EXPECT_FALSE(resumes(newer));
}

TEST_F(TlsSessions, AFullHandshakeIsMadeWhereItIsWantedAndLeavesNothing) {
  EXPECT_FALSE(resumes(settings_, {"localhost", 443, false}));
  EXPECT_EQ(tlsTickets().count(), 0u);
  EXPECT_FALSE(resumes(settings_));
  EXPECT_FALSE(resumes(settings_, {"localhost", 443, false}));
  EXPECT_EQ(tlsTickets().count(), 2u) << "and takes nothing away";
}

TEST_F(TlsSessions, ATicketOfAHandshakeThatHasCheckedSomethingElseIsRefused) {
  const auto context = tlsContextFor(settings_).value();
  EXPECT_FALSE(resumes(settings_));
  auto ticket = tlsTickets().take({context->number(), "localhost 443"}, std::chrono::system_clock::now());
  ASSERT_TRUE(ticket);
  ticket->key.server = "other.test 443";
  tlsTickets().put(*std::move(ticket));
  Talk other = talk(settings_, {"other.test", 443});
  ASSERT_TRUE(other.shakeHands());
  EXPECT_TRUE(other.report().tlsResumed) << "the TLS library takes it";
  EXPECT_EQ(other.flaw().value().domain, "OrvTls");
}

TEST_F(TlsSessions, ATicketWithoutAStampIsRefused) {
  const auto context = tlsContextFor(settings_).value();
  Talk plain = talk(settings_, {"localhost", 443, false});
  ASSERT_TRUE(plain.shakeHands());
  const WallTime now = std::chrono::system_clock::now();
  tlsTickets().put({{context->number(), "localhost 443"},
                    OpenSslOwned<SSL_SESSION>(SSL_SESSION_dup(SSL_get_session(plain.client()))),
                    now,
                    now + 1h,
                    now + 1h});
  Talk next = talk(settings_);
  ASSERT_TRUE(next.shakeHands());
  ASSERT_TRUE(next.report().tlsResumed);
  EXPECT_TRUE(next.flaw());
}

TEST_F(TlsSessions, ATicketIsGoodNoLongerThanTheChainAndCountsFromWhenThatWasLookedAt) {
  const auto context = tlsContextFor(settings_).value();
  const TicketKey key{context->number(), "localhost 443"};
  const WallTime begun = std::chrono::system_clock::now();
  EXPECT_FALSE(resumes(settings_));
  auto first = tlsTickets().take(key, std::chrono::system_clock::now());
  ASSERT_TRUE(first);
  EXPECT_GE(first->verifiedAt, begun);
  EXPECT_LE(first->chainEnds, std::chrono::system_clock::now() + 24h) << "the certificate's end";
  EXPECT_GT(first->expires, begun + 1h);
  EXPECT_LT(first->expires, begun + 3h) << "what the server says";
  first->verifiedAt -= 1h;
  first->chainEnds = begun + 1min;
  first->expires = begun + 2min;
  tlsTickets().put(*std::move(first));
  EXPECT_TRUE(resumes(settings_));
  const auto second = tlsTickets().take(key, std::chrono::system_clock::now());
  ASSERT_TRUE(second);
  EXPECT_LT(second->verifiedAt, begun - 59min) << "the resumed handshake has not looked at the chain";
  EXPECT_EQ(second->chainEnds, begun + 1min);
  EXPECT_GT(second->expires, begun + 1h) << "it is a new one";
}

TEST_F(TlsSessions, AServerThatDoesNotKnowTheTicketMakesAFullHandshake) {
  EXPECT_FALSE(resumes(settings_));
  identity_ = TlsIdentity(own_);
  EXPECT_FALSE(resumes(settings_));
  EXPECT_TRUE(resumes(settings_));
}

TEST_F(TlsSessions, TicketsOfOlderVersionsServeAgain) {
  identity_.speakAtMost(TLS1_2_VERSION);
  EXPECT_FALSE(resumes(settings_));
  EXPECT_EQ(tlsTickets().count(), 1u);
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(resumes(settings_));
  EXPECT_EQ(tlsTickets().count(), 1u);
}

TEST_F(TlsSessions, AHandshakeThatFailsWithATicketDropsAllOfThatServer) {
  EXPECT_FALSE(resumes(settings_));
  EXPECT_FALSE(resumes(settings_, {"other.test", 443}));
  EXPECT_EQ(tlsTickets().count(), 4u);
  identity_ = TlsIdentity(TestCertificate({.names = "DNS:localhost"}));
  Talk failing = talk(settings_);
  EXPECT_FALSE(failing.shakeHands());
  EXPECT_EQ(failing.error().code, X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT);
  EXPECT_EQ(tlsTickets().count(), 2u);
}

TEST_F(TlsSessions, WhatTheHandshakeWasIsTold) {
  Talk full = talk(settings_);
  ASSERT_TRUE(full.shakeHands());
  const ConnectReport report = full.report();
  EXPECT_EQ(report.tlsVersion, "TLSv1.3");
  EXPECT_TRUE(report.tlsCipher.value().starts_with("TLS_")) << *report.tlsCipher;
  EXPECT_EQ(report.chain.size(), 1u);
  EXPECT_EQ(report.chain.at(0).pin, own_.pin());
  Talk resumed = talk(settings_);
  ASSERT_TRUE(resumed.shakeHands());
  EXPECT_TRUE(resumed.report().chain.empty());
  EXPECT_LT(resumed.report().tlsBytes, report.tlsBytes);
  EXPECT_GT(resumed.report().tlsBytes, 500u);
}

}  // namespace
}  // namespace orv::tls_session_test
