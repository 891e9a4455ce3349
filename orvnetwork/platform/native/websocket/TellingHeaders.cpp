#include "orvnetwork/platform/native/websocket/TellingHeaders.h"

#include <orvnetwork/data/Secrets.h>
#include <orvnetwork/platform/native/tls/CertificateFacts.h>
#include <orvnetwork/platform/native/websocket/HandshakeGate.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

namespace {

constexpr std::size_t kMostHeaders = 16;
constexpr std::size_t kLongestValue = 200;

/// What they are looked for by, and what they are called.
struct Telling {
  std::string_view lineBegin;
  std::string_view name;
};
constexpr Telling kTelling[] = {{"server:", "Server"},
                                {"via:", "Via"},
                                {"location:", "Location"},
                                {"content-type:", "Content-Type"},
                                {"retry-after:", "Retry-After"},
                                {"upgrade:", "Upgrade"},
                                {"www-authenticate:", "WWW-Authenticate"},
                                {"proxy-authenticate:", "Proxy-Authenticate"}};
constexpr std::string_view kLocation = "Location";

std::string_view withoutBlanks(std::string_view text) {
  constexpr std::string_view kBlanks = " \t";
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
  return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

/// An address without its user, and without what stands behind the path: sign-in pages are given much there.
std::string placeIn(std::string_view address) {
  constexpr std::string_view kMark = "://";
  address = address.substr(0, address.find_first_of("?#"));
  const std::size_t mark = address.find(kMark);
  // A place on the same scheme begins with "//", and one on the same server has neither.
  const std::size_t begin = mark != std::string_view::npos ? mark + kMark.size()
                            : address.substr(0, 2) == "//" ? 2
                                                           : std::string_view::npos;
  if (begin == std::string_view::npos) return std::string(address);
  const std::string_view server = address.substr(begin, address.find('/', begin) - begin);
  const std::size_t user = server.rfind('@');
  const std::size_t skipped = user == std::string_view::npos ? 0 : user + 1;
  return std::string(address.substr(0, begin)) + std::string(address.substr(begin + skipped));
}

std::string shownValue(const Telling& telling, std::string_view value) {
  const std::string whole = telling.name == kLocation ? placeIn(value) : std::string(value);
  return shownPeerText(hideSecrets(whole), kLongestValue);
}

}  // namespace

std::vector<AnswerHeader> tellingHeaders(std::string_view header) {
  constexpr std::string_view kLineEnd = "\r\n";
  std::vector<AnswerHeader> headers;
  while (!header.empty() && headers.size() < kMostHeaders) {
    const std::size_t end = std::min(header.find(kLineEnd), header.size());
    const std::string_view line = header.substr(0, end);
    const auto* const found = std::ranges::find_if(
        kTelling, [line](const Telling& one) { return isHeaderLineOf(line, one.lineBegin); });
    if (found != std::ranges::end(kTelling)) {
      const std::string_view value = withoutBlanks(line.substr(found->lineBegin.size()));
      headers.push_back({std::string(found->name), shownValue(*found, value)});
    }
    header.remove_prefix(std::min(end + kLineEnd.size(), header.size()));
  }
  return headers;
}

}  // namespace orv
