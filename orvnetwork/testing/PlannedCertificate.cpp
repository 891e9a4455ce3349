#include "orvnetwork/testing/PlannedCertificate.h"

#include <orvnetwork/data/TextFormat.h>
#include <orvnetwork/platform/WebSocketError.h>

#include <chrono>
#include <string>

namespace orv::testing {

namespace {

// Codes of the library behind the platform's own sockets.
constexpr std::int64_t kExpired = 10, kUnknownIssuer = 20, kOtherHost = 62, kClientCertificateWanted = 1116;

constexpr const char* kServersPin = "47DEQpj8HBSa+/TImW+5JCeuQeRkm5NMpJWZG3hSuFU=";
constexpr const char* kIssuersPin = "bjQLnP+zepicpUTmu3gKLHiQHT+zNzh2hRGjBhevoB0=";
constexpr const char* kSparePin = "4/RUxr36kBlXHyZYDISy3ZxDEnrCDzBmHTGlFYMIQqI=";

constexpr std::chrono::hours kDay{24};

CertificateSummary serversCertificate(CertificateFault fault, WallTime now) {
  CertificateSummary summary;
  summary.subject = "CN=classroom";
  summary.issuer = "CN=School CA";
  summary.names = {"classroom.example.org"};
  summary.notBefore = now - 90 * kDay;
  summary.notAfter = fault == CertificateFault::Expired ? now - kDay : now + 90 * kDay;
  summary.pin = kServersPin;
  return summary;
}

CertificateSummary issuersCertificate(WallTime now) {
  CertificateSummary summary;
  summary.subject = summary.issuer = "CN=School CA";
  summary.notBefore = now - 900 * kDay;
  summary.notAfter = now + 900 * kDay;
  summary.pin = kIssuersPin;
  return summary;
}

std::string minuteOf(WallTime time) {
  const auto day = std::chrono::floor<std::chrono::days>(time);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss clock(std::chrono::floor<std::chrono::minutes>(time - day));
  const auto number = [](auto part) { return static_cast<std::int64_t>(part); };
  return formatText("%04ld-%02ld-%02ld %02ld:%02ld UTC", number(static_cast<int>(date.year())),
                    number(static_cast<unsigned>(date.month())), number(static_cast<unsigned>(date.day())),
                    number(clock.hours().count()), number(clock.minutes().count()));
}

Error tlsError(std::int64_t code, std::string description) {
  return {websocket_error::kTlsDomain, code, std::move(description)};
}

}  // namespace

Error plannedTlsError(CertificateFault fault, WallTime now) {
  switch (fault) {
    case CertificateFault::Expired:
      return tlsError(kExpired, "certificate has expired: valid until " +
                                    minuteOf(serversCertificate(fault, now).notAfter) +
                                    ", and this machine's clock says " + minuteOf(now));
    case CertificateFault::OtherHost:
      return tlsError(kOtherHost, "hostname mismatch: it names classroom.example.org");
    case CertificateFault::UnknownIssuer:
      return tlsError(
          kUnknownIssuer,
          "unable to get local issuer certificate: \"School CA\", which issued \"classroom\", is not "
          "known here: the server leaves a certificate between out, or something on the way intercepts "
          "TLS");
    case CertificateFault::NotPinned:
      return tlsError(websocket_error::kPinMismatch,
                      std::string("no pinned key in the chain of certificates: expected sha256/") +
                          kSparePin + ", saw sha256/" + kServersPin + " of \"classroom\", sha256/" +
                          kIssuersPin + " of \"School CA\"");
    case CertificateFault::ClientCertificateWanted:
      break;
  }
  return tlsError(
      kClientCertificateWanted,
      "tlsv13 alert certificate required: the server wants a certificate of this client, which has none");
}

ConnectReport plannedTlsReport(CertificateFault fault, WallTime now) {
  ConnectReport report;
  report.tls = Seconds(0);
  report.tlsVersion = "TLSv1.3";
  report.tlsCipher = "TLS_AES_256_GCM_SHA384";
  report.chain = {serversCertificate(fault, now)};
  if (fault == CertificateFault::NotPinned) report.chain.push_back(issuersCertificate(now));
  report.tlsBytes = 1500;
  // What the server thinks of the client is seen behind the handshake.
  if (fault == CertificateFault::ClientCertificateWanted) report.upgrade = Seconds(0);
  return report;
}

}  // namespace orv::testing
