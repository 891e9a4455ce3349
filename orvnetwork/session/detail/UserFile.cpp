#include "orvnetwork/session/detail/UserFile.h"

#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/support/QXFileLog.h>

#include <system_error>
#include <utility>

namespace orv {

namespace {

void logSetAside(const std::string& path) {
  QXFileLog::standard().log("user file damaged, set aside as %@.damaged", path);
}

}  // namespace

std::shared_ptr<UserFile> UserFile::make(std::string path) {
  return std::shared_ptr<UserFile>(new UserFile(std::move(path)));
}

UserFile::UserFile(std::string path)
    : store_(std::move(path),
             {.durability = Durability::Durable, .mode = kPrivateFileMode, .onSetAside = logSetAside}),
      queue_(SerialQueue::make("orv.session.userFile", Platform::current().globalQueue())) {}

void UserFile::tidyLater() {
  queue_->post([folder = path().substr(0, path().rfind('/'))] {
    Platform::current().files().removeLeftovers(folder);
  });
}

std::optional<json::object> UserFile::read() {
  const std::lock_guard lock(diskMutex_);
  writeWaiting();
  if (unsaved_) return unsaved_;
  return store_.readDictionary();
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
  if (store_.write(content)) return true;
  if (!content.empty() || store_.isSomethingInTheWay()) return false;
  // A full disk must not keep a user logged in: no file means nobody too.
  FileSystem& files = Platform::current().files();
  std::error_code error;
  return !files.exists(path()) || (!files.isDirectory(path()) && files.remove(path(), error));
}

}  // namespace orv
