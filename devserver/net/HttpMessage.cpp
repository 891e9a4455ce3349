#include "devserver/net/HttpMessage.h"

#include "devserver/net/HttpDate.h"

#include <boost/beast/http/error.hpp>
#include <boost/beast/http/field.hpp>
#include <boost/beast/http/status.hpp>

#include <chrono>
#include <cstdint>
#include <string>

namespace orv::devserver {

namespace {

constexpr std::uint32_t kMaxHeadBytes = 16u << 10;
constexpr std::uint64_t kMaxBodyBytes = 1u << 20;

std::string_view view(boost::beast::string_view text) {
  return {text.data(), text.size()};
}

/// So that a client can tell whether its clock is right.
std::string dateLine() {
  return "Date: " + httpDate(std::chrono::system_clock::now()) + "\r\n";
}

}  // namespace

HttpParser& beginRequest(std::optional<HttpParser>& parser) {
  parser.emplace();
  parser->header_limit(kMaxHeadBytes);
  parser->body_limit(kMaxBodyBytes);
  return *parser;
}

HttpRequest requestIn(const HttpMessage& message) {
  HttpRequest request;
  request.method = view(message.method_string());
  request.target = view(message.target());
  request.body = message.body();
  request.host = view(message[http::field::host]);
  request.origin = view(message[http::field::origin]);
  request.fetchSite = view(message["Sec-Fetch-Site"]);
  request.lastEvent = view(message["Last-Event-ID"]);
  request.authorization = view(message[http::field::authorization]);
  return request;
}

std::optional<HttpRefusal> refusalOf(const boost::system::error_code& error) {
  if (error == http::error::header_limit) return HttpRefusal{431, "Request Header Fields Too Large", "{}"};
  // What stands beside a chunk, or behind the last one.
  const bool isEndless = error == http::error::buffer_overflow;
  if (error == http::error::body_limit || isEndless) return HttpRefusal{413, "Content Too Large", "{}"};
  if (error.category() == http::make_error_code(http::error::bad_version).category() &&
      error != http::error::end_of_stream && error != http::error::partial_message) {
    return HttpRefusal{400, "Bad Request", R"({"err":"not HTTP"})"};
  }
  return std::nullopt;
}

std::string headOf(const HttpAnswer& answer, std::string_view reason) {
  if (reason.empty()) reason = view(http::obsolete_reason(http::int_to_status(answer.status)));
  return "HTTP/1.1 " + std::to_string(answer.status) + " " + std::string(reason) +
         "\r\nContent-Type: " + answer.contentType +
         "\r\nContent-Length: " + std::to_string(answer.body.size()) + "\r\nConnection: close\r\n" +
         dateLine() + answer.head + "\r\n";
}

std::string streamHeadOf(const HttpAnswer& answer) {
  return "HTTP/1.1 200 OK\r\nContent-Type: " + answer.contentType + "\r\nConnection: close\r\n" + dateLine() +
         answer.head + "\r\n";
}

}  // namespace orv::devserver
