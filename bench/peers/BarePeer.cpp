// "Bare": Beast on an I/O thread and a main queue, the least that a client with a user interface can be. It parses
// nothing: texts go out and come in as they are.

#include "bench/peers/support/Meter.h"
#include "bench/peers/support/Order.h"
#include "bench/peers/support/Tcp.h"
#include "bench/peers/support/Texts.h"
#include "bench/support/MainLoop.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/core/error.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/websocket/stream.hpp>

#include <cstddef>
#include <deque>
#include <functional>
#include <string>
#include <thread>
#include <utility>

namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;

class Bare {
 public:
  using Receive = std::function<void(const std::string& text)>;

  Bare(const peers::Order& order, bench::MainLoop& main, Receive receive)
      : main_(main), receive_(std::move(receive)) {
    peers::connectTo(order, socket_.next_layer());
    socket_.handshake(order.host, "/");
    socket_.text(true);
    read();
    thread_ = std::thread([this] { io_.run(); });
  }
  ~Bare() {
    io_.stop();
    thread_.join();
  }

  /// Main thread.
  void send(std::string text) {
    asio::post(io_, [this, text = std::move(text)]() mutable {
      outgoing_.push_back(std::move(text));
      if (outgoing_.size() == 1) write();
    });
  }

 private:
  void write() {
    socket_.async_write(asio::buffer(outgoing_.front()), [this](beast::error_code error, std::size_t) {
      outgoing_.pop_front();
      if (!error && !outgoing_.empty()) write();
    });
  }
  void read() {
    socket_.async_read(buffer_, [this](beast::error_code error, std::size_t) {
      if (error) return;
      main_.post([this, text = beast::buffers_to_string(buffer_.data())] { receive_(text); });
      buffer_.clear();
      read();
    });
  }

  bench::MainLoop& main_;
  const Receive receive_;
  asio::io_context io_{1};
  asio::executor_work_guard<asio::io_context::executor_type> work_{io_.get_executor()};
  beast::websocket::stream<asio::ip::tcp::socket> socket_{io_};
  beast::flat_buffer buffer_;
  std::deque<std::string> outgoing_;
  std::thread thread_;
};

}  // namespace

int main(int argc, char** argv) {
  const peers::Order order = peers::readOrder(argc, argv);
  const std::string request = peers::readyRequest();
  peers::Meter meter(order);
  bench::MainLoop main;
  Bare* sender = nullptr;
  Bare bare(order, main, [&](const std::string& reply) {
    meter.answered(reply.size());
    if (meter.mayAsk()) sender->send(request);
    if (meter.isOver()) main.stop();
  });
  sender = &bare;
  meter.start();
  while (meter.mayAsk()) bare.send(request);
  main.run();
  meter.print();
  return 0;
}
