#pragma once

#include <string>
#include <string_view>

namespace orv {

/// Whether a text can stand in a request as the name of something: UTF-8 of 1 to 256 bytes without control characters.
bool isPlainText(std::string_view text);

/// What is said in one line for a log: `line`, and behind a colon why, where that is known. Control characters become
/// blanks.
std::string asOneLine(std::string line, std::string_view why);

}  // namespace orv
