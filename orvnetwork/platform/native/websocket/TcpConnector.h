#pragma once

#include <orvnetwork/data/Error.h>
#include <orvnetwork/platform/native/websocket/AddressRace.h>
#include <orvnetwork/platform/native/websocket/ConnectRecorder.h>
#include <orvnetwork/platform/native/websocket/GatheringStream.h>
#include <orvnetwork/platform/native/websocket/GoodAddresses.h>
#include <orvnetwork/platform/native/websocket/NameLookup.h>

#include <boost/asio/steady_timer.hpp>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace orv {

/// What an operation of the network failed with: the system's error number, or the TLS library's code.
Error systemError(const error_code& error);

/// Looks a host up and connects a socket to one of its addresses, as `AddressRace` says; what it meets is written down.
/// For one connection. All operations belong to the network thread.
class TcpConnector final : private AddressRace::Runner {
 public:
  using Done = std::function<void(const std::optional<Error>& error)>;

  /// @param socket is given the connection
  /// @param good by which addresses hosts were reached before
  TcpConnector(GatheringStream::Socket& socket, ConnectRecorder& recorder, RaceLimits limits = {},
               HostLookup lookUp = &lookUpHost, GoodAddresses& good = goodAddresses());
  TcpConnector(const TcpConnector&) = delete;
  TcpConnector& operator=(const TcpConnector&) = delete;
  ~TcpConnector() { forgetLookups(); }

  /// Goes on until there is a connection or no address is left: how long that may take is the caller's to say. `alive`
  /// keeps this object in being meanwhile; `done` is called once, unless `cancel` came first. Look-ups that are still
  /// under way then are left behind and hold nothing of it.
  /// @param host the next hop on the way: a name, or a numeric address without brackets
  void start(const std::string& host, std::uint16_t port, std::shared_ptr<void> alive, Done done);

  /// The server at the other end does its work: the next connection to this host tries its address first. Cheap from the
  /// second call on.
  void rememberAddress() {
    if (winner_) keepWinner();
  }

  /// Gives up: `done` is forgotten. The owner closes the socket.
  void cancel();

 private:
  using Clock = std::chrono::steady_clock;

  /// Where look-ups leave what they have found, long after the connector has gone perhaps.
  struct Inbox {
    TcpConnector* connector;  // the network thread's; null once nobody wants to know
  };

  void lookUp(const std::string& host, std::uint16_t port, std::optional<IpFamily> family);
  void onFound(const HostAddresses& found, std::optional<IpFamily> asked);
  void onTry(std::size_t number, const error_code& outcome);
  void keepWinner();
  void finish(const std::optional<Error>& error);
  void forgetLookups();

  // What the race wants.
  SteadyTime now() override { return Clock::now(); }
  void armTimer(SteadyTime when) override;
  void disarmTimer() override;
  std::optional<Error> beginTry(std::size_t number, const SocketAddress& address) override;
  void dropTry(std::size_t number, const std::optional<Error>& error) override;
  void raceWon(std::size_t number) override;
  void raceLost(const Error& error) override { finish(error); }

  GatheringStream::Socket& socket_;
  ConnectRecorder& recorder_;
  const HostLookup lookUp_;
  GoodAddresses& good_;
  std::string host_;  // empty for a number
  std::uint16_t port_ = 0;
  AddressRace race_;
  asio::steady_timer timer_;
  std::uint64_t timerNumber_ = 0;
  struct Try {
    SocketAddress address;
    GatheringStream::Socket socket;
  };
  std::map<std::size_t, Try> tries_;
  std::optional<SocketAddress> winner_;
  std::shared_ptr<Inbox> inbox_;
  std::shared_ptr<void> alive_;
  Done done_;
};

}  // namespace orv
