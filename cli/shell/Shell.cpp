#include "cli/shell/Shell.h"

#include <orvnetwork/api/OperationRegistry.h>
#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/data/Json.h>
#include <orvnetwork/data/Secrets.h>
#include <orvnetwork/platform/Console.h>

#include "cli/Commands.h"
#include "cli/NearNames.h"
#include "cli/Request.h"
#include "cli/SingleRequest.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <variant>

namespace orv::cli {

namespace {

constexpr std::string_view kHelp =
    "Requests        OPERATION [ARG...]      any operation by its full keyword form; each ARG is JSON\n"
    "                invoke OPERATION [ARG...], call COMMAND [VALUES], operations [TEXT]\n"
    "User            login MOBILE [--code], whoami, logout\n"
    "Courses         courses [--start S] [--count C] [--force] [--status 1|2|3]\n"
    "                local list | create | add RECORD | delete ROOMID...\n"
    "                created ROOMID          what an application tells when a local course was published\n"
    "What happens    watch on|off            notifications, changes of the link and the session\n"
    "                console on|off          the diagnostic console\n"
    "                log [--since TIME] [--grep TEXT] [--follow] | [--path]\n"
    "                stats [--for SECONDS]   what has passed on the link, after some PINGs\n"
    "Server          server [CONTROL]        the embedded server: its state, pushes and faults\n"
    "                                        e.g. server {\"push\":\"Rooms.Push.Message\"}\n"
    "Leave           exit, or Ctrl-D; Ctrl-C gives up a line or what runs\n"
    "`help COMMAND` tells more about some. Tab completes and tells what arguments an operation takes.\n";

bool isCommand(std::string_view word) {
  const auto& commands = shellCommands();
  return std::ranges::find(commands, word) != commands.end() || word == "quit";
}

std::string unknownWord(std::string_view wrong) {
  std::string problem = "no command or operation of this name";
  std::vector<std::string> near;
  for (const std::string& command : shellCommands()) {
    if (editDistance(wrong, command) <= 2) near.push_back(command);
  }
  for (std::string& name : nearNames(wrong, OperationRegistry::standard())) near.push_back(std::move(name));
  for (const std::string& name : near) problem += (&name == &near.front() ? "; near ones: " : ", ") + name;
  return near.empty() ? problem + "; see `help`" : problem;
}

}  // namespace

Shell::Shell(Context& context) : context_(context) {
  context_.keepHost();
}

KnownCourses Shell::knownCourses() {
  const QXCourseManager& manager = QXCourseManager::getInstance();
  return {manager.localCourseList(), manager.cloudCourseList()};
}

void Shell::setWatching(bool watching) {
  watcher_.reset();
  if (watching) watcher_.emplace(context_.host(), context_.output);
}

void Shell::setConsole(bool on, std::function<void(std::string_view line)> sink) {
  if (sink) consoleSink_ = std::move(sink);
  if (!on) return Console::setSink([](std::string_view) {});
  if (consoleSink_) return Console::setSink(consoleSink_);
  installConsoleSink();
}

ExitCode Shell::carryOut(const std::string& line) {
  const Words words = splitWords(line);
  if (words.empty()) return ExitCode::Success;
  if (words.back().open) return wrong("a quote or a bracket is left open");
  try {
    return dispatch(words);
  } catch (const std::exception& error) {
    return wrong(hideSecrets(error.what()));
  }
}

ExitCode Shell::dispatch(const Words& words) {
  const std::string& first = words.front().text;
  if (first == "exit" || first == "quit") {
    over_ = true;
    return ExitCode::Success;
  }
  if (first == "help") return help(words);
  if (first == "watch" || first == "console") return switchOf(words);
  if (first == "server") return steer(words);
  if (first == "created") return tellCreated(words);
  if (first == "call") return call(words);
  if (first == "invoke") return invoke(words, 1);
  if (OperationRegistry::standard().find(first) != nullptr) return invoke(words, 0);
  if (!isCommand(first)) return wrong(unknownWord(first));
  return parse(words);
}

ExitCode Shell::invoke(const Words& words, std::size_t first) {
  if (words.size() <= first) return wrong("invoke: the full keyword form of an operation is expected");
  if (words[first].text == "--batch") return wrong("a shell is a batch already: type the operations");
  InvokeCommand command{words[first].text, {}};
  for (std::size_t i = first + 1; i < words.size(); ++i) command.arguments.push_back(words[i].text);
  return run(command, context_);
}

ExitCode Shell::call(const Words& words) {
  if (words.size() < 2 || words.size() > 3) return wrong("call COMMAND [VALUES] is expected");
  CallCommand command{words[1].plain(), {}};
  if (words.size() == 3) command.values = words[2].text;
  return run(command, context_);
}

ExitCode Shell::parse(const Words& words) {
  const bool takesJson = words.size() > 1 && words[0].text == "local" && words[1].text == "add";
  std::vector<std::string> texts;
  for (const Word& word : words) texts.push_back(takesJson ? word.text : word.plain());
  const auto parsed = parseShellLine(texts);
  if (const auto* text = std::get_if<Text>(&parsed)) {
    context_.output.text(text->text);
    return ExitCode::Success;
  }
  if (const auto* problem = std::get_if<WrongUse>(&parsed)) return wrong(hideSecrets(problem->message));
  const auto& invocation = std::get<Invocation>(parsed);
  Output& output = context_.output;
  const bool wantsTables = output.wantsTables();
  output.setWantsTables(wantsTables && !invocation.options.json);
  const ExitCode code =
      std::visit([this](const auto& command) { return run(command, context_); }, invocation.command);
  output.setWantsTables(wantsTables);
  return code;
}

ExitCode Shell::switchOf(const Words& words) {
  const bool on = words.size() == 2 && words[1].text == "on";
  if (!on && (words.size() != 2 || words[1].text != "off")) {
    return wrong(words[0].text + " on|off is expected");
  }
  if (words[0].text == "watch") {
    setWatching(on);
  } else {
    setConsole(on);
  }
  return done({{words[0].text, on ? "on" : "off"}});
}

ExitCode Shell::steer(const Words& words) {
  DevServer* const server = context_.host().server();
  if (server == nullptr) {
    return wrong("the embedded server does not run: the shell uses " + context_.host().shownUrl());
  }
  if (words.size() > 2) return wrong("server [CONTROL] is expected, CONTROL being one JSON dictionary");
  if (words.size() == 1) return done({{"server", server->state()}});
  const Result<json::value> parsed = parseJson(words[1].text);
  if (!parsed || !parsed->is_object()) return wrong("CONTROL must be a JSON dictionary");
  json::object state = server->control(parsed->get_object());
  // The counters are of no interest each time.
  for (const char* name : {"connections", "counters", "faults"}) state.erase(name);
  return done({{"server", std::move(state)}});
}

ExitCode Shell::tellCreated(const Words& words) {
  const bool isNumber = words.size() == 2 && words[1].text.size() < 19 && !words[1].text.empty() &&
                        words[1].text.find_first_not_of("0123456789") == std::string::npos;
  if (!isNumber) return wrong("created ROOMID is expected, the number of the local course");
  const json::object userInfo{{"roomID", std::stoll(words[1].text)}};
  QXCourseManager::getInstance().courseCreateFinishedNotification({"", nullptr, &userInfo});
  return done();
}

ExitCode Shell::help(const Words& words) {
  if (words.size() == 1) {
    context_.output.text(kHelp);
    return ExitCode::Success;
  }
  if (const Operation* const operation = OperationRegistry::standard().find(words[1].text)) {
    context_.output.line(operation->signature());
    return ExitCode::Success;
  }
  if (!isCommand(words[1].text)) return wrong(unknownWord(words[1].text));
  static constexpr std::array<std::string_view, 7> kOwn = {"help",  "exit",   "quit",   "console",
                                                           "watch", "server", "created"};
  if (std::ranges::find(kOwn, words[1].text) != kOwn.end()) return help({words.front()});
  return parse({words[1], Word{"--help"}});
}

ExitCode Shell::done(json::object answer) {
  json::object line{{"outcome", "complete"}, {"success", true}};
  for (auto& member : answer) line.emplace(member.key(), std::move(member.value()));
  context_.output.line(line);
  return ExitCode::Success;
}

ExitCode Shell::wrong(const std::string& message) {
  return refuse(message, context_.output);
}

}  // namespace orv::cli
