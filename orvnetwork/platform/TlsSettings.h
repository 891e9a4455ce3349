#pragma once

#include <orvnetwork/data/Types.h>

#include <string>
#include <vector>

namespace orv {

/// The lowest version of TLS that is spoken.
enum class TlsVersion { Tls12, Tls13 };

/// Whom the link trusts, beside the rules that always hold: the certificate leads to a root that is trusted, is in date,
/// and names the server in its list of names.
///
///     orv::NetworkSettings network;
///     network.tls.rootFiles = {"/etc/school/office-ca.pem"};
///     network.tls.usesSystemRoots = false;
struct TlsSettings {
  /// Files of root certificates in PEM, which are read when an attempt meets them for the first time, or changed.
  std::vector<std::string> rootFiles{};
  /// Root certificates in PEM, as text.
  std::vector<std::string> rootTexts{};
  /// Whether the machine's own roots count beside them.
  bool usesSystemRoots = true;

  /// Public keys of which one has to be in the verified chain, after all other checks: SHA-256 of the key (its
  /// SubjectPublicKeyInfo) in base64, with or without "sha256/" or "sha256//" in front. Empty: any key.
  std::vector<std::string> pins{};

  TlsVersion lowestVersion = TlsVersion::Tls12;

  /// What the client shows of itself when the server asks: files of a certificate (with its chain) and its private key, in
  /// PEM. Absent: nothing. Without a key file the key is in the certificate's.
  OptionalString certificateFile{};
  OptionalString keyFile{};

  /// Whether a handshake may go on from an earlier one with the same server and the same settings, which is shorter. The
  /// chain of certificates is shown by a full handshake only.
  bool resumes = true;

  bool operator==(const TlsSettings&) const = default;
};

}  // namespace orv
