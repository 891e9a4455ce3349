#include "orvnetwork/platform/native/websocket/TcpConnector.h"

#include <orvnetwork/platform/native/websocket/NativeWebSocket.h>

#include <boost/asio/ssl/error.hpp>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <optional>
#include <string>

namespace orv {

namespace {

asio::ip::tcp::endpoint toEndpoint(const SocketAddress& address) {
  asio::ip::tcp::endpoint endpoint;
  endpoint.resize(address.size);
  std::memcpy(endpoint.data(), &address.storage, address.size);
  return endpoint;
}

}  // namespace

Error systemError(const error_code& error) {
  const bool ofTls = error.category() == asio::error::get_ssl_category() ||
                     error.category() == asio::ssl::error::get_stream_category();
  return {ofTls ? websocket_error::kTlsDomain : websocket_error::kSystemDomain, error.value(),
          error.message()};
}

void TcpConnector::start(const std::string& host, std::uint16_t port, Clock::time_point deadline,
                         std::shared_ptr<void> alive, Done done) {
  alive_ = std::move(alive);
  done_ = std::move(done);
  deadline_ = deadline;
  if (HostAddresses numeric = numericHostAddress(host, port); !numeric.addresses.empty()) {
    return onAddresses(std::move(numeric));
  }
  lookUpHost(host, port,
             [this, keep = alive_, executor = socket_.get_executor()](HostAddresses found) mutable {
               asio::post(executor, [this, keep = std::move(keep), found = std::move(found)]() mutable {
                 onAddresses(std::move(found));
               });
             });
}

void TcpConnector::cancel() {
  ++attempt_;
  done_ = nullptr;
  alive_.reset();
  attemptTimer_.cancel();
}

void TcpConnector::onAddresses(HostAddresses addresses) {
  if (!done_) return;
  host_ = std::move(addresses);
  tryNext();
}

void TcpConnector::tryNext() {
  if (next_ == host_.addresses.size()) return finish(host_.error);
  const std::size_t untried = host_.addresses.size() - next_;
  const asio::ip::tcp::endpoint endpoint = toEndpoint(host_.addresses[next_++]);

  error_code error;
  socket_.close(error);
  openSocket(endpoint.protocol(), error);
  const std::uint64_t attempt = ++attempt_;
  if (error) return onAttempt(error);
  socket_.async_connect(endpoint, [this, keep = alive_, attempt](const error_code& outcome) {
    if (attempt == attempt_) onAttempt(outcome);
  });
  if (untried == 1) return;
  attemptTimer_.expires_after((deadline_ - Clock::now()) / static_cast<Clock::rep>(untried));
  attemptTimer_.async_wait([this, keep = alive_, attempt](const error_code& cancelled) {
    if (!cancelled && attempt == attempt_) onAttempt(asio::error::timed_out);
  });
}

/// Opens the socket closed to programs that the host starts at any moment from now on, which Asio does not: one of
/// them would keep the link open after the host has ended.
void TcpConnector::openSocket(const asio::ip::tcp& protocol, error_code& error) {
  const int descriptor = ::socket(protocol.family(), protocol.type() | SOCK_CLOEXEC, protocol.protocol());
  if (descriptor < 0) {
    error.assign(errno, boost::system::system_category());
    return;
  }
  socket_.assign(protocol, descriptor, error);
  if (error) ::close(descriptor);
}

void TcpConnector::onAttempt(const error_code& error) {
  ++attempt_;
  attemptTimer_.cancel();
  if (!error) return finish(std::nullopt);
  host_.error = systemError(error);
  tryNext();
}

void TcpConnector::finish(const std::optional<Error>& error) {
  const std::shared_ptr<void> alive = std::move(alive_);
  const Done done = std::exchange(done_, nullptr);
  done(error);
}

}  // namespace orv
