#include "orvnetwork/platform/native/proxy/Socks5.h"

#include <arpa/inet.h>

#include <array>

namespace orv {

namespace {

constexpr std::size_t kLongestSocksField = 255;
constexpr char kSocksVersion = 5;
constexpr char kSignInVersion = 1;
constexpr char kSocksNobody = 0, kUserAndPassword = 2;
constexpr unsigned kNoMethod = 0xff;
constexpr char kSocksConnect = 1;
constexpr char kSocksFourth = 1, kSocksName = 3, kSocksSixth = 4;
constexpr std::size_t kSocksPortSize = 2;

constexpr std::array<const char*, 9> kSocksReplies = {"",
                                                      "it has failed",
                                                      "its rules forbid it",
                                                      "the network is unreachable",
                                                      "the host is unreachable",
                                                      "the connection is refused",
                                                      "the way is too long",
                                                      "it knows no such command",
                                                      "it knows no such kind of address"};
constexpr unsigned kSocksForbidden = 2;

std::string socksField(std::string_view text) {
  return static_cast<char>(text.size()) + std::string(text);
}

/// The server as a request names it: a number as a number, all else as a name.
std::string socksAddress(const std::string& host) {
  std::array<char, sizeof(in6_addr)> bytes{};
  if (::inet_pton(AF_INET, host.c_str(), bytes.data()) == 1) {
    return kSocksFourth + std::string(bytes.data(), sizeof(in_addr));
  }
  if (::inet_pton(AF_INET6, host.c_str(), bytes.data()) == 1) {
    return kSocksSixth + std::string(bytes.data(), sizeof(in6_addr));
  }
  return kSocksName + socksField(host);
}

unsigned socksByte(std::string_view bytes, std::size_t index) {
  return static_cast<unsigned char>(bytes[index]);
}

}  // namespace

Socks5::Socks5(const Proxy& proxy, const std::string& host, std::uint16_t port)
    : offersUser_(proxy.user.has_value()) {
  // Looking a long name up here would tell the network what the proxy is there to keep from it.
  if (host.empty() || host.size() > kLongestSocksField) {
    fail(websocket_error::kBadProxy, "takes no server's name of more than 255 bytes");
    return;
  }
  if (offersUser_) {
    if (proxy.user->size() > kLongestSocksField || proxy.password.size() > kLongestSocksField) {
      fail(websocket_error::kBadProxy, "takes no user or password of more than 255 bytes");
      return;
    }
    signIn_ = kSignInVersion + socksField(*proxy.user) + socksField(proxy.password);
  }
  request_ = {kSocksVersion, kSocksConnect, 0};
  request_ += socksAddress(host);
  request_ += {static_cast<char>(port >> 8), static_cast<char>(port & 0xff)};
  say(offersUser_ ? std::string{kSocksVersion, 2, kSocksNobody, kUserAndPassword}
                  : std::string{kSocksVersion, 1, kSocksNobody});
  expect(Step::Method, 2);
}

void Socks5::expect(Step step, std::size_t size) {
  step_ = step;
  size_ = size;
  answer_.clear();
}

std::size_t Socks5::wanted() const {
  return state() == State::Talking ? size_ - answer_.size() : 0;
}

ProxyTalk::State Socks5::feed(std::string_view bytes) {
  while (!bytes.empty() && state() != State::Failed) {
    if (state() == State::Done) return failForSurplus();
    const std::string_view part = bytes.substr(0, wanted());
    bytes.remove_prefix(part.size());
    answer_ += part;
    if (answer_.size() == size_) judge(std::string(answer_));
  }
  return state();
}

ProxyTalk::State Socks5::judge(std::string_view answer) {
  switch (step_) {
    case Step::Method:
      return answer[0] == kSocksVersion ? judgeMethod(socksByte(answer, 1)) : notUnderstood();
    case Step::SignIn:
      // Some proxies put their own version in front, so it does not count.
      if (answer[1] != 0) return fail(websocket_error::kProxyRefusesUser, "refuses the user");
      say(std::exchange(request_, {}));
      expect(Step::Verdict, 4);
      return state();
    case Step::Verdict:
      return answer[0] == kSocksVersion ? judgeVerdict(answer) : notUnderstood();
    case Step::NameLength:
      expect(Step::Address, socksByte(answer, 0) + kSocksPortSize);
      return state();
    case Step::Address:
      break;
  }
  return finish();
}

ProxyTalk::State Socks5::judgeMethod(unsigned method) {
  if (method == kNoMethod) {
    return fail(websocket_error::kProxyRefusesUser,
                offersUser_ ? "takes neither the user nor nobody" : "asks for a user");
  }
  if (method == kSocksNobody) {
    say(std::exchange(request_, {}));
    expect(Step::Verdict, 4);
    return state();
  }
  if (method != kUserAndPassword || !offersUser_) {
    return fail(websocket_error::kProxyNotUnderstood, "wants a kind of sign-in that was not offered");
  }
  say(std::exchange(signIn_, {}));
  expect(Step::SignIn, 2);
  return state();
}

/// A failure is told at once: whether anything follows it is up to the proxy.
ProxyTalk::State Socks5::judgeVerdict(std::string_view answer) {
  const unsigned reply = socksByte(answer, 1);
  if (reply >= kSocksReplies.size()) {
    return fail(websocket_error::kProxyNotUnderstood,
                "finds no way to the server (SOCKS reply " + std::to_string(reply) + ")");
  }
  if (reply != 0) {
    return fail(static_cast<int>(reply),
                std::string(reply == kSocksForbidden ? "refuses the way to the server"
                                                     : "finds no way to the server") +
                    " (SOCKS reply " + std::to_string(reply) + ", " + kSocksReplies[reply] + ")");
  }
  switch (answer[3]) {
    case kSocksFourth:
      expect(Step::Address, sizeof(in_addr) + kSocksPortSize);
      break;
    case kSocksSixth:
      expect(Step::Address, sizeof(in6_addr) + kSocksPortSize);
      break;
    case kSocksName:
      expect(Step::NameLength, 1);
      break;
    default:
      return notUnderstood();
  }
  return state();
}

ProxyTalk::State Socks5::notUnderstood() {
  return fail(websocket_error::kProxyNotUnderstood, "does not answer as a SOCKS 5 proxy does");
}

}  // namespace orv
