#include <orvnetwork/data/Types.h>
#include <orvnetwork/support/QXPathManager.h>

#include "cli/Commands.h"
#include "cli/ExitCode.h"
#include "cli/LogFile.h"
#include "cli/Output.h"
#include "cli/SingleRequest.h"
#include "cli/TerminalText.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <filesystem>
#include <string>

namespace orv::cli {

namespace {

/// A file of the log is little more than 2 MiB; one that has grown otherwise is not taken into memory.
constexpr std::size_t kMostShown = std::size_t{8} << 20;

/// The newest file of the log; absent when there is none. The log itself is not touched: making it would open
/// a new file.
std::optional<std::filesystem::path> newestLogFile() {
  const auto folder =
      std::filesystem::path(QXPathManager::sharedManager().documentDirectory()) / "OrvLog/OrvCourse";
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

}  // namespace

ExitCode run(const LogCommand& command, Context& context) {
  Output& output = context.output;
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
