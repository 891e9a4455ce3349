#pragma once

#include <atomic>
#include <cstdint>

namespace orv::devserver {

/// What has happened since the server object was made; each number is a count.
template <class Number>
struct BasicCounters {
  Number tcpAccepted{0};       ///< TCP connections, the control's included
  Number opened{0};            ///< WebSocket connections
  Number turnedAway{0};        ///< not let in: too many connections, a foreign page, or a fault
  Number slowReadersCut{0};    ///< cut because they did not read
  Number framesReceived{0};    ///< text and binary frames, "PING" included
  Number pings{0};             ///< "PING" texts received
  Number requests{0};          ///< request frames that could be read
  Number malformed{0};         ///< frames that were neither
  Number refusedNoSession{0};  ///< answered 1001
  Number repliesSent{0};
  Number repliesDropped{0};  ///< thrown away by a fault
  Number pushesSent{0};

  /// Calls `visitor` with the name and the value of each.
  template <class Visitor>
  void visit(Visitor&& visitor) const {
    visitor("tcpAccepted", tcpAccepted);
    visitor("opened", opened);
    visitor("turnedAway", turnedAway);
    visitor("slowReadersCut", slowReadersCut);
    visitor("framesReceived", framesReceived);
    visitor("pings", pings);
    visitor("requests", requests);
    visitor("malformed", malformed);
    visitor("refusedNoSession", refusedNoSession);
    visitor("repliesSent", repliesSent);
    visitor("repliesDropped", repliesDropped);
    visitor("pushesSent", pushesSent);
  }
};

/// A snapshot.
using Counters = BasicCounters<std::uint64_t>;

}  // namespace orv::devserver
