#include "cli/CommandLine.h"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <cmath>

namespace orv::cli {

namespace {

constexpr double kLongestWait = 7 * 24 * 3600;

constexpr const char* kExitCodes =
    "Answers are JSON, a line each, on standard output; diagnostics go to standard error.\n"
    "Exit codes: 0 success, 1 wrong use, 2 refused by the server, 3 time-out or no link.";

/// Where the parser puts what it reads.
struct Parsed {
  Options options;
  std::string server, uuid, home;
  CallCommand call;
  std::string values;
  bool batch = false;
  OperationsCommand operations;
  double duration = 0;
  LogCommand log;
};

std::string checkSeconds(const std::string& text) {
  try {
    std::size_t used = 0;
    const double seconds = std::stod(text, &used);
    if (used == text.size() && std::isfinite(seconds) && seconds >= 0 && seconds <= kLongestWait) return {};
  } catch (const std::exception&) {
    // Not a number.
  }
  return "a number of seconds from 0 to " + std::to_string(static_cast<int>(kLongestWait)) + " is expected";
}

std::string checkUrl(const std::string& text) {
  for (const std::string_view scheme : {"ws://", "wss://"}) {
    if (text.size() > scheme.size() && text.starts_with(scheme)) return {};
  }
  return "a ws:// or wss:// address is expected";
}

/// The parser and its commands.
struct Grammar {
  explicit Grammar(Parsed& parsed) : app("The console host of OrvNetwork.", "orv") {
    app.require_subcommand(1);
    app.footer(kExitCodes);
    app.set_version_flag("--version", std::string("orv " ORV_VERSION));
    app.add_option("--server", parsed.server,
                   "Address of the server; without it, the embedded one is started")
        ->type_name("URL")
        ->check(checkUrl);
    app.add_option("--uuid", parsed.uuid, "Identifier of this installation; without it, a random one")
        ->type_name("TEXT");
    app.add_option("--app-version", parsed.options.appVersion, "Version of the application")
        ->type_name("V")
        ->capture_default_str();
    app.add_option("--app-build", parsed.options.appBuild, "Build of the application")
        ->type_name("B")
        ->capture_default_str();
    app.add_option("--home", parsed.home, "Where the documents folder lies; made if missing")
        ->type_name("DIR");
    app.add_option("--wait", parsed.options.wait, "How long to wait for the link")
        ->type_name("SECONDS")
        ->check(checkSeconds)
        ->capture_default_str();
    addCommands(parsed);
  }

  void addCommands(Parsed& parsed) {
    demo = app.add_subcommand("demo", "A guided tour on the embedded server");

    call = app.add_subcommand("call", "Send any command");
    call->add_option("COMMAND", parsed.call.command, "Dotted name, for example User.Post.Logout")->required();
    call->add_option("VALUES", parsed.values, "One JSON dictionary; without it, no values are sent");

    invoke = app.add_subcommand("invoke",
                                "Call an operation of the catalogue: invoke OPERATION [ARG...]\n"
                                "Each ARG is one JSON text; null and missing trailing ones are absent.");
    invoke->add_flag("--batch", parsed.batch,
                     "Read {\"operation\":…,\"args\":[…]} from standard input, a line each");
    invoke->prefix_command();

    operations = app.add_subcommand("operations", "List the catalogue");
    operations->add_option("TEXT", parsed.operations.filter,
                           "Only what has this text in its name or command");

    watch = app.add_subcommand("watch", "Print every notification as it is posted");
    watch->add_option("--for", parsed.duration, "End after this time")
        ->type_name("SECONDS")
        ->check(checkSeconds);

    log = app.add_subcommand("log", "Print the newest file of the rolling log");
    log->add_flag("--path", parsed.log.pathOnly, "Print its path only");
  }

  CLI::App app;
  CLI::App *demo = nullptr, *call = nullptr, *invoke = nullptr, *operations = nullptr, *watch = nullptr,
           *log = nullptr;
};

OptionalString ifGiven(const CLI::App& app, const std::string& name, const std::string& value) {
  return app.count(name) > 0 ? OptionalString(value) : std::nullopt;
}

std::variant<Invocation, WrongUse, Text> choose(const Grammar& grammar, Parsed& parsed) {
  parsed.options.server = ifGiven(grammar.app, "--server", parsed.server);
  parsed.options.uuid = ifGiven(grammar.app, "--uuid", parsed.uuid);
  parsed.options.home = ifGiven(grammar.app, "--home", parsed.home);
  if (parsed.options.home && parsed.options.home->empty()) return WrongUse{"--home: a folder is expected"};

  const auto with = [&](Command command) { return Invocation{parsed.options, std::move(command)}; };
  if (grammar.demo->parsed()) {
    if (parsed.options.server) return WrongUse{"demo runs on the embedded server: leave --server out"};
    return with(DemoCommand{});
  }
  if (grammar.call->parsed()) {
    parsed.call.values = ifGiven(*grammar.call, "VALUES", parsed.values);
    return with(parsed.call);
  }
  if (grammar.operations->parsed()) return with(parsed.operations);
  if (grammar.log->parsed()) return with(parsed.log);
  if (grammar.watch->parsed()) {
    WatchCommand watch;
    if (grammar.watch->count("--for") > 0) watch.duration = parsed.duration;
    return with(watch);
  }
  std::vector<std::string> rest = grammar.invoke->remaining();
  if (parsed.batch) {
    if (!rest.empty()) return WrongUse{"invoke --batch takes its operations from standard input only"};
    return with(BatchCommand{});
  }
  if (rest.empty())
    return WrongUse{"invoke: the full keyword form of an operation is expected; see `orv operations`"};
  InvokeCommand invoke{rest.front(), {}};
  invoke.arguments.assign(rest.begin() + 1, rest.end());
  return with(invoke);
}

}  // namespace

std::variant<Invocation, WrongUse, Text> parseCommandLine(int argc, const char* const* argv) {
  Parsed parsed;
  parsed.options.appVersion = ORV_VERSION;
  Grammar grammar(parsed);
  try {
    grammar.app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    return Text{grammar.app.help()};
  } catch (const CLI::CallForVersion& version) {
    return Text{std::string(version.what()) + "\n"};
  } catch (const CLI::ExtrasError&) {
    // Not the parser's own text: it repeats the arguments, and one of them may be secret.
    return WrongUse{"too many arguments, or an option after the command; see `orv --help`"};
  } catch (const CLI::RequiredError& error) {
    if (!grammar.app.get_subcommands().empty()) return WrongUse{error.what()};
    return WrongUse{"a command is expected: demo, call, invoke, operations, watch or log; see `orv --help`"};
  } catch (const CLI::ParseError& error) {
    return WrongUse{error.what()};
  }
  return choose(grammar, parsed);
}

}  // namespace orv::cli
