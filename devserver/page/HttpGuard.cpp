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

bool isThisMachine(std::string_view host) {
  const auto server = parseHostAndPort(host);
  if (!server) return false;
  const std::string name = lower(server->host);
  if (name == "localhost") return true;
  boost::system::error_code error;
  const auto address = boost::asio::ip::make_address(name, error);
  return !error && address.is_loopback();
}

}  // namespace

std::string_view foreignRequest(const HttpRequest& request) {
  if (!isThisMachine(request.host)) return "\"Host\": expected localhost or an address of it";
  const std::string own = (request.tls ? "https://" : "http://") + lower(request.host);
  if (!request.origin.empty() && lower(request.origin) != own) return "\"Origin\": expected this server";
  // A link on another page may lead to the page, but nothing else of another page may ask for anything.
  const bool site =
      request.fetchSite.empty() || request.fetchSite == "same-origin" || request.fetchSite == "none";
  if (!site && request.target != "/") return "\"Sec-Fetch-Site\": expected this server";
  return {};
}

}  // namespace orv::devserver
