// `orv doctor` with servers that misbehave on loopback: behind the change to WebSocket, and in TLS.

#ifdef ORV_PROGRAM

#include <tests/cli/DoctorRun.h>
#include <tests/support/RawPeer.h>
#include <tests/support/TestCertificate.h>
#include <tests/support/TlsIdentity.h>

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>

namespace orv::doctor_peers_test {
namespace {

using namespace test;

TEST(DoctorOfAPeer, ThatEndsTheLinkInThePlaceOfAnAnswer) {
  RawListener listener;
  std::thread server([&listener] {
    RawPeer peer = listener.accept();
    peer.acceptHandshake();
    peer.readFrame();
    peer.close();
  });
  const Findings found = doctor(listener.url());
  server.join();
  EXPECT_EQ(found.failures(), Names{"ping"}) << found.result.out;
  EXPECT_EQ(found.code("ping"), "closed");
}

TEST(DoctorOfAPeer, ThatDoesNotTellItsTime) {
  RawListener listener;
  std::thread server([&listener] {
    RawPeer peer = listener.accept();
    peer.acceptHandshake();
    peer.readFrame();
    peer.send(frameBytes(opcode::kText, "PONG"));
    peer.readEnd();
  });
  const Findings found = doctor(listener.url());
  server.join();
  EXPECT_EQ(found.failures(), Names()) << found.result.out;
  EXPECT_EQ(found.code("ping"), "good");
  EXPECT_EQ(found.code("clock"), "notTold");
  EXPECT_EQ(found.verdict("clock"), "skipped");
  EXPECT_EQ(found.result.exitCode, 0);
}

/// Runs doctor against a server that speaks TLS as this identity says.
Findings doctorOf(const TlsIdentity& identity, const std::string& root) {
  RawListener listener;
  std::thread server([&] {
    RawPeer peer = listener.accept();
    // With TLS 1.3 the client is through with the handshake before it is refused.
    if (peer.acceptTls(identity.context())) peer.readEnd();
  });
  const Findings found = doctor(listener.url("/", "wss"), "2", {"--root", root});
  server.join();
  return found;
}

CertificateWishes authority(const char* name) {
  CertificateWishes wishes;
  wishes.commonName = name;
  wishes.isAuthority = true;
  return wishes;
}

CertificateWishes serverHere() {
  CertificateWishes wishes;
  wishes.commonName = "server";
  wishes.names = "IP:127.0.0.1";
  return wishes;
}

class DoctorOfATlsServer : public ::testing::Test {
 protected:
  const TestCertificate root{authority("Root")};
  const std::string rootFile = writeTestFile("root.pem", root.pem());
};

TEST_F(DoctorOfATlsServer, ThatWantsACertificateOfTheClient) {
  TlsIdentity identity(root.issue(serverHere()));
  identity.askForCertificateBy(TestCertificate(authority("Clients")));
  const Findings found = doctorOf(identity, rootFile);
  EXPECT_EQ(found.failures(), Names{"tls"}) << found.result.out;
  EXPECT_EQ(found.code("tls"), "clientCertificate");
}

TEST_F(DoctorOfATlsServer, WhoseKeyIsWeak) {
  CertificateWishes weak = serverHere();
  weak.key = "RSA1024";
  const Findings found = doctorOf(TlsIdentity(root.issue(weak)), rootFile);
  EXPECT_EQ(found.failures(), Names{"tls"}) << found.result.out;
  EXPECT_EQ(found.code("tls"), "weak");
}

TEST_F(DoctorOfATlsServer, WhoseIssuerHasExpired) {
  CertificateWishes old = authority("Old Office");
  old.from = -std::chrono::hours(48);
  old.until = -std::chrono::hours(1);
  const TestCertificate between = root.issue(old);
  const Findings found = doctorOf(TlsIdentity(between.issue(serverHere()), {between}), rootFile);
  EXPECT_EQ(found.failures(), Names{"tls"}) << found.result.out;
  EXPECT_EQ(found.code("tls"), "expired");
  EXPECT_NE(found.text("tls").find("\"Old Office\" is valid until"), std::string::npos) << found.text("tls");
}

}  // namespace
}  // namespace orv::doctor_peers_test

#endif
