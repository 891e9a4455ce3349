#include "devserver/page/HttpGuard.h"

#include <orvnetwork/data/Url.h>

#include "devserver/net/LoopbackAddress.h"

#include <boost/asio/ip/address.hpp>
#include <openssl/crypto.h>

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
  return host == "localhost" || isLoopback(host);
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

/// Whether a request names one of those hosts that others may reach the server by.
bool isOwnHost(const HttpRequest& request, const Door& door) {
  const std::string host = hostOf(request);
  return isThisMachine(host) || isSameAddress(host, request.reachedAt) ||
         std::ranges::any_of(door.names, [&host](const std::string& name) { return lower(name) == host; });
}

/// Why a request comes from a page of someone else; empty where it does not.
std::string_view foreignPage(const HttpRequest& request) {
  if (const auto reason = foreignOrigin(request); !reason.empty()) return reason;
  // A link on another page may lead to the page, but nothing else of another page may ask for anything.
  const bool site =
      request.fetchSite.empty() || request.fetchSite == "same-origin" || request.fetchSite == "none";
  if (!site && request.target != "/") return "\"Sec-Fetch-Site\": expected this server";
  return {};
}

/// Takes "?token=…" off the target.
std::string_view takeTokenOff(std::string_view& target) {
  constexpr std::string_view kName = "?token=";
  const auto query = target.find('?');
  if (query == std::string_view::npos || !target.substr(query).starts_with(kName)) return {};
  const std::string_view token = target.substr(query + kName.size());
  target = target.substr(0, query);
  return token;
}

/// What a request brings to be let in; "" for nothing.
std::string_view tokenOf(HttpRequest& request) {
  constexpr std::string_view kScheme = "Bearer ";
  const std::string_view inTarget = takeTokenOff(request.target);
  const std::string_view header = request.authorization;
  return header.starts_with(kScheme) ? header.substr(kScheme.size()) : inTarget;
}

/// Takes the same time wherever the texts differ.
bool isSameSecret(std::string_view a, std::string_view b) {
  return a.size() == b.size() && CRYPTO_memcmp(a.data(), b.data(), a.size()) == 0;
}

}  // namespace

std::optional<HttpAnswer> refusedHttp(HttpRequest& request, const Door& door,
                                      bool (*isPublic)(std::string_view target)) {
  std::string_view token;
  if (!door.token.empty()) token = tokenOf(request);
  const bool isLocal = request.fromThisMachine && isThisMachine(hostOf(request));
  if (!isLocal && door.token.empty()) {
    return httpProblem(403, request.fromThisMachine ? "\"Host\": expected localhost or an address of it"
                                                    : "this address is for this machine only");
  }
  if (!isLocal && !isOwnHost(request, door)) {
    return httpProblem(403, "\"Host\": expected this server's address or a name of it");
  }
  if (const auto reason = foreignPage(request); !reason.empty()) return httpProblem(403, reason);
  if (isLocal || isPublic(request.target) || isSameSecret(token, door.token)) return std::nullopt;
  HttpAnswer answer = httpProblem(401, "expected the token of this server");
  answer.head = "WWW-Authenticate: Bearer\r\nCache-Control: no-store\r\n";
  return answer;
}

std::string_view foreignUpgrade(const HttpRequest& request, const Door& door) {
  if (!isOwnHost(request, door)) return "\"Host\": expected this server's address";
  return foreignOrigin(request);
}

}  // namespace orv::devserver
