#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

namespace orv::devserver {

/// Where the network listens, and its bounds.
struct NetworkOptions {
  std::string host;
  std::uint16_t port = 0;
  std::string tlsCertificateFile;  ///< PEM chain; empty: no TLS
  std::string tlsKeyFile;          ///< PEM key; empty: the certificate's file
  std::size_t maxConnections = 0;  ///< WebSockets
  std::size_t maxRequests = 0;     ///< connections beside as many WebSockets
  std::size_t maxMessageBytes = 0;
  std::size_t maxQueuedBytes = 0;
  std::chrono::milliseconds handshakeTimeout{0};
  std::chrono::milliseconds silence{0};  ///< after which a WebSocket gives way to one that comes
};

}  // namespace orv::devserver
