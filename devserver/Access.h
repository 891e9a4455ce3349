#pragma once

#include <string>

namespace orv::devserver {

/// What is wrong with a token, or "": it has to be long enough not to be guessed, and to need no quoting anywhere.
std::string problemWithToken(const std::string& token);

/// The token that the first line of a file holds. Throws std::runtime_error with a text for a person where there is none,
/// and where others can read the file.
std::string readTokenFile(const std::string& path);

}  // namespace orv::devserver
