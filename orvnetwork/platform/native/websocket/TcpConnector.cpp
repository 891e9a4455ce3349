#include "orvnetwork/platform/native/websocket/TcpConnector.h"

#include <orvnetwork/platform/ThisMachine.h>
#include <orvnetwork/platform/native/websocket/NativeWebSocket.h>
#include <orvnetwork/platform/native/websocket/TellingError.h>

#include <boost/asio/ssl/error.hpp>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace orv {

namespace {

asio::ip::tcp::endpoint toEndpoint(const SocketAddress& address) {
  asio::ip::tcp::endpoint endpoint;
  endpoint.resize(address.size);
  std::memcpy(endpoint.data(), &address.storage, address.size);
  return endpoint;
}

IpFamily familyOf(const SocketAddress& address) {
  return address.storage.ss_family == AF_INET6 ? IpFamily::Sixth : IpFamily::Fourth;
}

/// Opens the socket closed to programs that the host starts at any moment from now on, which Asio does not: one of
/// them would keep the link open after the host has ended.
void openClosedToChildren(GatheringStream::Socket& socket, const asio::ip::tcp& protocol, error_code& error) {
  const int descriptor = ::socket(protocol.family(), protocol.type() | SOCK_CLOEXEC, protocol.protocol());
  if (descriptor < 0) {
    error.assign(errno, boost::system::system_category());
    return;
  }
  socket.assign(protocol, descriptor, error);
  if (error) ::close(descriptor);
}

}  // namespace

Error systemError(const error_code& error) {
  const bool ofTls = error.category() == asio::error::get_ssl_category() ||
                     error.category() == asio::ssl::error::get_stream_category();
  return {ofTls ? websocket_error::kTlsDomain : websocket_error::kSystemDomain, error.value(),
          error.message()};
}

TcpConnector::TcpConnector(GatheringStream::Socket& socket, ConnectRecorder& recorder, RaceLimits limits,
                           HostLookup lookUp, GoodAddresses& good)
    : socket_(socket),
      recorder_(recorder),
      lookUp_(std::move(lookUp)),
      good_(good),
      race_(*this, limits),
      timer_(socket.get_executor()) {}

void TcpConnector::start(const std::string& host, std::uint16_t port, std::shared_ptr<void> alive,
                         Done done) {
  alive_ = std::move(alive);
  done_ = std::move(done);
  if (const HostAddresses numeric = numericHostAddress(host, port); !numeric.addresses.empty()) {
    return race_.addressesCame(familyOf(numeric.addresses.front()), numeric.addresses);
  }
  host_ = host;
  port_ = port;
  if (const auto address = good_.take(host, port, now())) race_.prefer(familyOf(*address), *address);
  recorder_.begin(ConnectStep::Name);
  inbox_ = std::make_shared<Inbox>(Inbox{this});
  race_.lookupBegan(IpFamily::Sixth);
  race_.lookupBegan(IpFamily::Fourth);
  // Every system knows this machine's own name by itself, but only when asked for both: else it may ask a name server
  // for the family that it does not know.
  if (isThisMachine(host)) return lookUp(host, port, std::nullopt);
  lookUp(host, port, IpFamily::Sixth);
  lookUp(host, port, IpFamily::Fourth);
}

void TcpConnector::keepWinner() {
  if (!host_.empty()) good_.put(host_, port_, *winner_, now());
  winner_.reset();
}

void TcpConnector::cancel() {
  done_ = nullptr;
  forgetLookups();
  race_.cancel();
  alive_.reset();
}

// ---- Names

void TcpConnector::lookUp(const std::string& host, std::uint16_t port, std::optional<IpFamily> family) {
  lookUp_(host, port, family,
          [inbox = inbox_, family, executor = socket_.get_executor()](const HostAddresses& found) {
            asio::post(executor, [inbox, family, found] {
              if (inbox->connector != nullptr) inbox->connector->onFound(found, family);
            });
          });
}

void TcpConnector::onFound(const HostAddresses& found, std::optional<IpFamily> asked) {
  for (const IpFamily family : {IpFamily::Sixth, IpFamily::Fourth}) {
    if (asked.value_or(family) != family) continue;
    std::vector<SocketAddress> addresses;
    std::copy_if(found.addresses.begin(), found.addresses.end(), std::back_inserter(addresses),
                 [family](const SocketAddress& address) { return familyOf(address) == family; });
    for (const SocketAddress& address : addresses) recorder_.addressFound(numericText(address));
    if (addresses.empty()) {
      race_.lookupFailed(family, found.addresses.empty() ? found.error : noAddress());
    } else {
      race_.addressesCame(family, addresses);
    }
  }
}

void TcpConnector::forgetLookups() {
  if (inbox_) inbox_->connector = nullptr;
  inbox_.reset();
}

// ---- Addresses

void TcpConnector::armTimer(SteadyTime when) {
  timer_.expires_at(when);
  timer_.async_wait([this, keep = alive_, number = ++timerNumber_](const error_code& cancelled) {
    if (!cancelled && number == timerNumber_) race_.timeCame();
  });
}

void TcpConnector::disarmTimer() {
  ++timerNumber_;
  timer_.cancel();
}

std::optional<Error> TcpConnector::beginTry(std::size_t number, const SocketAddress& address) {
  recorder_.end(ConnectStep::Name);
  recorder_.begin(ConnectStep::Connect);
  recorder_.tryBegan(numericText(address));
  const asio::ip::tcp::endpoint endpoint = toEndpoint(address);
  GatheringStream::Socket socket(socket_.get_executor());
  error_code failure;
  openClosedToChildren(socket, endpoint.protocol(), failure);
  if (failure) {
    Error error = systemError(failure);
    recorder_.tryFailed(number, error);
    return error;
  }
  const auto at = tries_.emplace(number, Try{address, std::move(socket)}).first;
  at->second.socket.async_connect(endpoint, [this, keep = alive_, number](const error_code& outcome) {
    // Of a try that was dropped meanwhile nobody takes notice, even if it has connected.
    onTry(number, outcome);
  });
  return std::nullopt;
}

void TcpConnector::onTry(std::size_t number, const error_code& outcome) {
  if (!outcome) return race_.tryConnected(number);
  tries_.erase(number);
  Error error = systemError(outcome);
  recorder_.tryFailed(number, error);
  race_.tryFailed(number, std::move(error));
}

void TcpConnector::dropTry(std::size_t number, const std::optional<Error>& error) {
  tries_.erase(number);
  if (error) {
    recorder_.tryFailed(number, *error);
  } else {
    recorder_.tryGivenUp(number);
  }
}

void TcpConnector::raceWon(std::size_t number) {
  recorder_.tryWon(number);
  winner_ = tries_.at(number).address;
  socket_ = std::move(tries_.at(number).socket);
  tries_.erase(number);
  finish(std::nullopt);
}

void TcpConnector::finish(const std::optional<Error>& error) {
  recorder_.end(ConnectStep::Name);
  recorder_.end(ConnectStep::Connect);
  forgetLookups();
  const std::shared_ptr<void> alive = std::move(alive_);
  const Done done = std::exchange(done_, nullptr);
  done(error);
}

}  // namespace orv
