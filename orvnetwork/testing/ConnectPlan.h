#pragma once

#include <orvnetwork/data/Error.h>
#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>
#include <orvnetwork/platform/ConnectReport.h>
#include <orvnetwork/testing/PlannedAddress.h>
#include <orvnetwork/testing/PlannedCertificate.h>

#include <vector>

namespace orv::testing {

/// What becomes of one attempt to connect. `delay` is what the other side takes to answer, beside the
/// latency of the network. One that is made without a function accepts at once.
///
///     platform.network().planConnect(ConnectPlan::refuse());                 // the next attempt
///     platform.network().setDefaultPlan(ConnectPlan::accept(Seconds(0.2)));  // those without a plan of their own
struct ORV_EXPORT ConnectPlan {
  /// What the client finds: an open connection, an error, silence, or a stream that ends too soon.
  enum class Outcome { Accept, Fail, NeverAnswer, EndOfStream };

  Outcome outcome = Outcome::Accept;
  /// In virtual time; without a meaning where nobody answers.
  Seconds delay{0};
  /// What the socket fails with; for `Outcome::Fail`, and for `Outcome::NeverAnswer` where it is not the usual one.
  Error error{};
  /// What `WebSocket::connectReport` tells: its `addresses` and of its `attempts` those that have begun, and all of it once the
  /// attempt is decided.
  ConnectReport report{};

  /// The connection opens.
  static ConnectPlan accept(Seconds delay = Seconds::zero());
  /// Nobody listens: "POSIX", ECONNREFUSED.
  static ConnectPlan refuse(Seconds delay = Seconds::zero());
  /// There is no way to the server: "POSIX", ENETUNREACH.
  static ConnectPlan unreachable();
  /// The server's name is not known: "OrvNameLookup".
  static ConnectPlan unknownHost();
  /// No answer at all: the socket fails after the time-out of its request with "OrvWebSocket", 504.
  static ConnectPlan neverAnswer();
  /// The server's certificate is refused: "OrvTls".
  static ConnectPlan failTls(Seconds delay = Seconds::zero());
  /// The same in another way, with what the socket's report tells of the certificate.
  ///
  ///     network.planConnect(ConnectPlan::refuseCertificate(CertificateFault::Expired, clock.wallNow()));
  ///
  /// @param now what the clock of the client says
  static ConnectPlan refuseCertificate(CertificateFault fault, WallTime now, Seconds delay = Seconds::zero());
  /// The server answers the handshake with another HTTP status than 101: "OrvWebSocket", 2132 for 400 and
  /// above, else 2133.
  static ConnectPlan httpStatus(int status, Seconds delay = Seconds::zero());
  /// The stream ends within the handshake: the socket is closed with 1001, not cleanly.
  static ConnectPlan endOfStream(Seconds delay = Seconds::zero());
  /// The server's name has these addresses, which are tried as a real socket tries them: the next one 250 ms after the
  /// last one, or at once when one fails, until one answers. When none does, the socket fails with the error that says
  /// most, or waits for its time-out where an address is silent.
  /// @param inOrder in the order in which they are tried; at least one
  ///
  ///     // The way by the sixth version is dead: the link comes up by the other one, 250 ms later.
  ///     network.planConnect(ConnectPlan::addresses(
  ///         {PlannedAddress::silent("2001:db8::7"), PlannedAddress::answers("192.0.2.7")}));
  static ConnectPlan addresses(const std::vector<PlannedAddress>& inOrder);
  /// The proxy on the way cannot be connected to: "OrvProxy", -1103.
  static ConnectPlan proxyUnreachable(Seconds delay = Seconds::zero());
  /// The proxy takes neither the user nor nobody: "OrvProxy", -1101.
  static ConnectPlan proxyRefusesUser(Seconds delay = Seconds::zero());
  /// The proxy does not let the link through to the server: "OrvProxy" with this HTTP status.
  static ConnectPlan proxyRefusesServer(int status = 403, Seconds delay = Seconds::zero());
  /// The proxy does not answer: the socket fails after the time-out of its request with "OrvProxy", -1103.
  static ConnectPlan proxyNeverAnswers();
  /// Any other failure: the socket's delegate is told this very error.
  static ConnectPlan fail(Error error, Seconds delay = Seconds::zero());

  /// This plan with a report: for a host that shows one.
  ///
  ///     ConnectReport report;
  ///     report.tlsVersion = "TLSv1.3";
  ///     network.planConnect(ConnectPlan::accept().reporting(report));
  ConnectPlan reporting(ConnectReport what) const;
};

}  // namespace orv::testing
