#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/TextFormat.h>
#include <orvnetwork/data/Types.h>
#include <orvnetwork/platform/Executor.h>
#include <orvnetwork/platform/FileSystem.h>

#include <memory>
#include <string_view>
#include <vector>

namespace orv {

/// The rolling diagnostic log: lines with a time stamp in text files under the documents folder, ten files at
/// most, a new one when the running one has passed 2 MiB.
///
/// Lines are queued in memory and written by a thread of the log's own, in the order in which they were
/// queued; a caller never waits for the disk. The queue is bounded (64 MiB): while it is full lines are lost,
/// and a line in the log says how many. Lines that wait when the process exits are written then.
///
/// Every operation may be called on any thread. Those that work on the file itself run on the caller's thread
/// and are not ordered with lines that are being written.
class ORV_EXPORT QXFileLog {
 public:
  /// The one instance, made on first use and never destroyed. Making it cleans the folder and opens a file on
  /// the caller's thread.
  static QXFileLog& standard();

  QXFileLog(const QXFileLog&) = delete;
  QXFileLog& operator=(const QXFileLog&) = delete;

  /// Queues a line made from a format and arguments; see `TextFormat.h` for the slots.
  template <typename... Args>
  void log(FormatText<std::type_identity_t<Args>...> format, const Args&... args) noexcept {
    try {
      logString(formatText<Args...>(format, args...));
    } catch (...) {
      logString(format.text());
    }
  }

  /// Queues a line, which may hold any bytes, line feeds included.
  void logString(std::string_view message) noexcept;

  /// Absent when the running file cannot be read; else empty, since reading begins at the file's end.
  OptionalString latestLogs() const;

  /// Writes `latestLogs` to the console.
  void showLog() const;

  /// The size of the item at a path in bytes; 0 when it cannot be looked at.
  std::uint64_t logFileSize(const OptionalString& path) const;

  /// Goes on to a new file if more than 2,097,152 bytes were written to the running one, and then removes the
  /// oldest file if there are more than ten.
  void checkFileSize();

  /// Closes the running file and opens the newest one if it is of today and has less than 1,585,152 bytes,
  /// else a new one named after this second. Always true.
  bool openNewLogFile();

  /// Flushes the running file to the disk.
  void synchronizeFile();

  /// Flushes and closes the running file. Lines are lost from then on until a file is opened again.
  void saveLog();

  /// What the server's request for the log calls. It does nothing.
  void fileUploadLog();

  /// Whether each line is written to the console too; false at first.
  bool consoleLog() const;
  void setConsoleLog(bool consoleLog);

  /// The folder of the log; absent when it could not be made.
  OptionalString logDirPath() const;
  /// The file that is being written.
  OptionalString logFilePath() const;
  /// The file that is being written, positioned at its end; null when none is open. It may be used on any
  /// thread, and goes dead when the log leaves the file.
  std::shared_ptr<FileHandle> writeFileHandle() const;
  /// Lines written since the last look at the file's size.
  std::int64_t logTimes() const;
  /// The names of the log files when the running one was opened, oldest first, and its own.
  std::vector<std::string> logFiles() const;
  /// The queue on which lines are written, one after another: a task posted here runs when the lines queued
  /// before it are in the file.
  Executor& opQueue();

 private:
  struct Implementation;

  QXFileLog();
  ~QXFileLog();

  std::unique_ptr<Implementation> implementation_;
};

}  // namespace orv
