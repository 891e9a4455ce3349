#pragma once

#include <orvnetwork/platform/ProxySettings.h>

#include <optional>
#include <string_view>

namespace orv::cli {

/// The way out that a text names: "none", "environment", or the address of a proxy; absent for anything else.
std::optional<ProxySettings> readProxyOption(std::string_view text);

}  // namespace orv::cli
