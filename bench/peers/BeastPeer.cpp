// Beast on one thread, synchronous: the next request is written when a reply has been read. Nothing is parsed.

#include "bench/peers/support/Meter.h"
#include "bench/peers/support/Order.h"
#include "bench/peers/support/Tcp.h"
#include "bench/peers/support/Texts.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/websocket/stream.hpp>

#include <string>

namespace asio = boost::asio;
namespace beast = boost::beast;

int main(int argc, char** argv) {
  const peers::Order order = peers::readOrder(argc, argv);
  asio::io_context io;
  beast::websocket::stream<asio::ip::tcp::socket> socket(io);
  peers::connectTo(order, socket.next_layer());
  socket.handshake(order.host, "/");
  socket.text(true);

  const std::string request = peers::readyRequest();
  beast::flat_buffer in;
  peers::Meter meter(order);
  meter.start();
  while (meter.mayAsk()) socket.write(asio::buffer(request));
  while (!meter.isOver()) {
    socket.read(in);
    meter.answered(in.size());
    in.clear();
    if (meter.mayAsk()) socket.write(asio::buffer(request));
  }
  meter.print();
  return 0;
}
