#pragma once

#include "cli/Grammar.h"

#include <string>
#include <string_view>
#include <vector>

namespace orv::cli {

/// What a mistyped word is most likely meant for: names that it is the beginning of, or else those that differ from it in
/// the fewest characters, and in two at most.
std::vector<std::string> nearWords(std::string_view word, const std::vector<std::string>& names);

/// Whether an option of the program has a meaning on a line of the shell.
bool fitsShell(const OptionSpec& option);

/// What is wrong with an option that is not known behind a command, or in front of all where that is null: what was
/// probably meant, or where it belongs.
std::string wrongOption(std::string_view name, const CommandSpec* command, WordsFrom from);

/// What is wrong with the name of a command, of a group or, "", of none; an empty name is one that is missing.
std::string wrongCommand(std::string_view word, std::string_view group);

/// Names with commas between them.
std::string listed(const std::vector<std::string>& names);

}  // namespace orv::cli
