#include "cli/Request.h"

#include <orvnetwork/data/Json.h>
#include <orvnetwork/data/Secrets.h>
#include <orvnetwork/platform/Timer.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include "cli/CliError.h"
#include "cli/NearNames.h"

#include <memory>
#include <string_view>
#include <utility>

namespace orv::cli {

namespace {

constexpr std::string_view kHeldMessage =
    "waiting for a session: the server wants a log-in first, and the request is held until one succeeds";

constexpr std::string_view kNotOpenMessage = "the link is not open";
constexpr std::string_view kLateMessage = "no reply within 10 s";

Answer complete(std::string_view operation, std::string_view command, bool success,
                const json::object& reply) {
  json::object answer{
      {"operation", operation}, {"command", command}, {"outcome", "complete"}, {"success", success}};
  const ExitCode code = success ? ExitCode::Success : ExitCode::Refused;
  json::object whole = answer;
  whole.emplace("reply", reply);
  if (std::string line = writeLine(whole); !line.empty()) return {std::move(line), code};
  answer.emplace("message", "the reply is nested too deep to be shown");
  return {writeLine(answer), code};
}

/// The one who waits for the end of a request.
struct Waiting {
  std::string operation;
  std::function<void(Answer)> done;
  std::shared_ptr<Timer> held;
  bool sending = true;

  void end(Answer answer) {
    if (held) held->invalidate();
    if (auto callback = std::exchange(done, nullptr)) callback(std::move(answer));
  }
};

}  // namespace

std::string writeLine(const json::object& object) {
  return writeJsonCompact(object).valueOr("");
}

Answer wrongUse(std::string_view message) {
  return {writeLine({{"outcome", "error"}, {"message", message}}), ExitCode::WrongUse};
}

Answer noReply(std::string_view operation, std::string_view command, std::string_view message,
               std::string_view reason) {
  json::object answer{
      {"operation", operation}, {"command", command}, {"outcome", "timeout"}, {"message", message}};
  if (!reason.empty()) answer.emplace("reason", reason);
  return {writeLine(answer), ExitCode::NoReply};
}

Answer answerOf(const Operation& operation, const Reply& reply) {
  if (reply.frame()) return complete(operation.name, operation.command, reply.succeeded(), *reply.frame());
  const bool isUnsent = reply.outcome() == ReplyOutcome::NoLink;
  return noReply(operation.name, operation.command, isUnsent ? kNotOpenMessage : kLateMessage);
}

std::string withoutSecrets(const std::string& line) {
  // In the values: in the text a number would become what is no JSON.
  Result<json::value> parsed = parseJson(line);
  if (!parsed || !parsed->is_object()) return {};
  json::value answer = *parsed;
  hideSecretsInPlace(answer);
  return writeLine(answer.get_object());
}

std::string commandOf(const Operation& operation, const std::vector<Object>& arguments) {
  if (!operation.command.empty()) return std::string(operation.command);
  const bool given = !arguments.empty() && arguments[0] && arguments[0]->is_string();
  return given ? std::string(std::string_view(arguments[0]->get_string())) : std::string();
}

void request(const Operation& operation, const std::vector<Object>& arguments,
             std::function<void(Answer)> done) {
  const auto waiting = std::make_shared<Waiting>();
  waiting->operation = operation.name;
  waiting->done = std::move(done);
  const std::string problem = operation.invoke(
      arguments,
      [waiting](const auto& item, bool success, const json::object& reply) {
        waiting->end(complete(waiting->operation, item->command.value_or(""), success, reply));
      },
      [waiting](const auto& item) {
        if (!item) {
          return waiting->end(
              noReply(waiting->operation, "", "nothing was sent: there is nothing to ask for"));
        }
        // A request that finds the link closed is timed out before it has returned.
        waiting->end(noReply(waiting->operation, item->command.value_or(""),
                             waiting->sending ? kNotOpenMessage : kLateMessage));
      });
  waiting->sending = false;
  if (!problem.empty()) return waiting->end(wrongUse(problem));
  if (!waiting->done) return;
  waiting->held = Timer::schedule(kHeldAfter, false, [waiting, command = commandOf(operation, arguments)] {
    waiting->end(noReply(waiting->operation, command, kHeldMessage));
  });
}

Result<Object> readArgument(std::string_view text) {
  // Arguments may be of any kind, a text to be read is an array or a dictionary.
  const Result<json::value> parsed = parseJson("[" + std::string(text) + "]");
  const auto last = text.find_last_not_of(" \t\r\n");
  const bool one = parsed && parsed->is_array() && parsed->get_array().size() == 1;
  if (!one || last == std::string_view::npos || text[last] == ',') {
    return cliError("is not one JSON text (a text needs its quotes: '\"text\"')");
  }
  return Object(json::value(parsed->get_array()[0]));
}

Result<const Operation*> findOperation(std::string_view name) {
  const OperationRegistry& registry = OperationRegistry::standard();
  if (const Operation* operation = registry.find(name)) return operation;
  std::string problem = "no operation of this name";
  const auto near = nearNames(name, registry);
  for (const std::string& candidate : near) {
    problem += (candidate == near.front() ? "; near ones: " : ", ") + candidate;
  }
  if (near.empty()) problem += "; see `orv operations`";
  return cliError(std::move(problem));
}

}  // namespace orv::cli
