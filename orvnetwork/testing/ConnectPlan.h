#pragma once

#include <orvnetwork/data/Error.h>
#include <orvnetwork/data/Export.h>

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
  /// What the socket fails with; only for `Outcome::Fail`.
  Error error;

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
  /// The server answers the handshake with another HTTP status than 101: "OrvWebSocket", 2132 for 400 and
  /// above, else 2133.
  static ConnectPlan httpStatus(int status, Seconds delay = Seconds::zero());
  /// The stream ends within the handshake: the socket is closed with 1001, not cleanly.
  static ConnectPlan endOfStream(Seconds delay = Seconds::zero());
  /// Any other failure: the socket's delegate is told this very error.
  static ConnectPlan fail(Error error, Seconds delay = Seconds::zero());
};

}  // namespace orv::testing
