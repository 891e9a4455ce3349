#include <orvnetwork/platform/native/tls/CertificateRefusal.h>
#include <orvnetwork/platform/native/tls/KeyPin.h>
#include <orvnetwork/platform/native/tls/TlsFailure.h>
#include <orvnetwork/testing/ConnectPlan.h>
#include <orvnetwork/testing/PlannedCertificate.h>
#include <orvnetwork/testing/SimulatedPlatform.h>
#include <orvnetwork/transport/LinkFailure.h>

#include <gtest/gtest.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509_vfy.h>

#include <chrono>
#include <string>
#include <utility>

namespace orv::testing::planned_certificate_test {
namespace {

const WallTime kNow = std::chrono::sys_days(std::chrono::year(2020) / 3 / 5) + std::chrono::minutes(67);

/// What a real socket says of such a certificate.
Error nativeError(CertificateFault fault, long code) {
  CertificateRefusal refusal;
  refusal.code = code;
  refusal.words = X509_verify_cert_error_string(code);
  refusal.certificate = plannedTlsReport(fault, kNow).chain.at(0);
  refusal.now = kNow;
  return {"OrvTls", code, refusalText(refusal)};
}

TEST(PlannedCertificate, RefusalsAreInTheWordsOfRealSockets) {
  for (const auto& [fault, code] :
       {std::pair(CertificateFault::Expired, X509_V_ERR_CERT_HAS_EXPIRED),
        std::pair(CertificateFault::OtherHost, X509_V_ERR_HOSTNAME_MISMATCH),
        std::pair(CertificateFault::UnknownIssuer, X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY)}) {
    EXPECT_EQ(plannedTlsError(fault, kNow), nativeError(fault, code));
  }
}

TEST(PlannedCertificate, PinsAreToldAsByRealSockets) {
  const Error error = plannedTlsError(CertificateFault::NotPinned, kNow);
  EXPECT_EQ(error.code, -1200);
  const std::size_t at = error.description.find("sha256/") + std::string("sha256/").size();
  const std::string expected = error.description.substr(at, 44);
  const auto chain = plannedTlsReport(CertificateFault::NotPinned, kNow).chain;
  EXPECT_EQ(error.description, pinMismatchText({expected}, chain));
  EXPECT_TRUE(readPin(expected));
  for (const auto& certificate : chain) EXPECT_TRUE(readPin(certificate.pin));
}

TEST(PlannedCertificate, AMissingClientCertificateIsToldAsByRealSockets) {
  OPENSSL_init_ssl(OPENSSL_INIT_LOAD_SSL_STRINGS, nullptr);
  EXPECT_EQ(plannedTlsError(CertificateFault::ClientCertificateWanted, kNow),
            tlsLibraryError(ERR_PACK(ERR_LIB_SSL, 0, kCertificateRequired), {.askedForCertificate = true}));
}

TEST(PlannedCertificate, EachFaultIsATroubleOfItsOwn) {
  const auto trouble = [](CertificateFault fault) {
    return linkFailureOf(ConnectPlan::refuseCertificate(fault, kNow).error).trouble;
  };
  EXPECT_EQ(trouble(CertificateFault::Expired), LinkTrouble::CertificateExpired);
  EXPECT_EQ(trouble(CertificateFault::OtherHost), LinkTrouble::CertificateOfAnother);
  EXPECT_EQ(trouble(CertificateFault::UnknownIssuer), LinkTrouble::CertificateNotTrusted);
  EXPECT_EQ(trouble(CertificateFault::NotPinned), LinkTrouble::CertificateNotPinned);
  EXPECT_EQ(trouble(CertificateFault::ClientCertificateWanted), LinkTrouble::ClientCertificateWanted);
}

TEST(PlannedCertificate, TheSocketsReportTellsTheChainThatWasRefused) {
  SimulatedPlatform platform;
  platform.network().planConnect(ConnectPlan::refuseCertificate(CertificateFault::Expired, kNow, Seconds(2)));
  const auto socket = platform.makeWebSocket({.url = "wss://classroom.example.org"});
  socket->open();
  platform.runFor(Seconds(3));
  EXPECT_EQ(socket->readyState(), WebSocketState::Closed);
  const ConnectReport report = socket->connectReport();
  ASSERT_EQ(report.chain.size(), 1u);
  EXPECT_EQ(report.chain[0].notAfter, kNow - std::chrono::hours(24));
  EXPECT_EQ(report.tlsVersion, "TLSv1.3");
}

}  // namespace
}  // namespace orv::testing::planned_certificate_test
