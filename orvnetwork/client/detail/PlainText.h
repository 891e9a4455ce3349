#pragma once

#include <string_view>

namespace orv {

/// Whether a text can stand in a request as the name of something: UTF-8 of 1 to 256 bytes without control characters.
bool isPlainText(std::string_view text);

}  // namespace orv
