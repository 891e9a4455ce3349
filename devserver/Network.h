#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "devserver/Peer.h"

namespace orv::devserver {

class Faults;
class Network;

/// Where the network listens, and its bounds.
struct NetworkOptions {
  std::string host;
  std::uint16_t port = 0;
  std::string tlsCertificateFile;  ///< PEM chain; empty: no TLS
  std::string tlsKeyFile;          ///< PEM key; empty: the certificate's file
  std::size_t maxConnections = 0;
  std::size_t maxMessageBytes = 0;
  std::size_t maxQueuedBytes = 0;
  std::chrono::milliseconds handshakeTimeout{0};
};

/// An answer to a plain HTTP request.
struct HttpAnswer {
  unsigned status = 200;
  std::string body;  ///< JSON
};

/// What the network tells the logic of the server. Every call comes on the I/O thread.
class NetworkEvents {
 public:
  virtual ~NetworkEvents() = default;
  virtual void started(Network& network) = 0;  ///< comes first
  virtual void opened(std::shared_ptr<Peer> peer) = 0;
  virtual void closed(Peer& peer) = 0;
  virtual void received(Peer& peer, std::string_view payload, bool binary) = 0;
  virtual HttpAnswer http(std::string_view method, std::string_view target, std::string_view body,
                          bool fromThisMachine) = 0;
  virtual void tcpAccepted() = 0;
  virtual void turnedAway() = 0;     ///< a connection was not let in: too many, or a fault
  virtual void slowReaderCut() = 0;  ///< a client did not read and its queue was full
};

/// The listening socket, its connections and the one I/O thread.
class Network {
 public:
  /// Listens and starts the thread. Throws std::runtime_error with a text for a person when it cannot.
  static std::unique_ptr<Network> start(NetworkOptions options, Faults& faults, NetworkEvents& events);
  /// Closes every connection and joins the thread. No event comes afterwards; peers that are still held must
  /// go before the network does.
  virtual void stop() = 0;
  virtual ~Network() = default;

  virtual std::uint16_t port() const = 0;
  /// Runs the task on the I/O thread, in the order posted.
  virtual void post(std::function<void()> task) = 0;
  /// Runs the task on the I/O thread after the delay. I/O thread only.
  virtual void runAfter(std::chrono::milliseconds delay, std::function<void()> task) = 0;
};

}  // namespace orv::devserver
