#pragma once

#include <orvnetwork/platform/ConnectReport.h>

#include <string>
#include <vector>

namespace orv {

/// Where the verifier of certificates has stopped.
struct CertificateRefusal {
  /// Its result, and its own words for it.
  long code = 0;
  std::string words;
  /// The certificate at which it has stopped, and whether that is the server's own and not one that issued another.
  CertificateSummary certificate{};
  bool isServers = true;
  /// What is said of the certificate's key and of its signature, such as "RSA, 1024 bits" and "ecdsa-with-SHA1".
  std::string key{};
  std::string signature{};
  /// What this machine's clock says.
  WallTime now{};
};

/// Why a certificate is not taken: the verifier's words, and behind a colon what a person needs to mend it. Any thread.
std::string refusalText(const CertificateRefusal& refusal);

/// That none of the expected pins is in a chain that is good otherwise; with those that are in it. Any thread.
std::string pinMismatchText(const std::vector<std::string>& expected,
                            const std::vector<CertificateSummary>& verified);

}  // namespace orv
