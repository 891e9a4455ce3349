#pragma once

#include <orvnetwork/api/OperationRegistry.h>

#include "cli/Context.h"
#include "cli/ExitCode.h"

#include <string_view>
#include <vector>

namespace orv::cli {

/// Opens the link, sends one request and prints its answer.
ExitCode sendOne(const Operation& operation, const std::vector<Object>& arguments, Context& context);

/// Prints what is wrong with how the program was called.
ExitCode refuse(std::string_view message, Output& output);

}  // namespace orv::cli
