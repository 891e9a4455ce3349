#include "orvnetwork/session/detail/UserFile.h"

#include <orvnetwork/platform/ConsoleLog.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/platform/PropertyListFile.h>
#include <orvnetwork/support/QXFileLog.h>

#include <utility>

namespace orv {

namespace {

constexpr unsigned kOwnerOnlyFileMode = 0600;

void logSetAside(const std::string& path) {
  QXFileLog::standard().log("user file damaged, set aside as %@.damaged", path);
}

}  // namespace

std::shared_ptr<UserFile> UserFile::make(std::string path) {
  return std::shared_ptr<UserFile>(new UserFile(std::move(path)));
}

UserFile::UserFile(std::string path)
    : path_(std::move(path)),
      queue_(SerialQueue::make("orv.session.userFile", Platform::current().globalQueue())) {}

std::optional<json::object> UserFile::read() {
  const std::lock_guard lock(diskMutex_);
  writeWaiting();
  if (unsaved_) return unsaved_;
  FileSystem& files = Platform::current().files();
  const bool wasThere = files.exists(path_);
  auto content = readDictionaryFileSettingAside(path_);
  const bool isThere = !content && files.exists(path_);
  if (!content && wasThere && !isThere) logSetAside(path_);
  inTheWay_ = isThere && (files.isDirectory(path_) || files.fileSize(path_).value_or(1) > 0);
  return content;
}

void UserFile::write(Place place, json::object content) {
  const std::lock_guard lock(diskMutex_);
  if (place <= newest_) return;
  newest_ = place;
  const bool saved = save(content);
  // While the console was told, the host may have stored something newer.
  if (place != newest_) return;
  if (saved) {
    unsaved_.reset();
  } else {
    unsaved_ = std::move(content);
  }
}

void UserFile::writeLater(Place place, json::object content) {
  {
    const std::lock_guard lock(waitingMutex_);
    if (waiting_ && waiting_->place > place) return;
    const bool isPosted = waiting_.has_value();
    waiting_ = Entry{place, std::move(content)};
    if (isPosted) return;
  }
  queue_->post([self = shared_from_this()] { self->writeWaiting(); });
}

void UserFile::writeWaiting() {
  // In this order: whoever finds nothing waiting any more then knows that it is on the disk.
  const std::lock_guard diskLock(diskMutex_);
  std::optional<Entry> entry;
  {
    const std::lock_guard lock(waitingMutex_);
    entry = std::exchange(waiting_, std::nullopt);
  }
  if (entry) write(entry->place, std::move(entry->content));
}

bool UserFile::save(const json::object& content) {
  if (!clearTheWay()) return false;
  if (writePropertyListFile(path_, content, Durability::Durable, kOwnerOnlyFileMode)) return true;
  if (!content.empty()) return false;
  // A full disk must not keep a user logged in: no file means nobody too.
  FileSystem& files = Platform::current().files();
  std::error_code error;
  return !files.exists(path_) || (!files.isDirectory(path_) && files.remove(path_, error));
}

bool UserFile::clearTheWay() {
  if (!inTheWay_) return true;
  FileSystem& files = Platform::current().files();
  std::error_code error;
  if (files.exists(path_)) {
    if (!files.rename(path_, path_ + ".damaged", error)) {
      consoleLog("%@ is in the way and cannot be renamed: %@", path_, error.message());
      return false;
    }
    logSetAside(path_);
  }
  inTheWay_ = false;
  return true;
}

}  // namespace orv
