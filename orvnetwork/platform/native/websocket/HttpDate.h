#pragma once

#include <orvnetwork/data/Types.h>

#include <optional>
#include <string_view>

namespace orv {

/// Reads a moment as HTTP writes it: "Sun, 06 Nov 1994 08:49:37 GMT". Absent for anything else. Any thread.
std::optional<WallTime> parseHttpDate(std::string_view text);

}  // namespace orv
