#include "bench/peers/support/Tcp.h"

#include <boost/asio/ip/address.hpp>

namespace peers {

void connectTo(const Order& order, boost::asio::ip::tcp::socket& socket) {
  socket.connect({boost::asio::ip::make_address(order.host), order.port});
  socket.set_option(boost::asio::ip::tcp::no_delay(true));
}

}  // namespace peers
