#include "orvnetwork/platform/detail/HostAddress.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace orv {

namespace {

constexpr int kFourthBits = 32, kSixthBits = 128;
/// Where the four bytes stand in "::ffff:192.0.2.1".
constexpr std::size_t kMappedAt = 12;

HostAddress fromFourth(const void* bytes) {
  HostAddress address;
  address.bits = kFourthBits;
  std::memcpy(address.bytes.data(), bytes, kFourthBits / 8);
  return address;
}

}  // namespace

std::optional<HostAddress> HostAddress::parse(const std::string& text) {
  in_addr fourth{};
  if (::inet_pton(AF_INET, text.c_str(), &fourth) == 1) return fromFourth(&fourth);
  in6_addr sixth{};
  if (::inet_pton(AF_INET6, text.c_str(), &sixth) != 1) return std::nullopt;
  if (IN6_IS_ADDR_V4MAPPED(&sixth)) return fromFourth(&sixth.s6_addr[kMappedAt]);
  HostAddress address;
  address.bits = kSixthBits;
  std::memcpy(address.bytes.data(), &sixth, kSixthBits / 8);
  return address;
}

std::optional<HostAddress> HostAddress::parseLoosely(const std::string& text) {
  in_addr fourth{};
  if (::inet_aton(text.c_str(), &fourth) != 0) return fromFourth(&fourth);
  return parse(text);
}

bool HostAddress::sharesBits(const HostAddress& other, int count) const {
  const auto whole = static_cast<std::size_t>(count / 8);
  if (!std::equal(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(whole), other.bytes.begin())) {
    return false;
  }
  const int rest = count % 8;
  return rest == 0 || ((bytes[whole] ^ other.bytes[whole]) >> (8 - rest)) == 0;
}

bool HostAddress::isLoopback() const {
  if (bits == kFourthBits) return bytes[0] == IN_LOOPBACKNET;
  return std::memcmp(bytes.data(), &in6addr_loopback, bytes.size()) == 0;
}

std::string comparableHost(std::string_view host) {
  while (host.ends_with('.')) host.remove_suffix(1);
  std::string lower(host);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return lower;
}

}  // namespace orv
