// Whatever a host gives as an address, of a proxy too: it is refused, or its parts make an address that is read the same.

#include <orvnetwork/data/Url.h>
#include <orvnetwork/platform/ProxySettings.h>
#include <orvnetwork/platform/detail/ProxyExceptions.h>
#include <orvnetwork/platform/native/websocket/WebSocketUrl.h>

#include <tests/fuzz/Require.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

namespace {

using namespace orv;
using orv::test::require;

std::string written(const HostAndPort& server) {
  const std::string host = server.isInBrackets ? "[" + server.host + "]" : server.host;
  return server.port == 0 ? host : host + ":" + std::to_string(server.port);
}

std::string written(const Url& url) {
  const std::string user = url.userInfo.empty() ? "" : url.userInfo + "@";
  return url.scheme + "://" + user + written(url.server) + url.target;
}

bool isPrintable(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c < '\x7f'; });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  if (const auto server = parseHostAndPort(text)) {
    require(!server->host.empty(), "a server has a host");
    require(parseHostAndPort(written(*server)) == server, "a server that is written is read the same");
  }
  const auto url = parseUrl(text);
  if (url) {
    require(isPrintable(written(*url)), "an address holds what addresses may hold");
    require(url->target.starts_with('/'), "a target begins with a slash");
    require(parseUrl(written(*url)) == url, "an address that is written is read the same");
  }
  if (const auto webSocket = parseWebSocketUrl(text)) {
    require(url && url->isForWebSocket(), "a WebSocket's address is an address");
    require(webSocket->port != 0, "a WebSocket's port is known");
    for (const std::string& part :
         {webSocket->host, webSocket->target, webSocket->hostHeader, webSocket->origin}) {
      require(isPrintable(part), "no part can end a header line");
    }
  }
  if (auto proxy = parseProxy(text)) {
    proxy->user.reset();
    proxy->password.clear();
    require(isPrintable(shownProxy(*proxy)), "a proxy that is shown is one word");
    const auto again = parseProxy(shownProxy(*proxy));
    require(again && *again == *proxy, "a proxy that is shown is read the same");
  }
  for (const char* host : {"class.example.org", "192.0.2.7", "2001:db8::7"}) {
    if (isExcepted(text, host, 443)) {
      require(isExcepted(std::string(text) + ",other", host, 443), "an exception more takes none away");
    }
  }
  return 0;
}
