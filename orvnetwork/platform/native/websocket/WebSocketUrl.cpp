#include "orvnetwork/platform/native/websocket/WebSocketUrl.h"

#include <orvnetwork/data/Url.h>

#include <arpa/inet.h>
#include <openssl/evp.h>

namespace orv {

namespace {

unsigned hexValue(char c) {
  return static_cast<unsigned>(c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10);
}

/// What is escaped has been checked to be hexadecimal digits.
std::string percentDecoded(std::string_view text) {
  std::string decoded;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%') {
      decoded += static_cast<char>(hexValue(text[i + 1]) * 16 + hexValue(text[i + 2]));
      i += 2;
    } else {
      decoded += text[i];
    }
  }
  return decoded;
}

std::string basicAuthorization(std::string_view userInfo) {
  std::string plain = percentDecoded(userInfo);
  if (userInfo.find(':') == std::string_view::npos) plain += ':';
  std::string encoded((plain.size() + 2) / 3 * 4 + 1, '\0');
  const int length =
      EVP_EncodeBlock(reinterpret_cast<unsigned char*>(encoded.data()),
                      reinterpret_cast<const unsigned char*>(plain.data()), static_cast<int>(plain.size()));
  encoded.resize(static_cast<std::size_t>(length));
  return "Basic " + encoded;
}

/// A name, or what stands in brackets and is an address indeed.
bool isHost(const HostAndPort& server) {
  in6_addr address;
  return !server.isInBrackets || inet_pton(AF_INET6, server.host.c_str(), &address) == 1;
}

}  // namespace

std::optional<WebSocketUrl> parseWebSocketUrl(std::string_view text) {
  const auto parts = parseUrl(text);
  if (!parts || !parts->isForWebSocket() || !isHost(parts->server)) return std::nullopt;
  const HostAndPort& server = parts->server;
  const std::uint16_t schemePort = parts->isSecure() ? 443 : 80;
  const std::string shownHost = server.isInBrackets ? "[" + server.host + "]" : server.host;

  WebSocketUrl url;
  url.secure = parts->isSecure();
  url.host = server.host;
  url.port = server.port != 0 ? server.port : schemePort;
  url.target = parts->target;
  url.hostHeader = server.port != 0 ? shownHost + ":" + std::to_string(server.port) : shownHost;
  url.origin = (url.secure ? "https://" : "http://") + shownHost;
  if (url.port != schemePort) url.origin += ":" + std::to_string(url.port);
  if (!parts->userInfo.empty()) url.authorization = basicAuthorization(parts->userInfo);
  return url;
}

}  // namespace orv
