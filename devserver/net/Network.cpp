#include "devserver/net/Network.h"

#include "devserver/net/Connection.h"
#include "devserver/net/Places.h"

#include <boost/asio/basic_socket_acceptor.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/ip/address.hpp>
#include <boost/asio/post.hpp>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace orv::devserver {

namespace {

using Executor = net::io_context::executor_type;
using Acceptor = net::basic_socket_acceptor<net::ip::tcp, Executor>;

void check(const error_code& error, const std::string& what) {
  if (error) throw std::runtime_error(what + ": " + error.message());
}

/// Gives a socket that the system has made to the one that takes care of it. The system makes them closed to programs that
/// are started at any moment from then on, which Asio does not: one of them would keep the port, and the links.
template <typename Taker>
void assign(Taker& taker, const net::ip::tcp& protocol, int descriptor, error_code& error) {
  if (descriptor < 0) {
    error.assign(errno, boost::system::system_category());
    return;
  }
  taker.assign(protocol, descriptor, error);
  if (error) ::close(descriptor);
}

class Server : public Network {
 public:
  Server(NetworkOptions options, Faults& faults, NetworkEvents& events)
      : options_(std::move(options)), faults_(faults), events_(events) {
    if (!options_.tlsCertificateFile.empty()) loadCertificate();
    listen();
    accept();
    thread_ = std::thread([this] { run(); });
  }

  ~Server() override { stop(); }

  void stop() override {
    if (!thread_.joinable()) return;
    net::post(ioc_, [this] {
      error_code ignored;
      acceptor_.close(ignored);
      for (const auto& connection : std::exchange(connections_, {})) {
        if (auto alive = connection.lock()) alive->abandon();
      }
      ioc_.stop();
    });
    thread_.join();
  }

  std::uint16_t port() const override { return port_; }
  void post(std::function<void()> task) override { net::post(ioc_, std::move(task)); }

  void runAfter(std::chrono::milliseconds delay, std::function<void()> task) override {
    auto timer = std::make_shared<Timer>(ioc_.get_executor(), delay);
    timer->async_wait([timer, task = std::move(task)](error_code error) {
      if (!error) task();
    });
  }

 private:
  void loadCertificate() {
    tls_.emplace(net::ssl::context::tls_server);
    error_code error;
    tls_->set_options(net::ssl::context::no_tlsv1 | net::ssl::context::no_tlsv1_1, error);
    tls_->use_certificate_chain_file(options_.tlsCertificateFile, error);
    check(error, "certificate " + options_.tlsCertificateFile);
    const std::string& key = options_.tlsKeyFile.empty() ? options_.tlsCertificateFile : options_.tlsKeyFile;
    tls_->use_private_key_file(key, net::ssl::context::pem, error);
    check(error, "key " + key);
  }

  void listen() {
    error_code error;
    const auto address = net::ip::make_address(options_.host, error);
    check(error, "address " + options_.host);
    const net::ip::tcp::endpoint endpoint(address, options_.port);
    const std::string what = options_.host + " port " + std::to_string(options_.port);
    const net::ip::tcp protocol = endpoint.protocol();
    assign(acceptor_, protocol,
           ::socket(protocol.family(), protocol.type() | SOCK_CLOEXEC, protocol.protocol()), error);
    check(error, what);
    acceptor_.set_option(Acceptor::reuse_address(true), error);
    check(error, what);
    acceptor_.bind(endpoint, error);
    check(error, what);
    acceptor_.listen(net::socket_base::max_listen_connections, error);
    check(error, what);
    // Somebody may have gone again before he is accepted.
    acceptor_.native_non_blocking(true, error);
    check(error, what);
    protocol_ = protocol;
    port_ = acceptor_.local_endpoint().port();
  }

  void accept() {
    acceptor_.async_wait(Acceptor::wait_read, [this](error_code error) {
      if (error == net::error::operation_aborted || !acceptor_.is_open()) return;
      Socket socket(ioc_.get_executor());
      if (!error) {
        assign(socket, protocol_, ::accept4(acceptor_.native_handle(), nullptr, nullptr, SOCK_CLOEXEC),
               error);
      }
      const bool hasGone = error == net::error::would_block || error == net::error::connection_aborted;
      if (error && !hasGone) {  // out of descriptors, most likely: let some be given back
        runAfter(std::chrono::milliseconds(100), [this] { accept(); });
        return;
      }
      if (!error) admit(std::move(socket));
      accept();
    });
  }

  void admit(Socket socket) {
    events_.tcpAccepted();
    if (!places_.makeRoom()) {
      events_.turnedAway();
      error_code ignored;
      socket.set_option(net::socket_base::linger(true, 0), ignored);
      socket.close(ignored);
      return;
    }
    error_code unknown;
    std::string address = socket.remote_endpoint(unknown).address().to_string();
    auto connection = std::make_shared<Connection>(std::move(socket), tls_ ? &*tls_ : nullptr, options_,
                                                   places_, faults_, events_);
    std::erase_if(connections_, [](const auto& other) { return other.expired(); });
    connections_.push_back(connection);
    places_.take(std::move(address), connection);
    connection->start();
  }

  void run() {
    events_.started(*this);
    while (!ioc_.stopped()) {
      try {
        ioc_.run();
      } catch (const std::exception& error) {
        std::cerr << "orv-devserver: " << error.what() << std::endl;
      }
    }
  }

  const NetworkOptions options_;
  Faults& faults_;
  NetworkEvents& events_;
  std::optional<net::ssl::context> tls_;
  /// All that live, also those that have been sent away.
  std::vector<std::weak_ptr<Connection>> connections_;
  Places places_{{options_.maxConnections, options_.maxRequests, options_.silence}};
  net::io_context ioc_{1};
  net::executor_work_guard<Executor> work_{ioc_.get_executor()};
  Acceptor acceptor_{ioc_.get_executor()};
  net::ip::tcp protocol_ = net::ip::tcp::v4();
  std::uint16_t port_ = 0;
  std::thread thread_;
};

}  // namespace

std::unique_ptr<Network> Network::start(NetworkOptions options, Faults& faults, NetworkEvents& events) {
  return std::make_unique<Server>(std::move(options), faults, events);
}

}  // namespace orv::devserver
