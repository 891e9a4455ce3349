#pragma once

#include "cli/CommandLine.h"
#include "cli/ExitCode.h"
#include "cli/Output.h"

namespace orv::cli {

/// Each runs one command to its end, on the main thread, and says how the program exits.

ExitCode run(const DemoCommand& command, const Options& options, Output& output);
ExitCode run(const CallCommand& command, const Options& options, Output& output);
ExitCode run(const InvokeCommand& command, const Options& options, Output& output);
ExitCode run(const BatchCommand& command, const Options& options, Output& output);
ExitCode run(const OperationsCommand& command, const Options& options, Output& output);
ExitCode run(const WatchCommand& command, const Options& options, Output& output);
ExitCode run(const LogCommand& command, const Options& options, Output& output);

}  // namespace orv::cli
