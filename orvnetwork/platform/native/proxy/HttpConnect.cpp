#include "orvnetwork/platform/native/proxy/HttpConnect.h"

#include <orvnetwork/platform/detail/Credentials.h>

#include <algorithm>
#include <optional>

namespace orv {

namespace {

constexpr std::string_view kHttpBegin = "HTTP/";
bool isDecimal(char c) {
  return c >= '0' && c <= '9';
}

constexpr int kSwitchingProtocols = 101;

std::string authorityOf(const std::string& host, std::uint16_t port) {
  const bool needsBrackets = host.find(':') != std::string::npos;
  return (needsBrackets ? "[" + host + "]" : host) + ":" + std::to_string(port);
}

/// The status of a line like "HTTP/1.0 200 Connection established".
std::optional<int> connectStatusOf(std::string_view line) {
  const std::size_t space = line.find(' ');
  if (space == std::string_view::npos) return std::nullopt;
  line.remove_prefix(space + 1);
  const bool isWord = line.size() == 3 || (line.size() > 3 && (line[3] == ' ' || line[3] == '\r'));
  if (!isWord || !std::all_of(line.begin(), line.begin() + 3, isDecimal)) return std::nullopt;
  return (line[0] - '0') * 100 + (line[1] - '0') * 10 + (line[2] - '0');
}

/// What some proxies say beside the status, such as "ERR_CONNECT_FAIL 111". Nothing else of the answer is shown: a proxy
/// may say back what was sent to it.
std::string causeIn(std::string_view header) {
  constexpr std::string_view kName = "x-squid-error: ";
  constexpr std::size_t kLongest = 40;
  const auto found = std::search(
      header.begin(), header.end(), kName.begin(), kName.end(),
      [](char a, char b) { return (a >= 'A' && a <= 'Z' ? static_cast<char>(a - 'A' + 'a') : a) == b; });
  if (found == header.end()) return {};
  const std::string_view value(found + kName.size(), header.end());
  const std::string_view word = value.substr(0, value.find_first_of("\r\n"));
  const bool isPlain = std::all_of(word.begin(), word.end(), [](char c) {
    return (c >= 'A' && c <= 'Z') || isDecimal(c) || c == '_' || c == ' ';
  });
  return isPlain && word.starts_with("ERR_") && word.size() <= kLongest ? ", " + std::string(word) : "";
}

}  // namespace

HttpConnect::HttpConnect(const Proxy& proxy, const std::string& host, std::uint16_t port)
    : signsIn_(proxy.user.has_value()) {
  const std::string authority = authorityOf(host, port);
  std::string request = "CONNECT " + authority + " HTTP/1.1\r\nHost: " + authority + "\r\n";
  if (signsIn_) {
    request += "Proxy-Authorization: " + basicAuthorization(*proxy.user + ":" + proxy.password) + "\r\n";
  }
  say(request + "\r\n");
}

std::size_t HttpConnect::wanted() const {
  return state() == State::Talking ? kLongestAnswer - taken_ : 0;
}

ProxyTalk::State HttpConnect::feed(std::string_view bytes) {
  for (std::size_t i = 0; i < bytes.size() && state() != State::Failed; ++i) {
    if (state() == State::Done) return failForSurplus();
    take(bytes[i]);
  }
  return state();
}

ProxyTalk::State HttpConnect::take(char byte) {
  header_ += byte;
  ++taken_;
  if (header_.size() <= kHttpBegin.size() && byte != kHttpBegin[header_.size() - 1]) {
    return fail(websocket_error::kProxyNotUnderstood, "does not answer as an HTTP proxy does");
  }
  if (byte == '\n') {
    const std::string_view line = std::string_view(header_).substr(lineAt_);
    if (line == "\r\n" || line == "\n") return judge();
    lineAt_ = header_.size();
  }
  if (taken_ < kLongestAnswer) return State::Talking;
  return fail(websocket_error::kProxyNotUnderstood, "sends an answer that is too long");
}

ProxyTalk::State HttpConnect::judge() {
  const std::string header = std::exchange(header_, {});
  lineAt_ = 0;
  const auto status = connectStatusOf(std::string_view(header).substr(0, header.find('\n')));
  if (status && *status >= 200 && *status < 300) return finish();
  // What comes before the answer proper.
  if (status && *status >= 100 && *status < 200 && *status != kSwitchingProtocols) {
    if (taken_ < kLongestAnswer) return State::Talking;
    return fail(websocket_error::kProxyNotUnderstood, "sends an answer that is too long");
  }
  if (!status || *status < 300) {
    return fail(websocket_error::kProxyNotUnderstood, "does not answer as an HTTP proxy does");
  }
  return refuse(*status, causeIn(header));
}

ProxyTalk::State HttpConnect::refuse(int status, const std::string& cause) {
  const std::string shown = " (HTTP status " + std::to_string(status) + cause + ")";
  // A proxy has nobody else to ask for, so both mean the same here.
  if (status == 407 || status == 401) {
    return fail(websocket_error::kProxyRefusesUser,
                (signsIn_ ? "refuses the user" : "asks for a user") + shown);
  }
  if (status < 400) {
    return fail(websocket_error::kProxyNotUnderstood, "does not answer as an HTTP proxy does" + shown);
  }
  return fail(status,
              (status < 500 ? "refuses the way to the server" : "finds no way to the server") + shown);
}

}  // namespace orv
