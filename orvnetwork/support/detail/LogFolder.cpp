#include "orvnetwork/support/detail/LogFolder.h"

#include <orvnetwork/data/PathText.h>
#include <orvnetwork/dates/LocalTime.h>
#include <orvnetwork/platform/ConsoleLog.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/platform/PropertyListFile.h>
#include <orvnetwork/support/QXPathManager.h>
#include <orvnetwork/support/detail/LogStamp.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <utility>

namespace orv {

namespace {

constexpr std::string_view kFolder = "OrvLog/OrvCourse";
constexpr const char* kSuffix = ".log";
constexpr const char* kNameEnd = "_0.log";
constexpr std::size_t kDayLength = 8;

OptionalString pathIn(const OptionalString& folder, const std::string& name) {
  if (!folder) return std::nullopt;
  return appendPathComponent(*folder, name);
}

std::vector<std::string> logFilesIn(const OptionalString& folder) {
  return QXPathManager::sharedManager()
      .filesAtPath_hasSuffix(folder, kSuffix)
      .value_or(std::vector<std::string>());
}

void removeFile(const OptionalString& folder, const std::string& name) {
  QXPathManager::sharedManager().removeFolderOrFile(pathIn(folder, name));
}

std::shared_ptr<SharedFileHandle> openAtEnd(const OptionalString& path) {
  // Several programs may write the same file, so lines go to wherever its end is by then.
  auto file = path ? Platform::current().files().openForAppending(*path, kPrivateFileMode) : nullptr;
  if (!file) return nullptr;
  file->seekToEnd();
  return std::make_shared<SharedFileHandle>(std::move(file));
}

}  // namespace

std::uint64_t logFileSize(const OptionalString& path) {
  return path ? Platform::current().files().fileSize(*path).value_or(0) : 0;
}

void LogFolder::open() {
  OptionalString folder = QXPathManager::sharedManager().createFolderWithSuffix(kFolder);
  consoleLog("%s %@", "-[QXFileLog init]", folder);
  {
    const std::lock_guard lock(mutex_);
    logDirPath_ = std::move(folder);
  }
  removeOldFiles();
  openNewLogFile();
}

void LogFolder::removeOldFiles() const {
  const OptionalString folder = logDirPath();
  for (const std::string& name : logFilesIn(folder)) {
    if (name.find('_') == std::string::npos) removeFile(folder, name);
  }
  const std::vector<std::string> names = logFilesIn(folder);
  const std::size_t surplus = names.size() > kMaxFiles ? names.size() - kMaxFiles : 0;
  for (std::size_t i = 0; i < surplus; ++i) removeFile(folder, names[i]);
}

bool LogFolder::openNewLogFile() {
  closeFile();
  const OptionalString folder = logDirPath();
  std::vector<std::string> names = logFilesIn(folder);

  const WallTime now = Platform::current().clock().wallNow();
  const std::string stamp = logFileStamp(LocalTime::of(now));
  const std::string stampName = stamp + kNameEnd;
  std::string name = stampName;
  if (!names.empty() && names.back().find(stamp.substr(0, kDayLength)) != std::string::npos &&
      logFileSize(pathIn(folder, names.back())) < kReuseBelow) {
    name = names.back();
  }
  const OptionalString path = pathIn(folder, name);
  // Opening makes the file: what another program has begun under this name meanwhile must not be replaced.
  auto handle = openAtEnd(path);
  if (std::find(names.begin(), names.end(), name) == names.end()) {
    if (folder) names.push_back(name);
    if (!handle) consoleLog("%s %d, %@", "-[QXPathManager createFile:]", 187, OptionalString());
  }

  const std::lock_guard lock(mutex_);
  logFilePath_ = path;
  logFiles_ = std::move(names);
  isOpeningDue_ = folder && !handle;
  writeFileHandle_ = std::move(handle);
  oldestRemoved_ = false;
  openedInSecond_.reset();
  if (name == stampName) openedInSecond_ = std::chrono::floor<std::chrono::seconds>(now);
  return true;
}

bool LogFolder::openNewIfRemoved() {
  const auto handle = writeFileHandle();
  const bool isRemoved = handle && handle->isRemoved();
  if (isRemoved) openNewLogFile();
  return isRemoved;
}

void LogFolder::checkFileSize() {
  const auto handle = writeFileHandle();
  if (!handle || handle->offset() <= kRotateAbove) return;
  openNewLogFile();
  const std::vector<std::string> names = logFiles();
  if (names.size() > kMaxFiles) {
    removeFile(logDirPath(), names.front());
    const std::lock_guard lock(mutex_);
    oldestRemoved_ = true;
  }
  removeLargeFiles();
}

/// Ten files of the usual size come nowhere near the bound. In a flood of lines a file gets much larger.
void LogFolder::removeLargeFiles() {
  const OptionalString folder = logDirPath();
  std::vector<std::string> names = logFilesIn(folder);
  std::erase_if(names, [&](const std::string& name) { return pathIn(folder, name) == logFilePath(); });
  std::uint64_t room = kMostInOldFiles;
  // From the newest on: what does not fit any more is removed, and so is all that is older.
  for (auto name = names.rbegin(); name != names.rend(); ++name) {
    const std::uint64_t size = logFileSize(pathIn(folder, *name));
    if (size <= room) {
      room -= size;
      continue;
    }
    room = 0;
    removeFile(folder, *name);
    const std::lock_guard lock(mutex_);
    std::erase(logFiles_, *name);
  }
}

void LogFolder::forgetRemoved() {
  const std::lock_guard lock(mutex_);
  if (std::exchange(oldestRemoved_, false)) logFiles_.erase(logFiles_.begin());
}

void LogFolder::synchronizeFile() {
  if (const auto handle = writeFileHandle()) handle->synchronize();
}

void LogFolder::saveLog() {
  {
    const std::lock_guard lock(mutex_);
    isOpeningDue_ = false;
  }
  closeFile();
}

bool LogFolder::isOpeningDue() const {
  const std::lock_guard lock(mutex_);
  return isOpeningDue_;
}

void LogFolder::closeFile() {
  std::shared_ptr<SharedFileHandle> handle;
  {
    const std::lock_guard lock(mutex_);
    handle.swap(writeFileHandle_);
  }
  if (!handle) return;
  handle->synchronize();
  handle->close();
}

OptionalString LogFolder::logDirPath() const {
  const std::lock_guard lock(mutex_);
  return logDirPath_;
}

OptionalString LogFolder::logFilePath() const {
  const std::lock_guard lock(mutex_);
  return logFilePath_;
}

std::vector<std::string> LogFolder::logFiles() const {
  const std::lock_guard lock(mutex_);
  return logFiles_;
}

std::shared_ptr<SharedFileHandle> LogFolder::writeFileHandle() const {
  const std::lock_guard lock(mutex_);
  return writeFileHandle_;
}

bool LogFolder::wouldReopenSameFile(WallTime now) const {
  const std::lock_guard lock(mutex_);
  const std::size_t onDisk = logFiles_.size() - (oldestRemoved_ ? 1 : 0);
  return openedInSecond_ == std::chrono::floor<std::chrono::seconds>(now) && onDisk <= kMaxFiles;
}

}  // namespace orv
