// Plain TCP on one thread, without frames: what the way there and back costs at least.

#include "bench/peers/support/Tcp.h"

#include "bench/peers/support/Meter.h"
#include "bench/peers/support/Order.h"
#include "bench/peers/support/Texts.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/write.hpp>

#include <cstddef>
#include <string>
#include <vector>

namespace asio = boost::asio;

int main(int argc, char** argv) {
  const peers::Order order = peers::readOrder(argc, argv);
  asio::io_context io;
  asio::ip::tcp::socket socket(io);
  peers::connectTo(order, socket);

  const std::string request = peers::readyRequest();
  std::string out;
  std::vector<char> in(std::size_t{256} << 10);
  std::size_t come = 0;
  peers::Meter meter(order);
  meter.start();
  while (meter.mayAsk()) out += request;
  while (!meter.isOver()) {
    if (!out.empty()) asio::write(socket, asio::buffer(out));
    out.clear();
    come += socket.read_some(asio::buffer(in));
    for (; come >= peers::kReplyBytes; come -= peers::kReplyBytes) {
      meter.answered();
      if (meter.mayAsk()) out += request;
    }
  }
  meter.print();
  return 0;
}
