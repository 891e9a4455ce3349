#include <orvnetwork/platform/WebSocketError.h>
#include <orvnetwork/testing/ConnectPlan.h>
#include <orvnetwork/testing/PlannedAddress.h>
#include <orvnetwork/transport/LinkFailure.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <tests/support/LinkFixture.h>

#include <cerrno>
#include <optional>
#include <set>
#include <string>

namespace orv::link_failure_test {
namespace {

using testing::ConnectPlan;
using testing::PlannedAddress;

class LinkFailures : public LinkFixture {
 protected:
  LinkTrouble troubleAfter(ConnectPlan plan, double seconds = 1) {
    platform.network().setDefaultPlan(std::move(plan));
    link.watchNetworkStatus();
    runFor(seconds);
    return link.linkFailure().value().trouble;
  }
};

TEST_F(LinkFailures, NothingIsToldBeforeTheFirstAttemptAndWhileTheLinkIsUp) {
  EXPECT_EQ(link.linkFailure(), std::nullopt);
  bringUp();
  EXPECT_EQ(link.linkFailure(), std::nullopt);
}

TEST_F(LinkFailures, RefusedIsToldAsThat) {
  EXPECT_EQ(troubleAfter(ConnectPlan::refuse()), LinkTrouble::Refused);
  EXPECT_EQ(link.linkFailure()->text, "the connection was refused");
  EXPECT_EQ(link.linkFailure()->cause, (Error{"POSIX", ECONNREFUSED, "Connection refused"}));
}

TEST_F(LinkFailures, NameThatIsNotKnownIsToldAsThat) {
  EXPECT_EQ(troubleAfter(ConnectPlan::unknownHost()), LinkTrouble::NameNotFound);
  EXPECT_EQ(link.linkFailure()->text, "the name of the server is not found: Name or service not known");
}

TEST_F(LinkFailures, HttpStatusIsTold) {
  EXPECT_EQ(troubleAfter(ConnectPlan::httpStatus(503)), LinkTrouble::RefusedByHttp);
  EXPECT_NE(link.linkFailure()->text.find("HTTP status 503"), std::string::npos);
}

TEST_F(LinkFailures, AnswerOfSomethingElseIsNoWebSocket) {
  EXPECT_EQ(troubleAfter(ConnectPlan::httpStatus(200)), LinkTrouble::NoWebSocket);
}

TEST_F(LinkFailures, ServerWithoutAnAnswerIsSilentWhileItIsWaitedForAndAfterwards) {
  EXPECT_EQ(troubleAfter(ConnectPlan::neverAnswer()), LinkTrouble::NoAnswer);
  runFor(70);
  EXPECT_EQ(link.linkFailure()->trouble, LinkTrouble::NoAnswer);
}

TEST_F(LinkFailures, ProxyIsToldApartFromTheServer) {
  EXPECT_EQ(troubleAfter(ConnectPlan::proxyUnreachable()), LinkTrouble::ProxyUnreachable);
  EXPECT_EQ(link.linkFailure()->text,
            "the proxy http://proxy.example.org:3128 is not reached: Connection refused");
}

TEST_F(LinkFailures, ProxyThatRefusesIsToldAsThat) {
  EXPECT_EQ(troubleAfter(ConnectPlan::proxyRefusesUser()), LinkTrouble::ProxyRefusesUser);
  platform.network().setDefaultPlan(ConnectPlan::proxyRefusesServer(403));
  link.reconnect();
  runFor(8);
  EXPECT_EQ(link.linkFailure()->trouble, LinkTrouble::ProxyRefused);
  EXPECT_NE(link.linkFailure()->text.find("HTTP status 403"), std::string::npos);
}

TEST_F(LinkFailures, ProxyWithoutAnAnswerIsToldAfterTheTimeLimit) {
  EXPECT_EQ(troubleAfter(ConnectPlan::proxyNeverAnswers(), 60.5), LinkTrouble::ProxyUnreachable);
}

TEST_F(LinkFailures, EndOfTheStreamIsAClose) {
  EXPECT_EQ(troubleAfter(ConnectPlan::endOfStream()), LinkTrouble::ClosedByServer);
}

TEST_F(LinkFailures, ServerThatDoesNotAnswerPingLeavesTheLinkUnconfirmed) {
  server.setAnswersPing(false);
  EXPECT_EQ(troubleAfter(ConnectPlan::accept()), LinkTrouble::Unconfirmed);
}

TEST_F(LinkFailures, LossOfTheLinkIsToldUntilItIsUpAgain) {
  bringUp();
  runFor(10);
  platform.network().setDefaultPlan(ConnectPlan::refuse());
  server.reset(1);
  settle();
  EXPECT_EQ(link.linkFailure()->trouble, LinkTrouble::Refused) << "of the attempt that followed at once";
  platform.network().setDefaultPlan(ConnectPlan::neverAnswer());
  runFor(8);
  EXPECT_EQ(link.linkFailure()->trouble, LinkTrouble::Refused) << "the last that is known";
  platform.network().setDefaultPlan(ConnectPlan::accept());
  link.reconnect();
  settle();
  EXPECT_EQ(link.linkFailure(), std::nullopt);
}

TEST_F(LinkFailures, NetworkThatIsGoneComesFirst) {
  bringUp();
  platform.reachability().report(ReachabilityStatus::NotReachable);
  settle();
  EXPECT_EQ(link.linkFailure()->trouble, LinkTrouble::NoNetwork);
}

TEST_F(LinkFailures, ReportOfTheLastAttemptStaysWhenItHasFailed) {
  EXPECT_TRUE(link.connectReport().attempts.empty());
  platform.network().planConnect(ConnectPlan::addresses({PlannedAddress::refuses("192.0.2.7")}));
  link.watchNetworkStatus();
  settle();
  EXPECT_TRUE(link.isClosed());
  EXPECT_EQ(link.connectReport().attempts.at(0).address, "192.0.2.7");
  runFor(6);
  EXPECT_TRUE(link.isOpen());
  EXPECT_EQ(link.connectReport().httpStatus, 101) << "of the attempt that succeeded";
  link.close();
  settle();
  EXPECT_EQ(link.connectReport().httpStatus, 101);
}

TEST_F(LinkFailures, ReportOfAnAttemptThatWasGivenUpStaysToo) {
  platform.network().planConnect(ConnectPlan::addresses({PlannedAddress::silent("192.0.2.7")}));
  link.watchNetworkStatus();
  runFor(3);
  link.close();
  settle();
  EXPECT_EQ(link.connectReport().attempts.at(0).address, "192.0.2.7");
}

TEST(LinkFailureOf, TellsCertificatesApart) {
  const auto trouble = [](std::int64_t code) { return linkFailureOf({"OrvTls", code, "words"}).trouble; };
  EXPECT_EQ(trouble(10), LinkTrouble::CertificateExpired);
  EXPECT_EQ(trouble(62), LinkTrouble::CertificateOfAnother);
  EXPECT_EQ(trouble(64), LinkTrouble::CertificateOfAnother);
  EXPECT_EQ(trouble(18), LinkTrouble::CertificateNotTrusted);
  EXPECT_EQ(trouble(20), LinkTrouble::CertificateNotTrusted);
  EXPECT_EQ(trouble(267), LinkTrouble::TlsFailed) << "wrong version number: no TLS at all";
  EXPECT_EQ(trouble(0), LinkTrouble::TlsFailed);
  EXPECT_EQ(trouble(websocket_error::kPinMismatch), LinkTrouble::CertificateNotPinned);
  EXPECT_EQ(trouble(websocket_error::kBadTlsSettings), LinkTrouble::BadTlsSettings);
}

TEST(LinkFailureOf, TellsWhatTheServerMissesInTheClientsCertificate) {
  const auto trouble = [](std::int64_t code) { return linkFailureOf({"OrvTls", code, "words"}).trouble; };
  EXPECT_EQ(trouble(1116), LinkTrouble::ClientCertificateWanted);
  EXPECT_EQ(trouble(1042), LinkTrouble::ClientCertificateWanted) << "bad certificate";
  EXPECT_EQ(trouble(1048), LinkTrouble::ClientCertificateWanted) << "unknown authority";
  EXPECT_EQ(trouble(1040), LinkTrouble::TlsFailed) << "the handshake failed for another reason";
  EXPECT_EQ(trouble(1070), LinkTrouble::TlsFailed) << "protocol version";
  EXPECT_EQ(trouble(1047), LinkTrouble::TlsFailed) << "illegal parameter";
}

TEST(LinkFailureOf, SaysOnceWhatIsWrongWithACertificateAndThenTheDetails) {
  const auto text = [](std::int64_t code, const char* words) {
    return linkFailureOf({"OrvTls", code, words}).text;
  };
  EXPECT_EQ(text(10, "certificate has expired: valid until 2020-01-31 12:00 UTC"),
            "the certificate of the server has expired: valid until 2020-01-31 12:00 UTC");
  EXPECT_EQ(text(10, "certificate has expired"), "the certificate of the server has expired");
  EXPECT_EQ(text(62, "hostname mismatch: it names a.example, b.example"),
            "the certificate of the server is for another host: it names a.example, b.example");
  EXPECT_EQ(text(18, "self-signed certificate: by \"me\""),
            "the certificate of the server is not trusted: self-signed certificate: by \"me\"");
  EXPECT_EQ(text(websocket_error::kPinMismatch, "no pinned key"), "no pinned key");
  EXPECT_EQ(text(1116, "certificate required"), "certificate required");
}

TEST(LinkFailureOf, TellsErrorsOfTheSystemApart) {
  const auto trouble = [](std::int64_t code) { return linkFailureOf({"POSIX", code, "words"}).trouble; };
  EXPECT_EQ(trouble(EHOSTUNREACH), LinkTrouble::Unreachable);
  EXPECT_EQ(trouble(ENETUNREACH), LinkTrouble::Unreachable);
  EXPECT_EQ(trouble(ETIMEDOUT), LinkTrouble::NoAnswer);
  EXPECT_EQ(trouble(ECONNRESET), LinkTrouble::Lost);
  EXPECT_EQ(linkFailureOf({"POSIX", ECONNRESET, "Connection reset by peer"}).text,
            "Connection reset by peer");
  EXPECT_EQ(linkFailureOf({"OrvWebSocket", -1000, "not a WebSocket address"}).trouble,
            LinkTrouble::BadAddress);
  EXPECT_EQ(linkFailureOf({"Another", 1, "words"}).trouble, LinkTrouble::Lost);
}

TEST(LinkFailureOf, TellsWhatAProxySays) {
  const auto trouble = [](std::int64_t code) { return linkFailureOf({"OrvProxy", code, "words"}).trouble; };
  EXPECT_EQ(trouble(-1100), LinkTrouble::BadProxy) << "it is no proxy of this kind";
  EXPECT_EQ(trouble(-1101), LinkTrouble::ProxyRefusesUser);
  EXPECT_EQ(trouble(-1102), LinkTrouble::BadProxy);
  EXPECT_EQ(trouble(-1103), LinkTrouble::ProxyUnreachable);
  EXPECT_EQ(trouble(403), LinkTrouble::ProxyRefused);
  EXPECT_EQ(trouble(2), LinkTrouble::ProxyRefused);
  EXPECT_EQ(linkFailureOf({"OrvProxy", 403, "the proxy http://p:1 refuses"}).text,
            "the proxy http://p:1 refuses");
}

TEST(LinkFailureOf, CloseTellsCodeAndReason) {
  EXPECT_EQ(linkFailureOfClose(1013, "later", true).text, "the server closed the link, code 1013: later");
  EXPECT_EQ(linkFailureOfClose(1005, std::nullopt, true).text, "the server closed the link, code 1005");
  EXPECT_EQ(linkFailureOfClose(1001, "Stream end", false).text, "the server ended the connection");
}

TEST(LinkTroubleNames, AreDifferent) {
  constexpr int kLast = static_cast<int>(LinkTrouble::ProxyRefused);
  std::set<std::string_view> names;
  for (int i = 0; i <= kLast; ++i) names.insert(nameOf(static_cast<LinkTrouble>(i)));
  EXPECT_EQ(names.size(), static_cast<std::size_t>(kLast) + 1);
}

}  // namespace
}  // namespace orv::link_failure_test
