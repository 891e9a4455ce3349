#include "cli/TerminalText.h"

#include <orvnetwork/data/Secrets.h>

#include <cstddef>

namespace orv::cli {

std::string shownAddress(std::string_view url) {
  constexpr std::string_view kSeparator = "://";
  const std::size_t scheme = url.find(kSeparator);
  const std::size_t begin = scheme == std::string_view::npos ? 0 : scheme + kSeparator.size();
  const std::string_view rest = url.substr(begin);
  const std::string_view authority = rest.substr(0, rest.find_first_of("/?#"));
  const std::size_t at = authority.rfind('@');
  if (at == std::string_view::npos) return printable(hideSecrets(url));
  return printable(std::string(url.substr(0, begin)) + std::string(kHiddenSecret) +
                   hideSecrets(rest.substr(at)));
}

}  // namespace orv::cli
