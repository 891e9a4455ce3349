#pragma once

#include <cstdint>
#include <string>

struct ssl_session_st;

namespace orv {

/// All that a handshake has checked: the number of the context (`TlsContext::number`), which stands for roots, pins,
/// versions and the client's own certificate, and the server, with its port.
struct TicketKey {
  std::uint64_t context = 0;
  std::string server{};

  bool operator==(const TicketKey&) const = default;
};

/// Writes into a session of the TLS library what was checked when it was made; copies of it carry the same. False when
/// there is no memory. One thread at a time.
bool stampTicket(ssl_session_st* session, const TicketKey& key);

/// What stands there; null for nothing. It lives as long as the session.
const TicketKey* stampOfTicket(const ssl_session_st* session);

}  // namespace orv
