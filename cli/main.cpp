#include <orvnetwork/data/Secrets.h>

#include "cli/Commands.h"
#include "cli/ExitCode.h"
#include "cli/Host.h"
#include "cli/Settings.h"
#include "cli/SingleRequest.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <exception>
#include <string>
#include <variant>
#include <vector>

namespace {

using namespace orv::cli;

ExitCode runInvocation(const Invocation& invocation, Output& output) {
  if (invocation.options.quiet) {
    silenceDiagnostics();
  } else {
    installConsoleSink();
  }
  output.setWantsTables(!invocation.options.json && ::isatty(STDOUT_FILENO) == 1);
  if (invocation.options.home) {
    if (const std::string problem =
            settleIn(*invocation.options.home, !std::holds_alternative<DoctorCommand>(invocation.command));
        !problem.empty()) {
      return refuse(problem, output);
    }
  }
  Context context(invocation.options, output);
  // Whether the trace can be written is told by commands without a link, too.
  if (invocation.options.trace) context.host();
  return std::visit([&](const auto& command) { return run(command, context); }, invocation.command);
}

ExitCode runProgram(int argc, char** argv, Output& output) {
  const std::vector<std::string> words(argv + (argc > 0 ? 1 : 0), argv + argc);
  const auto parsed = parseCommandLine(words, loadSettings);
  if (const auto* text = std::get_if<Text>(&parsed)) {
    output.text(text->text);
    return ExitCode::Success;
  }
  if (const auto* wrong = std::get_if<WrongUse>(&parsed)) {
    return refuse(orv::hideSecrets(wrong->message), output);
  }
  try {
    return runInvocation(std::get<Invocation>(parsed), output);
  } catch (const WrongOptions& error) {
    return refuse(error.what(), output);
  } catch (const std::exception& error) {
    refuse(orv::hideSecrets(error.what()), output);
    return ExitCode::NoReply;
  }
}

/// Fills the places of standard descriptors that the caller has closed, so that nothing else gets them. They
/// fail when they are used.
void fillStandardDescriptors() {
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
    if (::fcntl(descriptor, F_GETFD) != -1) continue;
    // The lowest free number is the one that is missing.
    [[maybe_unused]] const int filled = ::open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
}

}  // namespace

int main(int argc, char** argv) {
  fillStandardDescriptors();
  // A pipe that nobody reads any more is an error of the write, not the program's end.
  ::signal(SIGPIPE, SIG_IGN);
  Output output;
  ExitCode code = runProgram(argc, argv, output);
  // A reader that has gone has seen what it wanted.
  if (output.failed() && output.failure() != EPIPE) {
    writeAll(STDERR_FILENO,
             std::string("orv: cannot write the answer: ") + std::strerror(output.failure()) + "\n");
    code = worse(code, ExitCode::WrongUse);
  }
  return static_cast<int>(code);
}
