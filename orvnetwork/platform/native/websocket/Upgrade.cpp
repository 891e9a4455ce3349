#include "orvnetwork/platform/native/websocket/Upgrade.h"

#include <orvnetwork/platform/detail/Credentials.h>
#include <orvnetwork/platform/detail/Sha1.h>

#include <boost/asio/buffer.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/rfc7230.hpp>

#include <algorithm>
#include <cstdint>
#include <limits>

namespace orv {

namespace {

namespace http = boost::beast::http;
using Answer = http::response_parser<http::empty_body>;

/// What a server that knows the protocol makes of the key.
std::string acceptFor(std::string_view key) {
  const std::string text = std::string(key) + "258EAFA5-E914-47DA-95CA-C5AB0DC85B11";
  const auto digest = sha1(text);
  return base64({reinterpret_cast<const char*>(digest.data()), digest.size()});
}

/// A header that comes several times is one list: proxies on the way add lines of their own to "Connection".
bool names(const Answer::value_type& answer, http::field field, const char* token) {
  const auto [first, last] = answer.equal_range(field);
  return std::any_of(first, last,
                     [token](const auto& line) { return http::token_list(line.value()).exists(token); });
}

}  // namespace

std::string upgradeRequest(const WebSocketUrl& url, std::string_view key) {
  std::string request = "GET " + url.target + " HTTP/1.1\r\n";
  const auto add = [&request](std::string_view name, std::string_view value) {
    request.append(name).append(": ").append(value).append("\r\n");
  };
  add("Host", url.hostHeader);
  add("Upgrade", "websocket");
  add("Connection", "upgrade");
  add("Sec-WebSocket-Key", key);
  add("Sec-WebSocket-Version", "13");
  add("Origin", url.origin);
  if (url.authorization) add("Authorization", *url.authorization);
  return request + "\r\n";
}

OptionalString flawOfUpgrade(std::string_view header, std::string_view key) {
  Answer parser;
  parser.header_limit(std::numeric_limits<std::uint32_t>::max());  // how long it is was looked at before
  parser.skip(true);
  boost::system::error_code error;
  parser.put(boost::asio::buffer(header), error);
  if (error) return "bad answer to the handshake: " + error.message();
  const auto& answer = parser.get();
  if (answer.version() != 11) return "bad answer to the handshake: not HTTP 1.1";
  if (!names(answer, http::field::connection, "upgrade") ||
      !names(answer, http::field::upgrade, "websocket")) {
    return "bad answer to the handshake: it does not upgrade to a WebSocket";
  }
  if (answer[http::field::sec_websocket_accept] != acceptFor(key)) {
    return "bad answer to the handshake: it does not belong to the key that was sent";
  }
  if (answer.count(http::field::sec_websocket_protocol) > 0) {
    return "the server chose a sub-protocol that was not asked for";
  }
  if (answer.count(http::field::sec_websocket_extensions) > 0) {
    return "the server chose an extension that was not offered";
  }
  return std::nullopt;
}

}  // namespace orv
