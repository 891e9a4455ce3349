#include "orvnetwork/platform/native/websocket/WebSocketUrl.h"

#include <orvnetwork/data/Url.h>
#include <orvnetwork/platform/detail/Credentials.h>

#include <arpa/inet.h>

namespace orv {

namespace {

/// The user of an address may have no password.
std::string authorizationOf(std::string_view userInfo) {
  const bool hasPassword = userInfo.find(':') != std::string_view::npos;
  return basicAuthorization(percentDecoded(userInfo) + (hasPassword ? "" : ":"));
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
  if (!parts->userInfo.empty()) url.authorization = authorizationOf(parts->userInfo);
  return url;
}

}  // namespace orv
