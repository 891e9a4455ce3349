#pragma once

#include <orvnetwork/data/Error.h>
#include <orvnetwork/platform/ProxySettings.h>
#include <orvnetwork/platform/native/proxy/ProxyTalk.h>
#include <orvnetwork/platform/native/websocket/GatheringStream.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace orv {

/// An error that was met on the way to a proxy, as the proxy's. Any thread.
Error errorOfProxy(const Proxy& proxy, const Error& error);
/// That the proxy has not answered within the limit. Any thread.
Error proxyTimedOut(const Proxy& proxy);

/// Has a proxy, to which the socket is connected, open the way to a server. Nothing is read that belongs to the server.
/// All operations belong to the network thread.
class ProxyTunnel {
 public:
  using Done = std::function<void(const std::optional<Error>& error)>;

  explicit ProxyTunnel(GatheringStream::Socket& socket) : socket_(socket) {}

  /// `alive` keeps this object in being until `done` is called, once. How long it may take is the caller's to bound: when it
  /// closes the socket the talk ends.
  void start(const Proxy& proxy, const std::string& host, std::uint16_t port, std::shared_ptr<void> alive,
             Done done);

 private:
  void goOn();
  void write();
  void read();
  void ended(const error_code& error);
  void finish(const std::optional<Error>& error);

  GatheringStream::Socket& socket_;
  std::string shown_;
  std::unique_ptr<ProxyTalk> talk_;
  std::string output_;
  std::string input_;
  std::shared_ptr<void> alive_;
  Done done_;
};

}  // namespace orv
