#pragma once

#include <string>
#include <string_view>

namespace orv::cli {

/// What stands in the place of a hidden value.
inline constexpr std::string_view kHidden = "***";

/// The text with the values under "pwd", "pass", "passwd", "opwd", "npwd", "token" and "scode" hidden, whatever
/// form they come in: `key = value;` of a described dictionary, `"key" : "value"` of JSON, either of them
/// escaped any number of times inside another text, `key=value` of an address; values may be texts, numbers, or
/// whole arrays and dictionaries. Upper and lower case count as the same.
std::string hideSecrets(std::string_view text);

}  // namespace orv::cli
