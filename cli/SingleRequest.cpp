#include "cli/SingleRequest.h"

#include <optional>

#include "cli/Host.h"
#include "cli/Request.h"

namespace orv::cli {

namespace {

Answer ask(const Operation& operation, const std::vector<Object>& arguments, const Options& options) {
  // Wrong arguments need no link to be told.
  if (const std::string problem = checkArguments(operation, arguments); !problem.empty())
    return wrongUse(problem);
  Host host(options);
  const std::string command = commandOf(operation, arguments);
  if (!host.openLink()) return noReply(operation.name, command, host.noLinkMessage());
  std::optional<Answer> answer;
  request(operation, arguments, [&answer](Answer ended) {
    answer = std::move(ended);
    Host::notice();
  });
  if (host.runUntil([&answer] { return answer.has_value(); })) return *std::move(answer);
  return noReply(operation.name, command, "interrupted");
}

}  // namespace

ExitCode sendOne(const Operation& operation, const std::vector<Object>& arguments, const Options& options,
                 Output& output) {
  const Answer answer = ask(operation, arguments, options);
  output.line(answer.line);
  return answer.code;
}

ExitCode refuse(std::string_view message, Output& output) {
  const Answer answer = wrongUse(message);
  output.line(answer.line);
  return answer.code;
}

}  // namespace orv::cli
