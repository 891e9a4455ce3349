#include "cli/CommandLine.h"

#include "cli/HelpText.h"
#include "cli/ProxyOption.h"

#include <algorithm>
#include <charconv>
#include <string_view>
#include <system_error>

namespace orv::cli {

namespace {

/// A number that the table has looked at.
std::uint64_t numberOf(const OptionalString& text, std::uint64_t otherwise) {
  std::uint64_t number = otherwise;
  if (text) std::from_chars(text->data(), text->data() + text->size(), number);
  return number;
}

OptionalString argument(const GivenWords& given, std::size_t index) {
  return index < given.arguments.size() ? OptionalString(given.arguments[index]) : std::nullopt;
}

Options optionsOf(const GivenWords& given, const Settings& settings) {
  const auto value = [&](std::string_view name) -> OptionalString {
    if (auto said = given.value(name)) return said;
    const auto last =
        std::ranges::find(settings.rbegin(), settings.rend(), name, &Settings::value_type::first);
    return last == settings.rend() ? std::nullopt : OptionalString(last->second);
  };
  const auto values = [&](std::string_view name) {
    std::vector<std::string> all = given.values(name);
    if (!all.empty()) return all;
    for (const auto& [setting, said] : settings) {
      if (setting == name) all.push_back(said);
    }
    return all;
  };
  Options options;
  options.server = value("--server");
  if (options.server == "embedded") options.server.reset();
  options.home = value("--home");
  options.uuid = value("--uuid");
  options.appVersion = value("--app-version").value_or(ORV_VERSION);
  options.appBuild = value("--app-build").value_or(options.appBuild);
  if (const auto wait = value("--wait")) options.wait = std::stod(*wait);
  if (const auto way = value("--proxy")) options.proxy = readProxyOption(*way).value_or(ProxySettings());
  options.roots = values("--root");
  options.pins = values("--pin");
  options.certificate = value("--cert");
  options.key = value("--key");
  options.wantsTls13 = value("--tls-min") == "1.3";
  options.trace = given.value("--trace");
  options.shareable = given.has("--shareable");
  options.json = given.has("--json");
  options.quiet = given.has("--quiet");
  return options;
}

using Made = std::variant<Command, WrongUse>;

Made makeInvoke(const GivenWords& given) {
  if (given.has("--batch")) {
    if (given.arguments.empty()) return BatchCommand{};
    return WrongUse{"invoke --batch takes its operations from standard input only"};
  }
  if (given.arguments.empty()) {
    return WrongUse{"invoke: the full keyword form of an operation is expected; see `orv operations`"};
  }
  return InvokeCommand{given.arguments.front(), {given.arguments.begin() + 1, given.arguments.end()}};
}

Made makeDelete(const GivenWords& given) {
  LocalDeleteCommand command;
  for (const std::string& text : given.arguments) {
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) {
      return WrongUse{"ROOMID: a whole number is expected"};
    }
    command.roomIDs.push_back(number);
  }
  return command;
}

Made makeCourses(const GivenWords& given) {
  CoursesCommand command;
  command.start = numberOf(given.value("--start"), command.start);
  command.count = numberOf(given.value("--count"), command.count);
  command.force = given.has("--force");
  if (const auto status = given.value("--status")) command.status = numberOf(status, 0);
  return command;
}

Made makeWatch(const GivenWords& given) {
  WatchCommand command;
  if (const auto duration = given.value("--for")) command.duration = std::stod(*duration);
  command.stats = given.has("--stats");
  return command;
}

Made makeStats(const GivenWords& given) {
  StatsCommand command;
  if (const auto duration = given.value("--for")) command.duration = std::stod(*duration);
  return command;
}

Made makeLog(const GivenWords& given) {
  const LogCommand command{given.has("--path"), given.has("--follow"), given.value("--since"),
                           given.value("--grep")};
  if (command.pathOnly && (command.follow || command.since || command.grep)) {
    return WrongUse{"log --path takes no other option of log"};
  }
  return command;
}

Made makeCommand(const GivenWords& given) {
  const std::string_view name = given.command->name;
  if (name == "demo") return DemoCommand{};
  if (name == "shell") return ShellCommand{};
  if (name == "call") return CallCommand{given.arguments[0], argument(given, 1)};
  if (name == "invoke") return makeInvoke(given);
  if (name == "operations") return OperationsCommand{argument(given, 0).value_or("")};
  if (name == "watch") return makeWatch(given);
  if (name == "stats") return makeStats(given);
  if (name == "courses") return makeCourses(given);
  if (name == "local list") return LocalListCommand{};
  if (name == "local create") {
    return LocalCreateCommand{given.value("--title"), numberOf(given.value("--count"), 1)};
  }
  if (name == "local add") return LocalAddCommand{given.arguments[0]};
  if (name == "local delete") return makeDelete(given);
  if (name == "log") return makeLog(given);
  if (name == "doctor") return DoctorCommand{given.has("--verbose")};
  if (name == "login") return LoginCommand{given.arguments[0], given.has("--code")};
  if (name == "whoami") return WhoamiCommand{};
  return LogoutCommand{};
}

Parsed parse(std::span<const std::string> words, WordsFrom from,
             const std::function<Result<Settings>()>& settings) {
  auto read = readWords(words, from);
  if (auto* wrong = std::get_if<WrongUse>(&read)) return std::move(*wrong);
  const GivenWords& given = std::get<GivenWords>(read);
  if (given.has("--help")) {
    return Text{given.command == nullptr ? helpOfProgram() : helpOf(*given.command)};
  }
  if (given.has("--version")) return Text{"orv " ORV_VERSION "\n"};
  Made made = makeCommand(given);
  if (auto* wrong = std::get_if<WrongUse>(&made)) return std::move(*wrong);
  Invocation invocation{{}, std::move(std::get<Command>(made))};
  const bool isDemo = std::holds_alternative<DemoCommand>(invocation.command);
  if (isDemo && given.value("--server").value_or("embedded") != "embedded") {
    return WrongUse{"demo runs on the embedded server: leave --server out"};
  }
  if (given.has("--shareable") && !given.has("--trace")) {
    return WrongUse{"--shareable belongs to --trace FILE"};
  }
  const Result<Settings> said = settings();
  if (!said) return WrongUse{said.error().description};
  invocation.options = optionsOf(given, *said);
  if (isDemo) {
    // The tour keeps away from what a person has settled on, who may be signed in there.
    invocation.options.server.reset();
    invocation.options.home = given.value("--home");
  }
  return invocation;
}

}  // namespace

Parsed parseCommandLine(std::span<const std::string> words,
                        const std::function<Result<Settings>()>& settings) {
  return parse(words, WordsFrom::CommandLine, settings);
}

Parsed parseShellLine(std::span<const std::string> words) {
  return parse(words, WordsFrom::Shell, [] { return Result<Settings>(Settings()); });
}

}  // namespace orv::cli
