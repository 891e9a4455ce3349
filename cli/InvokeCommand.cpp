#include "cli/Commands.h"
#include "cli/Request.h"
#include "cli/SingleRequest.h"

namespace orv::cli {

ExitCode run(const InvokeCommand& command, Context& context) {
  const FoundOperation found = findOperation(command.operation);
  if (found.operation == nullptr) return refuse(found.problem, context.output);
  std::vector<Object> arguments;
  for (const std::string& text : command.arguments) {
    ArgumentText read = readArgument(text);
    if (!read.problem.empty()) {
      return refuse("argument " + std::to_string(arguments.size() + 1) + " " + read.problem + ": " +
                        found.operation->signature(),
                    context.output);
    }
    arguments.push_back(std::move(read.value));
  }
  return sendOne(*found.operation, arguments, context);
}

}  // namespace orv::cli
