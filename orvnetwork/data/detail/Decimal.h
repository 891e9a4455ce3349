#pragma once

#include <cstddef>
#include <string_view>

namespace orv {

/// The double nearest to the decimal number at the front of a text, such as "-12.5e3"; 0 when there is none.
/// Infinite when it is too large, zero when it is too small. The text must not begin with "nan" or "inf".
double realFromDecimal(std::string_view text);

/// The most bytes that `writeShortestReal` fills.
inline constexpr std::size_t kLongestReal = 64;

/// Writes the fewest digits that read back as `number`, which must be finite; with an exponent only from
/// 1e17 on and below 1e-4. `place` must have room for `kLongestReal` bytes. The end of what was written.
char* writeShortestReal(char* place, double number);

}  // namespace orv
