#pragma once

#include <orvnetwork/data/Error.h>
#include <orvnetwork/platform/native/websocket/GatheringStream.h>
#include <orvnetwork/platform/native/websocket/NameLookup.h>

#include <boost/asio/steady_timer.hpp>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace orv {

/// What an operation of the network failed with: the system's error number, or the TLS library's code.
Error systemError(const error_code& error);

/// Looks a host up and connects a socket to the first of its addresses that answers. All operations belong to
/// the network thread.
class TcpConnector {
 public:
  using Done = std::function<void(const std::optional<Error>& error)>;
  using Clock = std::chrono::steady_clock;

  explicit TcpConnector(GatheringStream::Socket& socket)
      : socket_(socket), attemptTimer_(socket.get_executor()) {}

  /// Every address but the last gets its share of the time until `deadline`; the deadline itself is the
  /// caller's to keep. `alive` keeps this object in being, `done` is called once, unless `cancel` came first.
  void start(const std::string& host, std::uint16_t port, Clock::time_point deadline,
             std::shared_ptr<void> alive, Done done);

  /// Gives up: `done` is forgotten. The owner closes the socket.
  void cancel();

 private:
  void onAddresses(HostAddresses addresses);
  void tryNext();
  void openSocket(const asio::ip::tcp& protocol, error_code& error);
  void onAttempt(const error_code& error);
  void finish(const std::optional<Error>& error);

  GatheringStream::Socket& socket_;
  asio::steady_timer attemptTimer_;
  std::shared_ptr<void> alive_;
  Done done_;
  Clock::time_point deadline_;
  HostAddresses host_;
  std::size_t next_ = 0;
  std::uint64_t attempt_ = 0;
};

}  // namespace orv
