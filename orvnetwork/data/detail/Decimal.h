#pragma once

#include <string>
#include <string_view>

namespace orv {

/// The double nearest to the decimal number at the front of a text, such as "-12.5e3"; 0 when there is none.
/// Infinite when it is too large, zero when it is too small. The text must not begin with "nan" or "inf".
double realFromDecimal(std::string_view text);

/// Appends the fewest digits that read back as `number`, which must be finite; with an exponent only from
/// 1e17 on and below 1e-4.
void appendShortestReal(std::string& out, double number);

}  // namespace orv
