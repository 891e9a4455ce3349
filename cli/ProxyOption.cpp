#include "cli/ProxyOption.h"

#include <utility>

namespace orv::cli {

std::optional<ProxySettings> readProxyOption(std::string_view text) {
  ProxySettings way;
  if (text == "none") return way;
  if (text == "environment") {
    way.source = ProxySource::Environment;
    return way;
  }
  auto proxy = parseProxy(text);
  if (!proxy) return std::nullopt;
  way.source = ProxySource::Fixed;
  way.proxy = *std::move(proxy);
  return way;
}

}  // namespace orv::cli
