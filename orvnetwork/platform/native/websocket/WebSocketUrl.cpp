#include "orvnetwork/platform/native/websocket/WebSocketUrl.h"

#include <arpa/inet.h>
#include <openssl/evp.h>

#include <algorithm>
#include <charconv>

namespace orv {

namespace {

bool isAlphanumeric(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

bool hasOnlyUrlCharacters(std::string_view text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c <= ' ' || c == '\x7f' || std::string_view("\"<>\\^`{|}").find(c) != std::string_view::npos)
      return false;
    if (c != '%') continue;
    if (i + 2 >= text.size() || hexValue(text[i + 1]) < 0 || hexValue(text[i + 2]) < 0) return false;
  }
  return true;
}

std::string percentDecoded(std::string_view text) {
  std::string decoded;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%') {
      decoded += static_cast<char>(hexValue(text[i + 1]) * 16 + hexValue(text[i + 2]));
      i += 2;
    } else {
      decoded += text[i];
    }
  }
  return decoded;
}

std::string basicAuthorization(std::string_view userInfo) {
  std::string plain = percentDecoded(userInfo);
  if (userInfo.find(':') == std::string_view::npos) plain += ':';
  std::string encoded((plain.size() + 2) / 3 * 4 + 1, '\0');
  const int length =
      EVP_EncodeBlock(reinterpret_cast<unsigned char*>(encoded.data()),
                      reinterpret_cast<const unsigned char*>(plain.data()), static_cast<int>(plain.size()));
  encoded.resize(static_cast<std::size_t>(length));
  return "Basic " + encoded;
}

/// Takes the scheme off `text`; true for a secure one, absent for one that is not ours.
std::optional<bool> takeScheme(std::string_view& text) {
  const std::size_t colon = text.find("://");
  if (colon == std::string_view::npos) return std::nullopt;
  std::string scheme(text.substr(0, colon));
  std::transform(scheme.begin(), scheme.end(), scheme.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  text.remove_prefix(colon + 3);
  if (scheme == "ws" || scheme == "http") return false;
  if (scheme == "wss" || scheme == "https") return true;
  return std::nullopt;
}

/// Takes the host off `text`: a name, or a numeric address in brackets.
std::optional<std::string> takeHost(std::string_view& text) {
  if (text.starts_with('[')) {
    const std::size_t end = text.find(']');
    if (end == std::string_view::npos) return std::nullopt;
    std::string host(text.substr(1, end - 1));
    text.remove_prefix(end + 1);
    in6_addr address;
    if (inet_pton(AF_INET6, host.c_str(), &address) != 1) return std::nullopt;
    return host;
  }
  const std::string_view host = text.substr(0, text.find(':'));
  const bool allowed = std::all_of(host.begin(), host.end(), [](char c) {
    return isAlphanumeric(c) || c == '-' || c == '.' || c == '_' || c == '~';
  });
  if (host.empty() || !allowed) return std::nullopt;
  text.remove_prefix(host.size());
  return std::string(host);
}

/// Reads what follows the host: nothing or a colon (0, the scheme's port), or a colon and a port.
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

std::optional<WebSocketUrl> parseWebSocketUrl(std::string_view text) {
  if (!hasOnlyUrlCharacters(text)) return std::nullopt;
  const auto secure = takeScheme(text);
  if (!secure) return std::nullopt;

  std::string_view authority = text.substr(0, text.find_first_of("/?#"));
  std::string_view rest = text.substr(authority.size());
  rest = rest.substr(0, rest.find('#'));

  std::string_view userInfo;
  if (const std::size_t at = authority.rfind('@'); at != std::string_view::npos) {
    userInfo = authority.substr(0, at);
    authority.remove_prefix(at + 1);
  }
  const auto host = takeHost(authority);
  if (!host) return std::nullopt;
  const auto port = readPort(authority);
  if (!port) return std::nullopt;

  WebSocketUrl url;
  url.secure = *secure;
  url.host = *host;
  const std::uint16_t schemePort = *secure ? 443 : 80;
  url.port = *port != 0 ? *port : schemePort;
  url.target = (rest.starts_with('/') ? "" : "/") + std::string(rest);
  const std::string shownHost = host->find(':') == std::string::npos ? *host : "[" + *host + "]";
  url.hostHeader = *port != 0 ? shownHost + ":" + std::to_string(*port) : shownHost;
  url.origin = (*secure ? "https://" : "http://") + shownHost;
  if (url.port != schemePort) url.origin += ":" + std::to_string(url.port);
  if (!userInfo.empty()) url.authorization = basicAuthorization(userInfo);
  return url;
}

}  // namespace orv
