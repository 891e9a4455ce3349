#pragma once

#include <orvnetwork/platform/ProxySettings.h>
#include <orvnetwork/platform/native/proxy/ProxyTalk.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace orv {

/// Asks a SOCKS 5 proxy (RFC 1928, RFC 1929) for a way to a server. The proxy looks the server's name up. Each message
/// goes out when the answer to the one before has come.
class Socks5 final : public ProxyTalk {
 public:
  /// `host` is a name or a numeric address, without brackets. A name, user or password that the protocol has no room for
  /// fails at once.
  Socks5(const Proxy& proxy, const std::string& host, std::uint16_t port);

  std::size_t wanted() const override;
  State feed(std::string_view bytes) override;

 private:
  /// What the proxy says next.
  enum class Step { Method, SignIn, Verdict, NameLength, Address };

  void expect(Step step, std::size_t size);
  State judge(std::string_view answer);
  State judgeMethod(unsigned method);
  State judgeVerdict(std::string_view answer);
  State notUnderstood();

  const bool offersUser_;
  std::string signIn_;
  std::string request_;
  Step step_ = Step::Method;
  /// How long the answer is that is being read, and what has come of it.
  std::size_t size_ = 0;
  std::string answer_;
};

}  // namespace orv
