#pragma once

#include "cli/Grammar.h"

#include <string>
#include <string_view>

namespace orv::cli {

/// What the program takes.
std::string helpOfProgram();
/// What a command takes, or of a group, what its commands are.
std::string helpOf(const CommandSpec& command);

/// What stands at the end of the program's help, in lines: on what it prints and reads, and what its exit codes mean.
std::string_view remarksOfHelp();
std::string_view exitCodesOfHelp();

}  // namespace orv::cli
