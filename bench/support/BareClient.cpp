#include "bench/support/BareClient.h"

#include <boost/asio/connect.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/websocket/stream.hpp>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>

#include <deque>
#include <thread>
#include <unordered_map>

namespace bench {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace json = boost::json;

struct BareClient::Impl {
  std::string host;
  unsigned short port;
  MainLoop& loop;

  asio::io_context io{1};
  asio::executor_work_guard<asio::io_context::executor_type> work{io.get_executor()};
  beast::websocket::stream<asio::ip::tcp::socket> socket{io};
  beast::flat_buffer buffer;
  std::deque<std::string> outgoing;
  std::thread thread;

  std::int64_t nextId;
  std::unordered_map<std::int64_t, Callback> callbacks;

  Impl(std::string hostName, unsigned short portNumber, MainLoop& mainLoop, std::int64_t firstId)
      : host(std::move(hostName)), port(portNumber), loop(mainLoop), nextId(firstId) {}

  void write() {
    socket.async_write(asio::buffer(outgoing.front()), [this](beast::error_code error, std::size_t) {
      outgoing.pop_front();
      if (!error && !outgoing.empty()) write();
    });
  }

  void read() {
    socket.async_read(buffer, [this](beast::error_code error, std::size_t) {
      if (error) return;
      const auto data = buffer.data();
      auto reply = json::parse({static_cast<const char*>(data.data()), data.size()});
      buffer.clear();
      loop.post([this, reply = std::move(reply)] { deliver(reply.get_object()); });
      read();
    });
  }

  void deliver(const json::object& reply) {
    const auto found = callbacks.find(std::stoll(std::string(reply.at("s").as_string())));
    if (found == callbacks.end()) return;
    const auto callback = std::move(found->second);
    callbacks.erase(found);
    callback(reply);
  }
};

BareClient::BareClient(const std::string& host, unsigned short port, MainLoop& loop, std::int64_t firstId)
    : impl_(std::make_unique<Impl>(host, port, loop, firstId)) {}

BareClient::~BareClient() {
  impl_->io.stop();
  if (impl_->thread.joinable()) impl_->thread.join();
}

void BareClient::connect() {
  asio::ip::tcp::resolver resolver(impl_->io);
  auto& tcp = impl_->socket.next_layer();
  asio::connect(tcp, resolver.resolve(impl_->host, std::to_string(impl_->port)));
  tcp.set_option(asio::ip::tcp::no_delay(true));
  impl_->socket.handshake(impl_->host + ":" + std::to_string(impl_->port), "/");
  impl_->socket.text(true);
  impl_->read();
  impl_->thread = std::thread([this] { impl_->io.run(); });
}

void BareClient::request(const std::string& command, json::object values, Callback callback) {
  const auto id = impl_->nextId++;
  impl_->callbacks.emplace(id, std::move(callback));
  asio::post(impl_->io, [impl = impl_.get(), text = frame(command, id, std::move(values))]() mutable {
    impl->outgoing.push_back(std::move(text));
    if (impl->outgoing.size() == 1) impl->write();
  });
}

std::string BareClient::frame(const std::string& command, std::int64_t id, json::object values) {
  const json::object members{{"c", command},          {"r", "1"},
                             {"g", "bench"},          {"a", "1"},
                             {"b", "1.0.1"},          {"s", std::to_string(id)},
                             {"v", std::move(values)}};
  return json::serialize(members);
}

}  // namespace bench
