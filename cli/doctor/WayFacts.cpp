#include "cli/doctor/WayFacts.h"

#include <orvnetwork/platform/WebSocketError.h>

#include <arpa/inet.h>
#include <netinet/in.h>

#include <array>
#include <string_view>

namespace orv::cli::doctor {

namespace {

/// The last step that the attempt has begun.
Step lastStep(const ConnectReport& report) {
  if (report.upgrade) return Step::Upgrade;
  if (report.tls) return Step::Tls;
  if (report.proxy) return Step::Proxy;
  if (report.connect || !report.attempts.empty()) return Step::Connect;
  return report.name ? Step::Name : Step::None;
}

}  // namespace

Step failedStep(const WayFacts& facts) {
  if (facts.isOpen || !facts.error) return Step::None;
  const std::string_view domain = facts.error->domain;
  if (domain == websocket_error::kNameLookupDomain) return Step::Name;
  if (domain == websocket_error::kTlsDomain) return Step::Tls;
  if (domain == websocket_error::kProxyDomain) return Step::Proxy;
  if (domain == websocket_error::kDomain && (facts.error->code == websocket_error::kRefusedByServer ||
                                             facts.error->code == websocket_error::kBadHandshake)) {
    return Step::Upgrade;
  }
  const Step last = lastStep(facts.report);
  if (last != Step::None) return last;
  return isNumericHost(facts.url) || facts.error->code != websocket_error::kTimedOut ? Step::Connect
                                                                                     : Step::Name;
}

bool isNumericHost(const Url& url) {
  std::array<unsigned char, sizeof(in6_addr)> bytes{};
  return ::inet_pton(AF_INET, url.server.host.c_str(), bytes.data()) == 1 ||
         ::inet_pton(AF_INET6, url.server.host.c_str(), bytes.data()) == 1;
}

bool isLoopbackServer(const Url& url) {
  const std::string& host = url.server.host;
  in_addr address{};
  in6_addr wide{};
  if (::inet_pton(AF_INET, host.c_str(), &address) == 1) return ntohl(address.s_addr) >> 24 == 127;
  if (::inet_pton(AF_INET6, host.c_str(), &wide) == 1) return IN6_IS_ADDR_LOOPBACK(&wide) != 0;
  return host == "localhost" || host.ends_with(".localhost");
}

std::uint16_t portOf(const Url& url) {
  constexpr std::uint16_t kPlain = 80, kSecure = 443;
  if (url.server.port != 0) return url.server.port;
  return url.isSecure() ? kSecure : kPlain;
}

}  // namespace orv::cli::doctor
