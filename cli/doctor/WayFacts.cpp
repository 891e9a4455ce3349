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

std::uint16_t portOf(const Url& url) {
  constexpr std::uint16_t kPlain = 80, kSecure = 443;
  if (url.server.port != 0) return url.server.port;
  return url.isSecure() ? kSecure : kPlain;
}

}  // namespace orv::cli::doctor
