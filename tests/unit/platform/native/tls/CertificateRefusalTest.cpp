#include <orvnetwork/platform/native/tls/CertificateRefusal.h>

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

namespace orv::certificate_refusal_test {
namespace {

using namespace std::chrono_literals;

class CertificateRefusals : public ::testing::Test {
 protected:
  CertificateRefusals() {
    const auto noon = std::chrono::sys_days(std::chrono::year(2020) / 1 / 31) + 12h;
    refusal.words = "words";
    refusal.certificate = {.subject = "O=School, CN=classroom",
                           .issuer = "CN=Office CA, O=School",
                           .names = {"classroom.test", "*.classroom.test"},
                           .notBefore = noon - 24h,
                           .notAfter = noon,
                           .pin = "pin"};
    refusal.now = noon + 20h + 5min;
  }
  std::string textOf(long code) {
    refusal.code = code;
    return refusalText(refusal);
  }
  CertificateRefusal refusal;
};

TEST_F(CertificateRefusals, DatesAreToldWithThisMachinesClock) {
  EXPECT_EQ(textOf(10),
            "words: valid until 2020-01-31 12:00 UTC, and this machine's clock says 2020-02-01 08:05 UTC");
  EXPECT_EQ(textOf(9),
            "words: valid from 2020-01-30 12:00 UTC, and this machine's clock says 2020-02-01 08:05 UTC");
}

TEST_F(CertificateRefusals, AnIssuerOnTheWayIsNamed) {
  refusal.isServers = false;
  EXPECT_EQ(textOf(10),
            "words: \"classroom\" is valid until 2020-01-31 12:00 UTC, and this machine's clock says "
            "2020-02-01 08:05 UTC");
  EXPECT_EQ(textOf(24), "words: at \"classroom\"");
}

TEST_F(CertificateRefusals, WhoSignedIsNamed) {
  EXPECT_EQ(textOf(18), "words: \"classroom\" has signed it, which is not among the trusted roots");
  EXPECT_EQ(textOf(19),
            "words: its root \"classroom\" is not among the trusted ones; if it is not the server's, "
            "something on the "
            "way intercepts TLS");
  EXPECT_EQ(
      textOf(20),
      "words: \"Office CA\", which issued \"classroom\", is not known here: the server leaves a certificate "
      "between out, or something on the way intercepts TLS");
  EXPECT_EQ(textOf(21), textOf(20));
}

TEST_F(CertificateRefusals, NamesAreListedAndCounted) {
  EXPECT_EQ(textOf(62), "words: it names classroom.test, *.classroom.test");
  EXPECT_EQ(textOf(64), textOf(62));
  refusal.certificate.names.clear();
  EXPECT_EQ(textOf(62), "words: it names no host");
  for (const char* name : {"a", "b", "c", "d", "e", "f", "g", "h"}) refusal.certificate.names.push_back(name);
  EXPECT_EQ(textOf(62), "words: it names a, b, c, d, e, f and 2 more");
}

TEST_F(CertificateRefusals, WeakKeysAndDigestsAreNamed) {
  refusal.key = "RSA, 1024 bits";
  refusal.signature = "sha1WithRSAEncryption";
  EXPECT_EQ(textOf(66), "words: \"classroom\" has a key of RSA, 1024 bits");
  EXPECT_EQ(textOf(67), textOf(66));
  EXPECT_EQ(textOf(68), "words: \"classroom\" is signed by sha1WithRSAEncryption");
}

TEST_F(CertificateRefusals, OthersAreToldInTheVerifiersWords) {
  EXPECT_EQ(textOf(50), "words");
}

TEST_F(CertificateRefusals, SubjectsAreToldByTheirCommonName) {
  const auto named = [this](const char* subject) {
    refusal.certificate.subject = subject;
    return textOf(18);
  };
  EXPECT_TRUE(named("CN=a\\, b, O=c").starts_with("words: \"a, b\" has"));
  EXPECT_TRUE(named("O=c, OU=d").starts_with("words: \"O=c, OU=d\" has"));
  EXPECT_TRUE(named("O=CN=x").starts_with("words: \"O=CN=x\" has"));
  EXPECT_TRUE(named("").starts_with("words: \"\" has"));
  EXPECT_TRUE(named("CN=ends\\").starts_with("words: \"ends\\\" has"));
}

TEST(PinMismatch, TellsWhatWasExpectedAndWhatWasSeen) {
  const std::vector<CertificateSummary> chain = {{.subject = "CN=a", .issuer = "CN=b", .pin = "AA="},
                                                 {.subject = "CN=b", .issuer = "CN=b", .pin = "BB="}};
  EXPECT_EQ(
      pinMismatchText({"XX=", "YY="}, chain),
      "no pinned key in the chain of certificates: expected sha256/XX=, sha256/YY=, saw sha256/AA= of \"a\", "
      "sha256/BB= of \"b\"");
}

}  // namespace
}  // namespace orv::certificate_refusal_test
