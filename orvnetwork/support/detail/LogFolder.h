#pragma once

#include <orvnetwork/data/Types.h>
#include <orvnetwork/support/detail/SharedFileHandle.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

namespace orv {

/// The log's folder and the file in it that is being written: which file that is, when a new one begins, and
/// how many are kept. Operations run on the caller's thread, which may be any; each field is read and written
/// whole, but what two threads do at the same time mixes. No lock is held while files are made or listed.
class LogFolder {
 public:
  /// A running file is left for a new one when it has more bytes than this.
  static constexpr std::uint64_t kRotateAbove = 2'097'152;
  /// A file of today is not written further, when one is opened, if it has as many bytes as this.
  static constexpr std::uint64_t kReuseBelow = 1'585'152;
  static constexpr std::size_t kMaxFiles = 10;
  /// What the files beside the running one may hold together when it has been begun: one that was filled by a flood of
  /// lines, and some usual ones.
  static constexpr std::uint64_t kMostInOldFiles = std::uint64_t{80} << 20;

  /// Makes the folder, removes files of an older naming and the oldest ones beyond ten, and opens a file.
  void open();

  bool openNewLogFile();
  /// Opens one if that which is open has been removed, as another program that writes more does with the oldest. Whether
  /// it has.
  bool openNewIfRemoved();
  void checkFileSize();
  void synchronizeFile();
  void saveLog();

  OptionalString logDirPath() const;
  OptionalString logFilePath() const;
  std::vector<std::string> logFiles() const;
  std::shared_ptr<SharedFileHandle> writeFileHandle() const;

  /// Whether a rotation at `now` would open the file that is open already, because it has the name that a new
  /// file would get, and would remove no other.
  bool wouldReopenSameFile(WallTime now) const;
  /// What such a rotation leaves behind: a list without the name of the file that was removed by the one before.
  void forgetRemoved();
  /// Whether the last file could not be opened, so that there is none, though nobody has closed it.
  bool isOpeningDue() const;

 private:
  void removeOldFiles() const;
  void removeLargeFiles();
  void closeFile();

  mutable std::mutex mutex_;
  OptionalString logDirPath_;
  OptionalString logFilePath_;
  std::vector<std::string> logFiles_;
  std::shared_ptr<SharedFileHandle> writeFileHandle_;
  /// The second whose stamp the open file's name bears, if it was opened in that second.
  std::optional<std::chrono::sys_seconds> openedInSecond_;
  bool isOpeningDue_ = false;
  /// The first of `logFiles_` has been removed since the list was made.
  bool oldestRemoved_ = false;
};

/// The size of the item at a path in bytes; 0 when it cannot be looked at.
std::uint64_t logFileSize(const OptionalString& path);

}  // namespace orv
