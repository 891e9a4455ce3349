#include "orvnetwork/platform/native/network/LoopbackUrl.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cstdint>
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

/// Host and port of a URL, without the user's name; empty when it has none.
std::string_view hostAndPort(std::string_view url) {
  const std::size_t scheme = url.find("://");
  if (scheme == std::string_view::npos) return {};
  url.remove_prefix(scheme + 3);
  url = url.substr(0, url.find_first_of("/?#"));
  const std::size_t user = url.rfind('@');
  return user == std::string_view::npos ? url : url.substr(user + 1);
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
  const std::string_view place = hostAndPort(url);
  if (place.starts_with('[')) {
    const std::size_t end = place.find(']');
    return end != std::string_view::npos && isLoopbackIpv6(std::string(place.substr(1, end - 1)));
  }
  const std::string host = lowerCase(place.substr(0, place.find(':')));
  return host == "localhost" || host == "localhost." || isLoopbackIpv4(host);
}

}  // namespace orv
