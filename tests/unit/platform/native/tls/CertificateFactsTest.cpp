#include <orvnetwork/platform/native/tls/CertificateFacts.h>

#include <tests/support/TestCertificate.h>

#include <gtest/gtest.h>
#include <openssl/asn1.h>
#include <openssl/x509.h>

#include <chrono>
#include <memory>
#include <string>
#include <string_view>

namespace orv::certificate_facts_test {
namespace {

using namespace std::chrono_literals;
using test::TestCertificate;

TEST(CertificateFacts, TellWhoWhomAndWhen) {
  const TestCertificate root({.commonName = "Office CA", .isAuthority = true});
  const TestCertificate own = root.issue(
      {.commonName = "classroom", .names = "DNS:classroom.test, DNS:*.test, IP:127.0.0.1, IP:::1"});
  const CertificateSummary summary = summaryOf(own.certificate());
  EXPECT_EQ(summary.subject, "CN=classroom");
  EXPECT_EQ(summary.issuer, "CN=Office CA");
  EXPECT_EQ(summary.names, (std::vector<std::string>{"classroom.test", "*.test", "127.0.0.1", "::1"}));
  EXPECT_EQ(summary.pin, own.pin());
  const WallTime now = std::chrono::system_clock::now();
  EXPECT_LT(summary.notBefore, now);
  EXPECT_EQ(summary.notAfter - summary.notBefore, 48h);
}

TEST(CertificateFacts, TextsOfOthersAreBoundedAndWithoutControlCharacters) {
  const TestCertificate one({.commonName = "a\x1b[2J\n\xe2\x80\xae"
                                           "b"});
  EXPECT_EQ(summaryOf(one.certificate()).subject, "CN=a?[2J??b");
  std::string names;
  for (int i = 0; i < 300; ++i) names += (i > 0 ? ",DNS:" : "DNS:") + std::to_string(i) + ".test";
  EXPECT_EQ(summaryOf(TestCertificate({.names = names}).certificate()).names.size(), 100u);
  EXPECT_EQ(
      summaryOf(TestCertificate({.names = "DNS:" + std::string(1000, 'a')}).certificate()).names.at(0).size(),
      255u);
}

TEST(CertificateFacts, PeerTextIsCutBetweenCharacters) {
  EXPECT_EQ(shownPeerText("文字文字", 7), "文字");
  EXPECT_EQ(shownPeerText(std::string_view("a\0b\x7f\xc2\x85", 6), 10), "a?b??");
  EXPECT_EQ(shownPeerText("\xff\xff\xff", 4), "\xef\xbf\xbd") << "what repairs it counts too";
  EXPECT_EQ(shownPeerText("plain, 文, +", 100), "plain, 文, +");
}

TEST(CertificateFacts, TimesBeyondWhatATimeCanHoldAreItsEnds) {
  const auto timeIn = [](const char* text) {
    const std::unique_ptr<ASN1_TIME, void (*)(ASN1_TIME*)> time(ASN1_TIME_new(), &ASN1_TIME_free);
    EXPECT_EQ(ASN1_TIME_set_string_X509(time.get(), text), 1) << text;
    return timeOf(time.get());
  };
  EXPECT_EQ(timeIn("700101000102Z"), WallTime(62s));
  EXPECT_GT(timeIn("99991231235959Z"), timeIn("22000101000000Z"));
  EXPECT_LE(timeIn("99991231235959Z"), WallTime::max());
}

}  // namespace
}  // namespace orv::certificate_facts_test
