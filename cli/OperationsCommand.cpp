#include <orvnetwork/api/OperationRegistry.h>

#include "cli/Commands.h"
#include "cli/ExitCode.h"
#include "cli/NearNames.h"
#include "cli/Output.h"
#include "cli/Table.h"

#include <string>
#include <vector>

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

std::string argumentNames(const Operation& operation) {
  std::string names;
  for (const OperationParameter& parameter : operation.parameters) {
    if (!names.empty()) names += ", ";
    names.append(parameter.name).append(parameter.required ? "" : "?");
  }
  return names;
}

std::string tableOf(const std::vector<const Operation*>& operations) {
  Table table({{"OPERATION"}, {"COMMAND"}, {"ARGUMENTS"}});
  for (const Operation* operation : operations) {
    table.add({operation->name, std::string(operation->command), argumentNames(*operation)});
  }
  return table.text(Output::columns(), Output::wantsColours());
}

}  // namespace

ExitCode run(const OperationsCommand& command, Context& context) {
  std::vector<const Operation*> found;
  for (const Operation& operation : OperationRegistry::standard().operations()) {
    if (holds(operation.name, command.filter) || holds(operation.command, command.filter)) {
      found.push_back(&operation);
    }
  }
  if (context.output.wantsTables()) {
    context.output.text(tableOf(found));
    return ExitCode::Success;
  }
  for (const Operation* operation : found) context.output.line(describeOperation(*operation));
  return ExitCode::Success;
}

}  // namespace orv::cli
