#pragma once

#include <orvnetwork/data/Types.h>
#include <orvnetwork/platform/native/tls/OpenSslOwned.h>
#include <orvnetwork/platform/native/tls/TicketStamp.h>

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>

namespace orv {

/// What a handshake goes on from that an earlier one has made, and what that one has checked.
struct TlsTicket {
  TicketKey key{};
  OpenSslOwned<ssl_session_st> session{};
  /// When the chain of certificates was looked at last, and when the first certificate in it ends: a handshake that goes
  /// on from this one looks at none.
  WallTime verifiedAt{};
  WallTime chainEnds{};
  /// Until when the server takes it.
  WallTime expires{};
  /// As with TLS 1.3: an observer could tell two links that go on from one ticket to be the same client's.
  bool servesOnce = true;
};

/// Tickets of servers, in memory only, for as long as the process lives. All operations belong to one thread.
class TlsTickets {
 public:
  static constexpr std::size_t kMostOfServer = 4;
  static constexpr std::size_t kMostServers = 16;
  static constexpr Seconds kLongestLife = std::chrono::hours(7 * 24);

  /// Keeps a ticket; the oldest of that server, or all of the server that was heard of least lately, make room.
  void put(TlsTicket ticket);

  /// The newest ticket for this key that is good at this time. It is taken out, unless it may serve again: then this is a
  /// copy.
  std::optional<TlsTicket> take(const TicketKey& key, WallTime now);

  /// Drops all tickets for this key: one of them did not work.
  void drop(const TicketKey& key);

  /// Drops all tickets but those of this context.
  void keepOnly(std::uint64_t context);

  std::size_t count() const;

 private:
  struct Server {
    TicketKey key;
    std::deque<TlsTicket> tickets;  // the newest last
  };

  std::deque<Server>::iterator find(const TicketKey& key);

  std::deque<Server> servers_;  // the one that was heard of last stands last
};

/// The tickets of the process; they belong to the network thread.
TlsTickets& tlsTickets();

}  // namespace orv
