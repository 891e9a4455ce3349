#pragma once

#include "devserver/net/Http.h"

#include <boost/beast/http/message.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

// HTTP as it lies on the wire, and the way from there to what the server's logic sees. The only home of Beast's types.

namespace orv::devserver {

namespace http = boost::beast::http;

/// A request with its whole body.
using HttpMessage = http::request<http::string_body>;
using HttpParser = http::request_parser<http::string_body>;

/// What may lie unread of a request: no piece of one has to be longer, and those that have no end are given up there.
constexpr std::size_t kMaxUnreadBytes = 64u << 10;

/// Begins to read a request, with the server's bounds for heads and bodies.
HttpParser& beginRequest(std::optional<HttpParser>& parser);

/// The parts of a request that the server's logic looks at. They live as long as the message.
HttpRequest requestIn(const HttpMessage& message);

/// The answer to a request that could not be read; absent where the connection is just to be closed.
struct HttpRefusal {
  unsigned status;
  std::string_view reason;
  std::string_view body;
};
std::optional<HttpRefusal> refusalOf(const boost::system::error_code& error);

/// The head of an answer whose body is known, up to and with the empty line. An empty reason: the usual one.
std::string headOf(const HttpAnswer& answer, std::string_view reason = {});

/// The head of an answer whose body goes on until the connection ends.
std::string streamHeadOf(const HttpAnswer& answer);

}  // namespace orv::devserver
