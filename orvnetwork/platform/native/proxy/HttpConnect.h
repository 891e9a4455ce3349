#pragma once

#include <orvnetwork/platform/ProxySettings.h>
#include <orvnetwork/platform/native/proxy/ProxyTalk.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace orv {

/// Asks an HTTP proxy with "CONNECT" for a way to a server. Who signs in does so in this request and nowhere else.
///
/// Any answer of 200 to 299 opens the way, whatever length of a body it tells: it has none. Of a refusal only the header
/// is read.
class HttpConnect final : public ProxyTalk {
 public:
  /// The bound of the proxy's answer.
  static constexpr std::size_t kLongestAnswer = std::size_t{16} << 10;

  /// `host` is a name or a numeric address, without brackets.
  HttpConnect(const Proxy& proxy, const std::string& host, std::uint16_t port);

  std::size_t wanted() const override;
  State feed(std::string_view bytes) override;

 private:
  State take(char byte);
  State judge();
  State refuse(int status, const std::string& cause);

  const bool signsIn_;
  /// The answer's header so far; `lineAt_` is where its last line begins.
  std::string header_;
  std::size_t lineAt_ = 0;
  std::size_t taken_ = 0;
};

}  // namespace orv
