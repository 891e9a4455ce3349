#include "devserver/page/HttpGuard.h"

#include <orvnetwork/data/Url.h>

#include <boost/asio/ip/address.hpp>

#include <algorithm>
#include <string>

namespace orv::devserver {

namespace {

std::string lower(std::string_view text) {
  std::string result(text);
  for (char& c : result) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return result;
}

/// The host that the request names, in lower case; "" when it names none.
std::string hostOf(const HttpRequest& request) {
  const auto server = parseHostAndPort(request.host);
  return server ? lower(server->host) : std::string();
}

bool isThisMachine(const std::string& host) {
  if (host == "localhost") return true;
  boost::system::error_code error;
  const auto address = boost::asio::ip::make_address(host, error);
  return !error && address.is_loopback();
}

/// Whether two texts are the same numeric address.
bool isSameAddress(const std::string& a, const std::string& b) {
  boost::system::error_code error, otherError;
  const auto address = boost::asio::ip::make_address(a, error);
  const auto other = boost::asio::ip::make_address(b, otherError);
  return !error && !otherError && address == other;
}

/// What is wrong with the page that a request comes from; empty where no page is named.
std::string_view foreignOrigin(const HttpRequest& request) {
  const std::string own = (request.tls ? "https://" : "http://") + lower(request.host);
  if (request.origin.empty() || lower(request.origin) == own) return {};
  return "\"Origin\": expected this server";
}

}  // namespace

std::string_view foreignRequest(const HttpRequest& request) {
  if (!isThisMachine(hostOf(request))) return "\"Host\": expected localhost or an address of it";
  if (const auto reason = foreignOrigin(request); !reason.empty()) return reason;
  // A link on another page may lead to the page, but nothing else of another page may ask for anything.
  const bool site =
      request.fetchSite.empty() || request.fetchSite == "same-origin" || request.fetchSite == "none";
  if (!site && request.target != "/") return "\"Sec-Fetch-Site\": expected this server";
  return {};
}

std::string_view foreignUpgrade(const HttpRequest& request) {
  const std::string host = hostOf(request);
  if (!isThisMachine(host) && !isSameAddress(host, request.reachedAt)) {
    return "\"Host\": expected this server's address";
  }
  return foreignOrigin(request);
}

}  // namespace orv::devserver
