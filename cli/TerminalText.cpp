#include "cli/TerminalText.h"

#include <orvnetwork/data/Secrets.h>

#include <cstddef>

namespace orv::cli {

namespace {

/// Where a port or a password begins in what stands before the path, if either is there.
std::size_t colonIn(std::string_view authority) {
  const std::size_t bracket = authority.rfind(']');
  return authority.find(':', bracket == std::string_view::npos ? 0 : bracket);
}

}  // namespace

std::string shownAddress(std::string_view url) {
  constexpr std::string_view kSeparator = "://";
  const std::size_t scheme = url.find(kSeparator);
  const std::size_t begin = scheme == std::string_view::npos ? 0 : scheme + kSeparator.size();
  const std::string_view rest = url.substr(begin);
  const std::string_view authority = rest.substr(0, rest.find_first_of("/?#"));
  std::size_t at = authority.rfind('@');
  std::size_t hidden = 0;
  if (at == std::string_view::npos) {
    // A password with a "/" in it ends the authority too soon: then what looks like a port is its beginning.
    const std::size_t colon = colonIn(authority);
    at = rest.rfind('@');
    if (colon == std::string_view::npos || at == std::string_view::npos) return printable(hideSecrets(url));
    hidden = colon + 1;
  }
  return printable(std::string(url.substr(0, begin + hidden)) + std::string(kHiddenSecret) +
                   hideSecrets(rest.substr(at)));
}

}  // namespace orv::cli
