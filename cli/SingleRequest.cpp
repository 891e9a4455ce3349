#include "cli/SingleRequest.h"

#include "cli/Host.h"
#include "cli/Request.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace orv::cli {

namespace {

Answer askOne(const Operation& operation, const std::vector<Object>& arguments, Context& context) {
  // Wrong arguments need no link to be told.
  if (const std::string problem = operation.problemWith(arguments); !problem.empty()) {
    return wrongUse(problem);
  }
  Host& host = context.host();
  const std::string command = commandOf(operation, arguments);
  if (!host.openLink()) return noReply(operation.name, command, host.noLinkMessage(), host.noLinkReason());
  // A request that was interrupted may be answered when nobody waits any more.
  const auto answer = std::make_shared<std::optional<Answer>>();
  request(operation, arguments, [answer](Answer ended) {
    *answer = std::move(ended);
    Host::notice();
  });
  if (host.runUntil([&answer] { return answer->has_value(); })) return **std::move(answer);
  return noReply(operation.name, command, "interrupted");
}

}  // namespace

ExitCode sendOne(const Operation& operation, const std::vector<Object>& arguments, Context& context) {
  const Answer answer = askOne(operation, arguments, context);
  context.output.line(answer.line);
  return answer.code;
}

ExitCode refuse(std::string_view message, Output& output) {
  const Answer answer = wrongUse(message);
  output.line(answer.line);
  return answer.code;
}

}  // namespace orv::cli
