#include <orvnetwork/data/Types.h>
#include <orvnetwork/platform/Timer.h>
#include <orvnetwork/support/QXPathManager.h>

#include "cli/Commands.h"
#include "cli/ExitCode.h"
#include "cli/Host.h"
#include "cli/LogFile.h"
#include "cli/LogFilter.h"
#include "cli/LogFollower.h"
#include "cli/LogTime.h"
#include "cli/Output.h"
#include "cli/SingleRequest.h"
#include "cli/TerminalText.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <ctime>
#include <filesystem>
#include <string>

namespace orv::cli {

namespace {

/// A file of the log is little more than 2 MiB; one that has grown otherwise is not taken into memory.
constexpr std::size_t kMostShown = std::size_t{8} << 20;

constexpr Seconds kLookEvery{0.2};

/// Where the files of the log lie. The log itself is not touched: making it would open a new file.
std::filesystem::path logFolder() {
  return std::filesystem::path(QXPathManager::sharedManager().documentDirectory()) / "OrvLog/OrvCourse";
}

/// The newest file of the log; absent when there is none.
std::optional<std::filesystem::path> newestLogFile() {
  const auto folder = logFolder();
  std::optional<std::filesystem::path> newest;
  std::error_code error;
  for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
       entry.increment(error)) {
    if (entry->path().extension() != ".log") continue;
    // The names begin with the time at which the files were made.
    if (!newest || newest->filename() < entry->path().filename()) newest = entry->path();
  }
  return newest;
}

/// Prints what is wanted of the log, and where it is followed goes on until it is interrupted or nobody reads any more.
ExitCode printEntries(const LogCommand& command, Context& context) {
  Output& output = context.output;
  OptionalString since;
  if (command.since) since = logStamp(*command.since, std::time(nullptr));
  LogFollower log(logFolder(), since ? LogFollower::From::Oldest : LogFollower::From::Newest);
  LogFilter filter(since, command.grep);
  const auto print = [&] {
    for (std::string lines = log.read(); !lines.empty() && !output.failed(); lines = log.read()) {
      if (const std::string text = filter.take(lines); !text.empty()) output.text(text);
    }
    if (const std::string text = filter.flush(); !text.empty()) output.text(text);
  };
  if (!command.follow) {
    print();
    return log.hasFile() ? ExitCode::Success : refuse("there is no log yet", output);
  }
  Host& host = context.host();
  const auto look = Timer::schedule(kLookEvery, true, [] { Host::notice(); });
  host.runUntil([&] {
    print();
    return output.failed() || Output::abandoned();
  });
  look->invalidate();
  return ExitCode::Success;
}

}  // namespace

ExitCode run(const LogCommand& command, Context& context) {
  Output& output = context.output;
  if (command.follow || command.since || command.grep) return printEntries(command, context);
  const auto path = newestLogFile();
  if (!path) return refuse("there is no log yet", output);
  if (command.pathOnly) {
    output.line(path->string());
    return ExitCode::Success;
  }
  const Result<LogTail> tail = readLogTail(*path, kMostShown);
  if (!tail) {
    return refuse("the log cannot be read: " + path->string() + ": " + tail.error().description, output);
  }
  if (tail->skipped > 0) {
    writeAll(STDERR_FILENO,
             "orv: the first " + std::to_string(tail->skipped) + " bytes of the log are left out\n");
  }
  output.text(printable(hideSecretsInLog(tail->text)));
  return ExitCode::Success;
}

}  // namespace orv::cli
