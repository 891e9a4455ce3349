#include "orvnetwork/platform/detail/ProxyExceptions.h"

#include <orvnetwork/platform/detail/HostAddress.h>

#include <algorithm>
#include <charconv>
#include <optional>
#include <system_error>

namespace orv {

namespace {

constexpr std::string_view kBetweenEntries = ", \t\r\n";

/// What is asked about.
struct AskedServer {
  std::string name;
  std::optional<HostAddress> address;
  std::uint16_t port;
};

std::optional<int> readWholeNumber(std::string_view text, int largest) {
  int number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool isWhole = error == std::errc() && end == text.data() + text.size();
  return isWhole && number >= 0 && number <= largest ? std::optional(number) : std::nullopt;
}

std::string_view withoutBrackets(std::string_view text) {
  return text.size() >= 2 && text.starts_with('[') && text.ends_with(']') ? text.substr(1, text.size() - 2)
                                                                          : text;
}

bool holdsAddress(std::string_view network, std::size_t slash, const AskedServer& server) {
  const std::string text(withoutBrackets(network.substr(0, slash)));
  const auto base = HostAddress::parse(text);
  if (!base || !server.address || base->bits != server.address->bits) return false;
  // The length of a network that is written in the sixth version counts from there.
  const int shift = base->bits == 32 && text.find(':') != std::string::npos ? 96 : 0;
  const auto length = readWholeNumber(network.substr(slash + 1), base->bits + shift);
  return length && *length >= shift && base->sharesBits(*server.address, *length - shift);
}

/// Takes ":443" off the end of an entry. False when the server has another port, or what stands there is none.
bool takePort(std::string_view& entry, const AskedServer& server) {
  const std::size_t colon = entry.rfind(':');
  if (colon == std::string_view::npos) return true;
  const bool isBareAddress = !entry.starts_with('[') && entry.find(':') != colon;
  if (isBareAddress || entry.ends_with(']')) return true;
  const auto port = readWholeNumber(entry.substr(colon + 1), UINT16_MAX);
  entry.remove_suffix(entry.size() - colon);
  return port == server.port;
}

bool entryCovers(std::string_view entry, const AskedServer& server) {
  if (const std::size_t slash = entry.find('/'); slash != std::string_view::npos) {
    return holdsAddress(entry, slash, server);
  }
  if (!takePort(entry, server)) return false;
  if (entry == "*") return true;
  if (const auto address = HostAddress::parse(std::string(withoutBrackets(entry)))) {
    return address == server.address;
  }
  if (server.address) return false;
  if (entry.starts_with("*.")) entry.remove_prefix(1);
  if (entry.starts_with('.')) entry.remove_prefix(1);
  const std::string domain = comparableHost(entry);
  return !domain.empty() && (server.name == domain || server.name.ends_with("." + domain));
}

}  // namespace

bool isExcepted(std::string_view list, std::string_view host, std::uint16_t port) {
  AskedServer server{comparableHost(host), std::nullopt, port};
  server.address = HostAddress::parseLoosely(server.name);
  while (!list.empty()) {
    const std::size_t end = std::min(list.find_first_of(kBetweenEntries), list.size());
    if (end > 0 && entryCovers(list.substr(0, end), server)) return true;
    list.remove_prefix(std::min(end + 1, list.size()));
  }
  return false;
}

}  // namespace orv
