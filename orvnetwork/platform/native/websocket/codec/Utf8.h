#pragma once

#include <string_view>

namespace orv {

/// Whether this is UTF-8 as RFC 3629 has it: no overlong forms, no surrogates, nothing above U+10FFFF. Sixteen bytes a
/// step where the processor can do that. Any thread, also while the process ends.
bool isUtf8(std::string_view text);

/// The same character by character, for every processor. Any thread.
bool isUtf8ByCharacters(std::string_view text);

}  // namespace orv
