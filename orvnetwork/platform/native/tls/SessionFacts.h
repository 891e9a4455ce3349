#pragma once

#include <orvnetwork/data/Error.h>
#include <orvnetwork/platform/ConnectReport.h>
#include <orvnetwork/platform/native/tls/TicketStamp.h>
#include <orvnetwork/platform/native/tls/TlsContext.h>

#include <memory>
#include <optional>
#include <vector>

struct ssl_st;

namespace orv {

/// What belongs to one session; it goes with it.
struct SessionFacts {
  std::shared_ptr<const TlsContext> context;
  TicketKey key;
  bool resumes = true;
  bool askedForCertificate = false;
  bool offeredTicket = false;
  std::vector<CertificateSummary> chain{};
  std::optional<Error> refusal{};
  /// When the chain was found good, and when the first certificate in it ends; for a resumed handshake, that of the
  /// earlier one.
  WallTime verifiedAt{};
  WallTime chainEnds{};
};

/// Gives the facts to a session, whose callbacks find them there. False when there is no memory.
bool attachSessionFacts(ssl_st* session, std::unique_ptr<SessionFacts> facts);

/// The facts of a session that was given some. They live as long as it does.
SessionFacts& factsOf(const ssl_st* session);

}  // namespace orv
