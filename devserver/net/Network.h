#pragma once

#include "devserver/net/Peer.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

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

/// A plain HTTP request. The texts live as long as the call that they are given to; what was not sent is empty.
struct HttpRequest {
  std::string_view method;
  std::string_view target;
  std::string_view body;
  std::string_view host;
  std::string_view origin;
  std::string_view fetchSite;  ///< "Sec-Fetch-Site"
  std::string_view lastEvent;  ///< "Last-Event-ID"
  bool tls = false;
  bool fromThisMachine = false;
};

/// The body of an answer that goes on until either side ends it. I/O thread only; goes before the network does.
class HttpStream {
 public:
  virtual ~HttpStream() = default;
  virtual void write(std::string_view bytes) = 0;
  /// Bytes that wait for the client.
  virtual std::size_t waiting() const = 0;
  /// Called whenever nothing waits any more.
  virtual void setOnDrained(std::function<void()> callback) = 0;
  /// Called once, when the client has gone; not at the end of the network.
  virtual void setOnClosed(std::function<void()> callback) = 0;
};

/// An answer to a plain HTTP request.
struct HttpAnswer {
  unsigned status = 200;
  std::string body{};
  std::string contentType = "application/json";
  std::string head{};  ///< further lines of the head, each with its CR LF
  /// Where set, the body goes on: this is called with the stream that it goes to.
  std::function<void(std::shared_ptr<HttpStream>)> stream{};
};

/// What the network tells the logic of the server. Every call comes on the I/O thread.
class NetworkEvents {
 public:
  virtual ~NetworkEvents() = default;
  virtual void started(Network& network) = 0;  ///< comes first
  virtual void opened(std::shared_ptr<Peer> peer) = 0;
  virtual void closed(Peer& peer) = 0;
  virtual void received(Peer& peer, std::string_view payload, bool binary) = 0;
  virtual HttpAnswer http(const HttpRequest& request) = 0;
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
