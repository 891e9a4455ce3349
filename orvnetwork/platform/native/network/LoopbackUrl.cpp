#include "orvnetwork/platform/native/network/LoopbackUrl.h"

#include <orvnetwork/data/Url.h>

#include <arpa/inet.h>

#include <algorithm>
#include <string>

namespace orv {

namespace {

std::string lowerCase(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(), [](char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
  });
  return lower;
}

bool isLoopbackIpv6(const std::string& host) {
  in6_addr address{};
  return ::inet_pton(AF_INET6, host.c_str(), &address) == 1 && IN6_IS_ADDR_LOOPBACK(&address);
}

bool isLoopbackIpv4(const std::string& host) {
  in_addr address{};
  return ::inet_pton(AF_INET, host.c_str(), &address) == 1 && (ntohl(address.s_addr) >> 24) == IN_LOOPBACKNET;
}

}  // namespace

bool isLoopbackUrl(std::string_view url) {
  const auto parts = parseUrl(url);
  if (!parts) return false;
  if (parts->server.isInBrackets) return isLoopbackIpv6(parts->server.host);
  const std::string host = lowerCase(parts->server.host);
  return host == "localhost" || host == "localhost." || isLoopbackIpv4(host);
}

}  // namespace orv
