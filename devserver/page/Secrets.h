#pragma once

#include <boost/json/value.hpp>

#include <string>
#include <string_view>

namespace orv::devserver {

/// What stands in the place of a secret.
inline constexpr std::string_view kHiddenSecret = "***";

/// Hides the values under "pwd", "pass", "passwd", "opwd", "npwd", "token" and "scode", whatever their case, at
/// every level, and those in texts that carry such members themselves.
void hideSecrets(boost::json::value& value);

/// The same for text that is not JSON, or only the beginning of it. What cannot be told apart is hidden too.
std::string hideSecretsInText(std::string_view text);

}  // namespace orv::devserver
