#pragma once

#include "cli/CommandLine.h"
#include "cli/Context.h"
#include "cli/ExitCode.h"

namespace orv::cli {

/// Each runs one command to its end, on the main thread, and says how the program exits.

ExitCode run(const DemoCommand& command, Context& context);
ExitCode run(const CallCommand& command, Context& context);
ExitCode run(const InvokeCommand& command, Context& context);
ExitCode run(const BatchCommand& command, Context& context);
ExitCode run(const OperationsCommand& command, Context& context);
ExitCode run(const WatchCommand& command, Context& context);
ExitCode run(const StatsCommand& command, Context& context);
ExitCode run(const CoursesCommand& command, Context& context);
ExitCode run(const LocalListCommand& command, Context& context);
ExitCode run(const LocalCreateCommand& command, Context& context);
ExitCode run(const LocalAddCommand& command, Context& context);
ExitCode run(const LocalDeleteCommand& command, Context& context);
ExitCode run(const ShellCommand& command, Context& context);
ExitCode run(const LogCommand& command, Context& context);
ExitCode run(const DoctorCommand& command, Context& context);
ExitCode run(const LoginCommand& command, Context& context);
ExitCode run(const WhoamiCommand& command, Context& context);
ExitCode run(const LogoutCommand& command, Context& context);

}  // namespace orv::cli
