#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace orv::cli {

/// What is wrong with the words of a command line that the parser did not take, where more can be said than that there
/// are too many: a mistyped command or option, with those that are near, or an option that stands behind the command
/// and belongs in front of it. "" otherwise. No word is repeated that is not a name of an option: it may be secret.
std::string explainWords(const CLI::App& app, const std::vector<std::string>& words);

}  // namespace orv::cli
