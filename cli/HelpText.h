#pragma once

#include "cli/Grammar.h"

#include <string>

namespace orv::cli {

/// What the program takes.
std::string helpOfProgram();
/// What a command takes, or of a group, what its commands are.
std::string helpOf(const CommandSpec& command);

}  // namespace orv::cli
