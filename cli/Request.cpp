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

/// A request that has neither a reply nor a time-out by then is held by the library until there is a session.
constexpr Seconds kHeldAfter{12};

constexpr std::string_view kHeldMessage =
    "waiting for a session: the server wants a log-in first, and the request is held until one succeeds";

Answer complete(std::string_view operation, const QXRequestItem& item, bool success,
                const json::object& reply) {
  const json::object answer{{"operation", operation},
                            {"command", item.command.value_or("")},
                            {"outcome", "complete"},
                            {"success", success},
                            {"reply", reply}};
  const ExitCode code = success ? ExitCode::Success : ExitCode::Refused;
  if (std::string line = writeLine(answer); !line.empty()) return {std::move(line), code};
  return {writeLine({{"operation", operation},
                     {"command", item.command.value_or("")},
                     {"outcome", "complete"},
                     {"success", success},
                     {"message", "the reply is nested too deep to be shown"}}),
          code};
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
             std::function<void(Answer)> done,
             std::function<void(bool success, const json::object& reply)> seen) {
  const auto waiting = std::make_shared<Waiting>();
  waiting->operation = operation.name;
  waiting->done = std::move(done);
  const std::string problem = operation.invoke(
      arguments,
      [waiting, seen = std::move(seen)](const auto& item, bool success, const json::object& reply) {
        // A request that was held and given up may be answered later.
        if (seen && waiting->done) seen(success, reply);
        waiting->end(complete(waiting->operation, *item, success, reply));
      },
      [waiting](const auto& item) {
        if (!item) {
          return waiting->end(
              noReply(waiting->operation, "", "nothing was sent: there is nothing to ask for"));
        }
        // A request that finds the link closed is timed out before it has returned.
        waiting->end(noReply(waiting->operation, item->command.value_or(""),
                             waiting->sending ? "the link is not open" : "no reply within 10 s"));
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
