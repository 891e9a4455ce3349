#include "cli/TraceRun.h"

#include <orvnetwork/transport/QXWebSocketMgr.h>

#include "cli/Output.h"
#include "cli/TerminalText.h"
#include "cli/WrongOptions.h"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <system_error>

namespace orv::cli {

namespace {

/// A file from an earlier run may be open to others.
void closeToOthers(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode)) ::chmod(path.c_str(), S_IRUSR | S_IWUSR);
}

}  // namespace

TraceRun::TraceRun(const std::string& path, bool shareable) {
  std::error_code error;
  const std::filesystem::path absolute = std::filesystem::absolute(path, error);
  auto file = TraceFile::open(error ? path : absolute.string());
  if (!file) throw WrongOptions("--trace: " + file.error().description);
  file_ = *std::move(file);
  closeToOthers(file_->path());
  QXWebSocketMgr::standard().setFrameTrace(TraceFile::sinkOf(file_),
                                           shareable ? TraceMode::Shareable : TraceMode::SecretsHidden);
}

TraceRun::~TraceRun() {
  QXWebSocketMgr& link = QXWebSocketMgr::standard();
  link.flushFrameTrace();
  link.setFrameTrace({});
  const auto trouble = file_->trouble();
  if (!trouble) return;
  writeAll(STDERR_FILENO, "orv: the trace misses " + std::to_string(file_->lost()) +
                              (file_->lost() == 1 ? " entry: " : " entries: ") +
                              printable(trouble->description) + "\n");
}

}  // namespace orv::cli
