#include "cli/Commands.h"
#include "cli/Request.h"
#include "cli/SingleRequest.h"

#include <string>
#include <vector>

namespace orv::cli {

ExitCode run(const InvokeCommand& command, Context& context) {
  const Result<const Operation*> found = findOperation(command.operation);
  if (!found) return refuse(found.error().description, context.output);
  std::vector<Object> arguments;
  for (const std::string& text : command.arguments) {
    Result<Object> read = readArgument(text);
    if (!read) {
      return refuse("argument " + std::to_string(arguments.size() + 1) + " " + read.error().description +
                        ": " + (*found)->signature(),
                    context.output);
    }
    arguments.push_back(*std::move(read));
  }
  return sendOne(**found, arguments, context);
}

}  // namespace orv::cli
