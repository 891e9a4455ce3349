#pragma once

#include <cstddef>

namespace orv {

/// How deep arrays and dictionaries may be nested in a property list.
inline constexpr std::size_t kMaxPropertyListDepth = 64;

/// How many bytes a property list may have. Those of a binary one may not stand for much more than that
/// either, however often they are shared.
inline constexpr std::size_t kMaxPropertyListSize = std::size_t{64} << 20;

}  // namespace orv
