#include "devserver/net/LoopbackAddress.h"

#include <boost/asio/ip/address.hpp>

namespace orv::devserver {

bool isLoopback(const std::string& address) {
  boost::system::error_code error;
  const auto parsed = boost::asio::ip::make_address(address, error);
  return !error && parsed.is_loopback();
}

}  // namespace orv::devserver
