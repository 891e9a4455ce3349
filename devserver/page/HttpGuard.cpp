#include "devserver/page/HttpGuard.h"

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

/// "[::1]:80" and "[::1]" give "::1", "localhost:80" gives "localhost".
std::string_view withoutPort(std::string_view host) {
  if (host.starts_with('[')) {
    const std::size_t end = host.find(']');
    return end == host.npos ? std::string_view() : host.substr(1, end - 1);
  }
  return host.substr(0, host.find(':'));
}

bool isThisMachine(std::string_view host) {
  const std::string name = lower(withoutPort(host));
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
