#include <orvnetwork/data/Json.h>

#include "cli/Commands.h"
#include "cli/Request.h"
#include "cli/SingleRequest.h"

namespace orv::cli {

ExitCode run(const CallCommand& command, Context& context) {
  std::vector<Object> arguments{Object(command.command)};
  if (command.values) {
    const JsonParseResult values = parseJson(*command.values);
    if (!values.value) return refuse("VALUES is not JSON: " + values.error.text(), context.output);
    if (!values.value->is_object()) return refuse("VALUES must be a JSON dictionary", context.output);
    arguments.emplace_back(*values.value);
  }
  const FoundOperation found = findOperation("requestWithCommand:values:completeBlock:timeoutBlock:");
  if (found.operation == nullptr) return refuse(found.problem, context.output);
  return sendOne(*found.operation, arguments, context);
}

}  // namespace orv::cli
