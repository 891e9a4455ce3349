#include <orvnetwork/api/OperationRegistry.h>

#include "cli/Commands.h"
#include "cli/ExitCode.h"
#include "cli/NearNames.h"

namespace orv::cli {

namespace {

json::object describeOperation(const Operation& operation) {
  json::array arguments;
  for (const OperationParameter& parameter : operation.parameters) {
    arguments.push_back(json::object{
        {"name", parameter.name}, {"kind", nameOf(parameter.kind)}, {"required", parameter.required}});
  }
  json::object described{{"operation", operation.name}};
  // The generic request has no command of its own.
  described.emplace("command", operation.command.empty() ? json::value() : json::value(operation.command));
  described.emplace("arguments", std::move(arguments));
  return described;
}

}  // namespace

ExitCode run(const OperationsCommand& command, Context& context) {
  for (const Operation& operation : OperationRegistry::standard().operations()) {
    if (!holds(operation.name, command.filter) && !holds(operation.command, command.filter)) continue;
    context.output.line(describeOperation(operation));
  }
  return ExitCode::Success;
}

}  // namespace orv::cli
