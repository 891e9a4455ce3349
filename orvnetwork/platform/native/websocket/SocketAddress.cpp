#include "orvnetwork/platform/native/websocket/SocketAddress.h"

#include <netdb.h>

#include <cstring>
#include <string>

namespace orv {

bool SocketAddress::operator==(const SocketAddress& other) const {
  return size == other.size && std::memcmp(&storage, &other.storage, size) == 0;
}

std::string numericText(const SocketAddress& address) {
  char text[NI_MAXHOST] = "";
  ::getnameinfo(reinterpret_cast<const sockaddr*>(&address.storage), address.size, text, sizeof text, nullptr,
                0, NI_NUMERICHOST);
  return text;
}

}  // namespace orv
