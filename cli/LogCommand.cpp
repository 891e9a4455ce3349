#include <orvnetwork/data/Secrets.h>
#include <orvnetwork/data/Types.h>
#include <orvnetwork/support/QXPathManager.h>

#include "cli/Commands.h"
#include "cli/ExitCode.h"
#include "cli/SingleRequest.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>

namespace orv::cli {

namespace {

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
  std::ifstream file(*path, std::ios::binary);
  // A file is little more than 2 MiB.
  const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  if (!file) return refuse("the log cannot be read: " + path->string(), output);
  output.text(hideSecrets(text));
  return ExitCode::Success;
}

}  // namespace orv::cli
