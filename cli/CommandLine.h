#pragma once

#include <orvnetwork/data/Types.h>
#include <orvnetwork/platform/ProxySettings.h>

#include "cli/GivenWords.h"
#include "cli/Settings.h"

#include <functional>
#include <span>
#include <string>
#include <variant>
#include <vector>

namespace orv::cli {

/// What every command takes.
struct Options {
  /// Address of the server; absent: the embedded one.
  OptionalString server;
  /// Absent: a random one.
  OptionalString uuid;
  std::string appVersion;
  std::string appBuild = "1";
  /// Where the documents folder lies; absent: the user's.
  OptionalString home;
  /// Which way the link goes out.
  ProxySettings proxy;
  /// How long to wait for the link to be up, in seconds.
  double wait = 10;
  /// Files of root certificates that are trusted beside the machine's own, and pins of keys of which one has to be there.
  std::vector<std::string> roots;
  std::vector<std::string> pins;
  /// What the client shows of itself: files of a certificate and its key.
  OptionalString certificate;
  OptionalString key;
  /// Whether TLS 1.3 is the lowest version, in the place of 1.2.
  bool wantsTls13 = false;
  /// The file that the trace of frames goes to; absent: there is none.
  OptionalString trace;
  /// Whether the trace shows only what strangers may see.
  bool shareable = false;
  /// Whether answers are lines of JSON on a terminal, too.
  bool json = false;
  /// Whether standard error stays without the console and without progress.
  bool quiet = false;
};

struct DemoCommand {};
struct CallCommand {
  std::string command;
  OptionalString values;
};
struct InvokeCommand {
  std::string operation;
  std::vector<std::string> arguments;
};
struct BatchCommand {};
struct OperationsCommand {
  std::string filter;
};
struct WatchCommand {
  /// In seconds; absent: until interrupted.
  std::optional<double> duration;
  /// Whether the statistics of the link are printed at the end.
  bool stats = false;
};
struct StatsCommand {
  /// In seconds; absent: as long as some PINGs take.
  std::optional<double> duration;
};
struct CoursesCommand {
  std::uint64_t start = 0;
  std::uint64_t count = 30;
  bool force = false;
  /// Of live courses, the list wanted; absent: recorded courses.
  std::optional<std::uint64_t> status;
};
struct LocalListCommand {};
struct LocalCreateCommand {
  OptionalString title;
  std::uint64_t count = 1;
};
struct LocalAddCommand {
  std::string record;
};
struct LocalDeleteCommand {
  std::vector<std::int64_t> roomIDs;
};
struct ShellCommand {};
struct LogCommand {
  bool pathOnly = false;
  bool follow = false;
  /// As it was given, for `logStamp`.
  OptionalString since;
  OptionalString grep;
};
struct DoctorCommand {
  bool isVerbose = false;
};
struct LoginCommand {
  std::string mobile;
  /// Whether a verification code is asked for instead of the password.
  bool byCode = false;
};
struct WhoamiCommand {};
struct LogoutCommand {};

using Command = std::variant<DemoCommand, CallCommand, InvokeCommand, BatchCommand, OperationsCommand,
                             WatchCommand, LogCommand, DoctorCommand, LoginCommand, WhoamiCommand,
                             LogoutCommand, CoursesCommand, LocalListCommand, LocalCreateCommand,
                             LocalAddCommand, LocalDeleteCommand, ShellCommand, StatsCommand>;

/// The command line asks for a text, such as the help.
struct Text {
  std::string text;
};

struct Invocation {
  Options options;
  Command command;
};

using Parsed = std::variant<Invocation, WrongUse, Text>;

/// Reads the words of a command line behind the program's name. What was said once for all is asked for where a command is
/// to be run, and counts where the words say nothing.
Parsed parseCommandLine(std::span<const std::string> words,
                        const std::function<Result<Settings>()>& settings);
/// Reads the words of a line of the shell.
Parsed parseShellLine(std::span<const std::string> words);

}  // namespace orv::cli
