#include "orvnetwork/data/Url.h"

#include <orvnetwork/data/detail/Characters.h>

#include <algorithm>
#include <charconv>
#include <system_error>

namespace orv {

namespace {

bool isAlphanumeric(char c) {
  return isDigit(c) || isLetter(c);
}

bool isHexDigit(char c) {
  return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

bool hasOnlyUrlCharacters(std::string_view text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    // Bytes above 0x7f count as negative here.
    if (c <= ' ' || c == '\x7f' || std::string_view("\"<>\\^`{|}").find(c) != std::string_view::npos) {
      return false;
    }
    if (c != '%') continue;
    if (i + 2 >= text.size() || !isHexDigit(text[i + 1]) || !isHexDigit(text[i + 2])) return false;
  }
  return true;
}

/// Takes the scheme and what separates it off `text`, and gives it in lower case.
OptionalString takeScheme(std::string_view& text) {
  constexpr std::string_view kSeparator = "://";
  const std::size_t end = text.find(kSeparator);
  if (end == 0 || end == std::string_view::npos) return std::nullopt;
  std::string scheme(text.substr(0, end));
  const bool allowed = std::all_of(scheme.begin(), scheme.end(), [](char c) {
    return isAlphanumeric(c) || c == '+' || c == '-' || c == '.';
  });
  if (!allowed) return std::nullopt;
  std::transform(scheme.begin(), scheme.end(), scheme.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  text.remove_prefix(end + kSeparator.size());
  return scheme;
}

/// Takes the host off `text`: a name, or a numeric address in brackets.
bool takeHost(std::string_view& text, HostAndPort& server) {
  server.isInBrackets = text.starts_with('[');
  const std::size_t end = text.find(server.isInBrackets ? ']' : ':');
  if (server.isInBrackets && end == std::string_view::npos) return false;
  const std::string_view host = server.isInBrackets ? text.substr(1, end - 1) : text.substr(0, end);
  const bool allowed = std::all_of(host.begin(), host.end(), [&](char c) {
    if (server.isInBrackets) return isHexDigit(c) || c == ':' || c == '.';
    return isAlphanumeric(c) || c == '-' || c == '.' || c == '_' || c == '~';
  });
  if (host.empty() || !allowed) return false;
  server.host = host;
  text.remove_prefix(host.size() + (server.isInBrackets ? 2 : 0));
  return true;
}

/// Reads what follows the host: nothing or a colon (0), or a colon and a port.
std::optional<std::uint16_t> readPort(std::string_view text) {
  if (text.empty() || text == ":") return std::uint16_t{0};
  if (text.front() != ':') return std::nullopt;
  text.remove_prefix(1);
  std::uint16_t port = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
  if (error != std::errc() || end != text.data() + text.size() || port == 0) return std::nullopt;
  return port;
}

}  // namespace

std::optional<HostAndPort> parseHostAndPort(std::string_view text) {
  HostAndPort server;
  if (!takeHost(text, server)) return std::nullopt;
  const auto port = readPort(text);
  if (!port) return std::nullopt;
  server.port = *port;
  return server;
}

std::optional<Url> parseUrl(std::string_view text) {
  if (!hasOnlyUrlCharacters(text)) return std::nullopt;
  OptionalString scheme = takeScheme(text);
  if (!scheme) return std::nullopt;

  std::string_view authority = text.substr(0, text.find_first_of("/?#"));
  std::string_view rest = text.substr(authority.size());
  rest = rest.substr(0, rest.find('#'));
  std::string_view userInfo;
  if (const std::size_t at = authority.rfind('@'); at != std::string_view::npos) {
    userInfo = authority.substr(0, at);
    authority.remove_prefix(at + 1);
  }
  auto server = parseHostAndPort(authority);
  if (!server) return std::nullopt;
  return Url{.scheme = std::move(*scheme),
             .userInfo = std::string(userInfo),
             .server = std::move(*server),
             .target = (rest.starts_with('/') ? "" : "/") + std::string(rest)};
}

}  // namespace orv
