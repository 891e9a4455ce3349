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
/// and a line in the log says how many. So are the files, should lines come faster than a new one can be begun, which is
/// once a second: 64 MiB for one and 80 MiB for the others together. Lines that wait when the process exits are written
/// then.
///
/// Several programs may write the same files: each line stays in one piece. Files are closed to other users.
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

  /// Queues a line made from a format and arguments, such as `log("%@ took %ld ms", name, count)`; see `TextFormat.h`
  /// for the slots, whose number and kinds are checked when the call is compiled. Returns before the line is written.
  /// When the arguments cannot be turned into text, the format itself is the line.
  template <typename... Args>
  void log(FormatText<std::type_identity_t<Args>...> format, const Args&... args) noexcept {
    try {
      logString(formatText<Args...>(format, args...));
    } catch (...) {
      logString(format.text());
    }
  }

  /// Queues a line and returns. In the file it becomes "YYYY/MM/dd HH:mm:ss.SSS - message" and a line feed: local
  /// time at which it was taken from the queue, and the year that its week belongs to, which around New Year may be
  /// the one before or after. Every tenth line flushes the file to the disk; after every 101st the file's size is
  /// looked at.
  ///
  /// @param message UTF-8 by custom, but any bytes are taken, line feeds included; one before what looks like the date
  /// of a line of the log is written as `\\n`, so that no message looks like another line
  void logString(std::string_view message) noexcept;

  /// Absent when the running file cannot be read; else empty, since reading begins at the file's end.
  OptionalString latestLogs() const;

  /// Writes `latestLogs` to the console: an empty line.
  void showLog() const;

  /// The size of the item at a path in bytes; 0 when it cannot be looked at.
  std::uint64_t logFileSize(const OptionalString& path) const;

  /// Goes on to a new file if more than 2,097,152 bytes were written to the running one, and then removes the
  /// oldest file if there are more than ten, and more of them while the others hold more than 80 MiB. The log does so
  /// by itself, and not in the second in which it has begun a file; a day that begins makes no new file.
  void checkFileSize();

  /// Flushes and closes the running file and opens the newest one of the folder if it is of today and has less than
  /// 1,585,152 bytes, else a new one named after this second: "yyyyMMddHHmmss_0.log", in local time. Always true,
  /// even when no file could be opened; lines are lost then, and `writeFileHandle` is null, until it is tried again
  /// with the next look at the size.
  bool openNewLogFile();

  /// Flushes the running file to the disk. Lines that are still in the queue are not in it yet: a task on `opQueue`
  /// comes behind them.
  void synchronizeFile();

  /// Flushes and closes the running file. Lines are lost from then on until a file is opened again.
  void saveLog();

  /// For a server that asks for the log (`QXNotificationSystemUploadLog`). It does nothing: what is done then is the
  /// host's affair.
  void fileUploadLog();

  /// Whether each line is written to the console too, without the log's time stamp, by the thread that writes the
  /// file; false at first. A change holds from the next line that is written, which may have been queued before.
  bool consoleLog() const;
  void setConsoleLog(bool consoleLog);

  /// The folder of the log, "OrvLog/OrvCourse" in the documents folder as it was when the log was made; it is closed
  /// to other users. Absent when it could not be made: then there is no file either, and lines are lost.
  OptionalString logDirPath() const;
  /// The full path of the file that is being written, or was last; absent without a folder.
  OptionalString logFilePath() const;
  /// The file that is being written, positioned at its end, where everything goes that is written to it; null when none
  /// is open. It may be used on any thread, and goes dead when the log leaves the file.
  std::shared_ptr<FileHandle> writeFileHandle() const;
  /// Lines written since the last look at the file's size: 0 to 100.
  std::int64_t logTimes() const;
  /// The names of the log files when the running one was opened, oldest first, and its own last. The one file that a
  /// rotation removes for their number stays in the list until the next rotation.
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
