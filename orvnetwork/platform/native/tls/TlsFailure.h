#pragma once

#include <orvnetwork/data/Error.h>
#include <orvnetwork/platform/TlsSettings.h>

namespace orv {

/// What is known of a session that has failed.
struct TlsCircumstances {
  TlsVersion lowestVersion = TlsVersion::Tls12;
  /// The server has asked who the client is, and the client has something to show.
  bool askedForCertificate = false;
  bool hasCertificate = false;
};

/// The reason of the TLS library that says that the server wants a certificate of the client.
inline constexpr int kCertificateRequired = 1116;

/// An error of the TLS library, in its words and behind a colon in ours. Servers that speak TLS 1.2 say no more than that
/// the handshake failed when they miss a certificate of the client; that gets the code `kCertificateRequired` too. Any
/// thread.
Error tlsLibraryError(unsigned long code, const TlsCircumstances& circumstances);

}  // namespace orv
