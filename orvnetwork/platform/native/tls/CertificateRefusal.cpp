#include "orvnetwork/platform/native/tls/CertificateRefusal.h"

#include <openssl/x509_vfy.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

namespace {

/// A list in a text names no more than these and counts the others.
constexpr std::size_t kMostListed = 6;

std::string minuteText(WallTime time) {
  const auto day = std::chrono::floor<std::chrono::days>(time);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss clock(std::chrono::floor<std::chrono::minutes>(time - day));
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02u-%02u %02d:%02d UTC", static_cast<int>(date.year()),
                static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()));
  return text;
}

/// The common name in a subject such as "O=School, CN=Office CA", else all of it; in quotes.
std::string quotedSubject(std::string_view subject) {
  constexpr std::string_view kCommonName = "CN=";
  std::string_view::size_type at = subject.starts_with(kCommonName) ? 0 : subject.find(", CN=");
  if (at == std::string_view::npos) return "\"" + std::string(subject) + "\"";
  at = subject.find(kCommonName, at) + kCommonName.size();
  std::string name;
  for (; at < subject.size() && subject[at] != ',' && subject[at] != '+'; ++at) {
    if (subject[at] == '\\' && at + 1 < subject.size()) ++at;
    name += subject[at];
  }
  return "\"" + name + "\"";
}

std::string listText(const std::vector<std::string>& items) {
  std::string text;
  const std::size_t listed = std::min(items.size(), kMostListed);
  for (std::size_t i = 0; i < listed; ++i) text += (i > 0 ? ", " : "") + items[i];
  if (listed < items.size()) text += " and " + std::to_string(items.size() - listed) + " more";
  return text;
}

/// Whose certificate it is, where it is not the server's own.
std::string ofWhom(const CertificateRefusal& refusal) {
  return refusal.isServers ? "" : quotedSubject(refusal.certificate.subject) + " is ";
}

std::string clockText(const CertificateRefusal& refusal) {
  return ", and this machine's clock says " + minuteText(refusal.now);
}

std::string namesText(const CertificateSummary& certificate) {
  return certificate.names.empty() ? "it names no host" : "it names " + listText(certificate.names);
}

/// What follows from the verifier's result; empty where its words say it all.
std::string detailsOf(const CertificateRefusal& refusal) {
  const CertificateSummary& certificate = refusal.certificate;
  switch (refusal.code) {
    case X509_V_ERR_CERT_NOT_YET_VALID:
      return ofWhom(refusal) + "valid from " + minuteText(certificate.notBefore) + clockText(refusal);
    case X509_V_ERR_CERT_HAS_EXPIRED:
      return ofWhom(refusal) + "valid until " + minuteText(certificate.notAfter) + clockText(refusal);
    case X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT:
      return quotedSubject(certificate.subject) + " has signed it, which is not among the trusted roots";
    case X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN:
      return "its root " + quotedSubject(certificate.subject) +
             " is not among the trusted ones; if it is not the server's, something on the way intercepts TLS";
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY:
    case X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE:
      return quotedSubject(certificate.issuer) + ", which issued " + quotedSubject(certificate.subject) +
             ", is not known here: the server leaves a certificate between out, or something on the way "
             "intercepts TLS";
    case X509_V_ERR_HOSTNAME_MISMATCH:
    case X509_V_ERR_IP_ADDRESS_MISMATCH:
      return namesText(certificate);
    case X509_V_ERR_EE_KEY_TOO_SMALL:
    case X509_V_ERR_CA_KEY_TOO_SMALL:
      return quotedSubject(certificate.subject) + " has a key of " + refusal.key;
    case X509_V_ERR_CA_MD_TOO_WEAK:
      return quotedSubject(certificate.subject) + " is signed by " + refusal.signature;
    default:
      return refusal.isServers ? std::string() : "at " + quotedSubject(certificate.subject);
  }
}

}  // namespace

std::string refusalText(const CertificateRefusal& refusal) {
  const std::string details = detailsOf(refusal);
  return details.empty() ? refusal.words : refusal.words + ": " + details;
}

std::string pinMismatchText(const std::vector<std::string>& expected,
                            const std::vector<CertificateSummary>& verified) {
  const auto shown = [](const std::string& pin) { return "sha256/" + pin; };
  std::vector<std::string> wanted;
  std::transform(expected.begin(), expected.end(), std::back_inserter(wanted), shown);
  std::vector<std::string> seen;
  std::transform(verified.begin(), verified.end(), std::back_inserter(seen),
                 [&](const CertificateSummary& certificate) {
                   return shown(certificate.pin) + " of " + quotedSubject(certificate.subject);
                 });
  return "no pinned key in the chain of certificates: expected " + listText(wanted) + ", saw " +
         listText(seen);
}

}  // namespace orv
