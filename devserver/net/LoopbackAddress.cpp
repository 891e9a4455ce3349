#include "devserver/net/LoopbackAddress.h"

#include <boost/asio/ip/address.hpp>

namespace orv::devserver {

bool isLoopback(const std::string& address) {
  boost::system::error_code error;
  const auto parsed = boost::asio::ip::make_address(address, error);
  return !error && parsed.is_loopback();
}

bool isWildcard(const std::string& address) {
  boost::system::error_code error;
  const auto parsed = boost::asio::ip::make_address(address, error);
  return !error && parsed.is_unspecified();
}

std::string addressToReach(const std::string& address) {
  if (!isWildcard(address)) return address;
  return address.find(':') == std::string::npos ? "127.0.0.1" : "::1";
}

}  // namespace orv::devserver
