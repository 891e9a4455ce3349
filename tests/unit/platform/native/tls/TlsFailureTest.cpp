#include <orvnetwork/platform/native/tls/TlsFailure.h>

#include <gtest/gtest.h>
#include <openssl/err.h>
#include <openssl/ssl.h>

#include <string>

namespace orv::tls_failure_test {
namespace {

Error told(int reason, const TlsCircumstances& circumstances = {}) {
  return tlsLibraryError(ERR_PACK(ERR_LIB_SSL, 0, reason), circumstances);
}

class TlsFailures : public ::testing::Test {
 protected:
  void SetUp() override { OPENSSL_init_ssl(OPENSSL_INIT_LOAD_SSL_STRINGS, nullptr); }
};

TEST_F(TlsFailures, VersionsAreToldWithTheLowestThatIsSet) {
  const std::string old = "the server does not speak TLS 1.2 or later, the lowest version that is set";
  EXPECT_EQ(told(1070).description, "tlsv1 alert protocol version: " + old);
  EXPECT_EQ(told(SSL_R_UNSUPPORTED_PROTOCOL).description, "unsupported protocol: " + old);
  EXPECT_NE(told(1070, {.lowestVersion = TlsVersion::Tls13}).description.find("TLS 1.3 or later"),
            std::string::npos);
  EXPECT_EQ(told(1070).code, 1070);
  EXPECT_EQ(told(1070).domain, "OrvTls");
}

TEST_F(TlsFailures, AMissingClientCertificateIsToldInBothVersions) {
  EXPECT_EQ(
      told(1116).description,
      "tlsv13 alert certificate required: the server wants a certificate of this client, which has none");
  const Error older = told(1040, {.askedForCertificate = true});
  EXPECT_EQ(older.code, 1116);
  EXPECT_EQ(older.description,
            "sslv3 alert handshake failure: the server wants a certificate of this client, which has none");
  EXPECT_EQ(told(1116, {.hasCertificate = true}).description,
            "tlsv13 alert certificate required: the server wants another certificate of this client");
}

TEST_F(TlsFailures, AnotherFailedHandshakeIsNotTakenForThat) {
  EXPECT_EQ(told(1040).code, 1040);
  EXPECT_EQ(told(1040).description, "sslv3 alert handshake failure");
  EXPECT_EQ(told(1040, {.askedForCertificate = true, .hasCertificate = true}).code, 1040);
}

TEST_F(TlsFailures, ACertificateOfTheClientsThatIsNotTakenIsToldAsThat) {
  for (const int reason : {1042, 1043, 1044, 1045, 1046, 1048, 1049}) {
    const Error error = told(reason, {.askedForCertificate = true, .hasCertificate = true});
    EXPECT_EQ(error.code, reason);
    EXPECT_TRUE(error.description.ends_with(": the server does not take the certificate of this client"))
        << error.description;
  }
}

TEST_F(TlsFailures, WhatIsNoTlsIsToldAsThat) {
  EXPECT_EQ(told(SSL_R_WRONG_VERSION_NUMBER).description,
            "wrong version number: what answers there does not speak TLS");
}

TEST_F(TlsFailures, OthersAreToldInTheLibrarysWords) {
  EXPECT_EQ(told(SSL_R_DECRYPTION_FAILED_OR_BAD_RECORD_MAC).description,
            "decryption failed or bad record mac");
  EXPECT_FALSE(tlsLibraryError(0, {}).description.empty());
}

}  // namespace
}  // namespace orv::tls_failure_test
