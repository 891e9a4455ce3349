#pragma once

#include <string_view>

namespace orv {

/// Whether the host of a URL is this machine itself: "localhost", an address in 127.0.0.0/8, or "[::1]".
/// False for text that is no URL.
bool isLoopbackUrl(std::string_view url);

}  // namespace orv
