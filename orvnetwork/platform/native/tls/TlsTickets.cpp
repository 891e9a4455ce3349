#include "orvnetwork/platform/native/tls/TlsTickets.h"

#include <openssl/ssl.h>

#include <algorithm>
#include <deque>
#include <numeric>
#include <optional>

namespace orv {

namespace {

/// A clock that was put back makes a ticket look as if it came from the future; then nothing is known of its age.
bool isGood(const TlsTicket& ticket, WallTime now) {
  return ticket.verifiedAt <= now && now < ticket.chainEnds && now < ticket.expires &&
         Seconds(now - ticket.verifiedAt) < TlsTickets::kLongestLife;
}

/// A link that ends abruptly spoils the session that it used, and no copy of it.
std::optional<TlsTicket> copyOf(const TlsTicket& ticket) {
  OpenSslOwned<SSL_SESSION> session(SSL_SESSION_dup(ticket.session.get()));
  if (session == nullptr) return std::nullopt;
  return TlsTicket{ticket.key,       std::move(session), ticket.verifiedAt,
                   ticket.chainEnds, ticket.expires,     ticket.servesOnce};
}

}  // namespace

std::deque<TlsTickets::Server>::iterator TlsTickets::find(const TicketKey& key) {
  return std::find_if(servers_.begin(), servers_.end(),
                      [&](const Server& server) { return server.key == key; });
}

void TlsTickets::put(TlsTicket ticket) {
  Server server{ticket.key, {}};
  if (const auto known = find(ticket.key); known != servers_.end()) {
    server = std::move(*known);
    servers_.erase(known);
  }
  if (!ticket.servesOnce) server.tickets.clear();
  server.tickets.push_back(std::move(ticket));
  if (server.tickets.size() > kMostOfServer) server.tickets.pop_front();
  servers_.push_back(std::move(server));
  if (servers_.size() > kMostServers) servers_.pop_front();
}

std::optional<TlsTicket> TlsTickets::take(const TicketKey& key, WallTime now) {
  const auto server = find(key);
  if (server == servers_.end()) return std::nullopt;
  auto& tickets = server->tickets;
  std::erase_if(tickets, [now](const TlsTicket& ticket) { return !isGood(ticket, now); });
  std::optional<TlsTicket> taken;
  if (!tickets.empty() && !tickets.back().servesOnce) {
    taken = copyOf(tickets.back());
  } else if (!tickets.empty()) {
    taken = std::move(tickets.back());
    tickets.pop_back();
  }
  if (tickets.empty()) servers_.erase(server);
  return taken;
}

void TlsTickets::drop(const TicketKey& key) {
  if (const auto server = find(key); server != servers_.end()) servers_.erase(server);
}

void TlsTickets::keepOnly(std::uint64_t context) {
  std::erase_if(servers_, [context](const Server& server) { return server.key.context != context; });
}

std::size_t TlsTickets::count() const {
  return std::accumulate(servers_.begin(), servers_.end(), std::size_t{0},
                         [](std::size_t sum, const Server& server) { return sum + server.tickets.size(); });
}

TlsTickets& tlsTickets() {
  // Never destroyed: the network thread uses them while the process ends.
  static TlsTickets* const tickets = new TlsTickets;
  return *tickets;
}

}  // namespace orv
