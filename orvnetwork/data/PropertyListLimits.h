#pragma once

#include <cstddef>

namespace orv {

/// How deep arrays and dictionaries may be nested in a property list.
/// The root counts as the first level. What is deeper is an error, for the reader and for the writer.
inline constexpr std::size_t kMaxPropertyListDepth = 64;

/// How many bytes a property list may have. Those of a binary one may not stand for much more than that
/// either, however often they are shared.
/// 64 MiB: the reader refuses a larger one before it looks at it, and the writer makes none.
inline constexpr std::size_t kMaxPropertyListSize = std::size_t{64} << 20;

}  // namespace orv
