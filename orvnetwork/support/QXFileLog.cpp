#include "orvnetwork/support/QXFileLog.h"

#include <orvnetwork/platform/ConsoleLog.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/support/detail/LogFileWriter.h>
#include <orvnetwork/support/detail/LogLineQueue.h>

#include <atomic>
#include <cstdlib>
#include <mutex>
#include <system_error>

namespace orv {

namespace {

/// A console sink of the host that logs while the log is being opened, on the thread that opens it.
thread_local bool isOpening = false;

}  // namespace

struct QXFileLog::Implementation final : Executor {
  void post(Task task) override {
    queue.pushTask(std::move(task));
    drain->nudge();
  }

  /// Writes what is queued. One call at a time, on the drain's thread or that of the process's exit.
  void writeQueued() {
    // What the host's console sink logs while the log is being opened waits until there is a file.
    if (!isOpen.load(std::memory_order_acquire)) return;
    queue.take().forEach(
        [this](std::string_view message) {
          if (echo.load(std::memory_order_relaxed)) orv::consoleLog("%@", message);
          writer.add(message);
        },
        [this](Task& task) {
          writer.finish();
          runGuarded("log queue", task);
        });
    if (isEnding.load()) {
      writer.finishForGood();
    } else {
      writer.finish();
    }
  }

  void writeLastLines() {
    isEnding = true;
    drain->runNow();
  }

  void open() {
    runGuarded("opening the log", [this] { folder.open(); });
    isOpen.store(true, std::memory_order_release);
    drain->nudge();
  }

  std::atomic<bool> isOpen{false};
  std::atomic<bool> isEnding{false};
  std::atomic<bool> echo{false};
  LogFolder folder;
  LogFileWriter writer{folder};
  LogLineQueue queue;
  std::unique_ptr<BackgroundDrain> drain = Platform::current().makeBackgroundDrain([this] { writeQueued(); });
};

QXFileLog& QXFileLog::standard() {
  static QXFileLog& log = *new QXFileLog;
  if (log.implementation_->isOpen.load(std::memory_order_acquire)) return log;
  // Opening tells the console where the log is, and the host's sink may log in its turn: its lines are queued.
  static std::once_flag opened;
  if (!isOpening) {
    std::call_once(opened, [] {
      isOpening = true;
      log.implementation_->open();
      isOpening = false;
    });
  }
  return log;
}

QXFileLog::QXFileLog() : implementation_(std::make_unique<Implementation>()) {
  std::atexit([] { standard().implementation_->writeLastLines(); });
}

QXFileLog::~QXFileLog() = default;

void QXFileLog::logString(std::string_view message) noexcept {
  try {
    implementation_->queue.pushLine(message);
  } catch (...) {
    // Out of memory: this line is lost.
  }
  implementation_->drain->nudge();
}

OptionalString QXFileLog::latestLogs() const {
  const OptionalString path = logFilePath();
  std::error_code error;
  const auto bytes = path ? Platform::current().files().read(*path, error) : std::nullopt;
  if (!bytes) return std::nullopt;
  const std::size_t begin = bytes->size();
  return bytes->substr(begin);
}

void QXFileLog::showLog() const {
  orv::consoleLog("%@", latestLogs().value_or(""));
}

std::uint64_t QXFileLog::logFileSize(const OptionalString& path) const {
  return orv::logFileSize(path);
}

void QXFileLog::checkFileSize() {
  implementation_->folder.checkFileSize();
}

bool QXFileLog::openNewLogFile() {
  return implementation_->folder.openNewLogFile();
}

void QXFileLog::synchronizeFile() {
  implementation_->folder.synchronizeFile();
}

void QXFileLog::saveLog() {
  implementation_->folder.saveLog();
}

void QXFileLog::fileUploadLog() {}

bool QXFileLog::consoleLog() const {
  return implementation_->echo.load(std::memory_order_relaxed);
}

void QXFileLog::setConsoleLog(bool consoleLog) {
  implementation_->echo.store(consoleLog, std::memory_order_relaxed);
}

OptionalString QXFileLog::logDirPath() const {
  return implementation_->folder.logDirPath();
}

OptionalString QXFileLog::logFilePath() const {
  return implementation_->folder.logFilePath();
}

std::shared_ptr<FileHandle> QXFileLog::writeFileHandle() const {
  return implementation_->folder.writeFileHandle();
}

std::int64_t QXFileLog::logTimes() const {
  return implementation_->writer.logTimes();
}

std::vector<std::string> QXFileLog::logFiles() const {
  return implementation_->folder.logFiles();
}

Executor& QXFileLog::opQueue() {
  return *implementation_;
}

}  // namespace orv
