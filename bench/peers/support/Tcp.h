#pragma once

#include "bench/peers/support/Order.h"

#include <boost/asio/ip/tcp.hpp>

namespace peers {

/// Connects and has what is written sent at once.
void connectTo(const Order& order, boost::asio::ip::tcp::socket& socket);

}  // namespace peers
