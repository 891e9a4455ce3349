#pragma once

#include <orvnetwork/data/Error.h>
#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>
#include <orvnetwork/platform/ConnectReport.h>

namespace orv::testing {

/// What two sides of a TLS handshake do not agree about; see `ConnectPlan::refuseCertificate`.
enum class CertificateFault {
  Expired,                 ///< the server's certificate was good until a day ago
  OtherHost,               ///< it is for "classroom.example.org", and for nobody who was asked for
  UnknownIssuer,           ///< "School CA" has issued it, which is not known here
  NotPinned,               ///< it is good, but no key in its chain is one that was set
  ClientCertificateWanted  ///< the server wants a certificate of the client, which has none
};

/// The error that a socket fails with, in the words of real ones. Any thread.
/// @param now what the clock of the client says
ORV_EXPORT Error plannedTlsError(CertificateFault fault, WallTime now);
/// What such an attempt has met. Any thread.
ORV_EXPORT ConnectReport plannedTlsReport(CertificateFault fault, WallTime now);

}  // namespace orv::testing
