#include <orvnetwork/data/Json.h>

#include "cli/Commands.h"
#include "cli/Request.h"
#include "cli/SingleRequest.h"

#include <vector>

namespace orv::cli {

ExitCode run(const CallCommand& command, Context& context) {
  std::vector<Object> arguments{Object(command.command)};
  if (command.values) {
    const Result<json::value> values = parseJson(*command.values);
    if (!values) return refuse("VALUES is not JSON: " + values.error().text(), context.output);
    if (!values->is_object()) return refuse("VALUES must be a JSON dictionary", context.output);
    arguments.emplace_back(*values);
  }
  const auto found = findOperation("requestWithCommand:values:completeBlock:timeoutBlock:");
  if (!found) return refuse(found.error().description, context.output);
  return sendOne(**found, arguments, context);
}

}  // namespace orv::cli
