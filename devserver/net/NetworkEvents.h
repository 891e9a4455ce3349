#pragma once

#include "devserver/crowd/Peer.h"
#include "devserver/net/Http.h"

#include <memory>
#include <string_view>

namespace orv::devserver {

class Network;

/// What the network tells the logic of the server. Every call comes on the I/O thread.
class NetworkEvents {
 public:
  virtual ~NetworkEvents() = default;
  virtual void started(Network& network) = 0;  ///< comes first
  virtual void opened(std::shared_ptr<Peer> peer) = 0;
  virtual void closed(Peer& peer) = 0;
  virtual void received(Peer& peer, std::string_view payload, bool binary) = 0;
  virtual HttpAnswer http(const HttpRequest& request) = 0;
  /// Why a request for a WebSocket is refused; empty: it is not.
  virtual std::string_view refusesWebSocket(const HttpRequest& request) = 0;
  virtual void tcpAccepted() = 0;
  virtual void turnedAway() = 0;     ///< a connection was not let in: too many, of a foreign page, or a fault
  virtual void slowReaderCut() = 0;  ///< a client did not read and its queue was full
};

}  // namespace orv::devserver
