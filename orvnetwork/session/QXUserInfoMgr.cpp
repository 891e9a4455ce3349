// Storing a user goes in two steps. `replace` decides under the mutex: it swaps the record, compares the two forms, and
// takes the file's next place. `carryOut` then does, with no lock held since it calls the host, what was decided: it
// writes the file, opens the link afresh for nobody, and on the main thread posts and has the classroom fetched.

#include "orvnetwork/session/QXUserInfoMgr.h"

#include <orvnetwork/data/JsonEquality.h>
#include <orvnetwork/data/PathText.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/session/detail/UserFile.h>
#include <orvnetwork/support/QXPathManager.h>
#include <orvnetwork/transport/QXNotification.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace orv {

namespace {

constexpr std::string_view kFolder = "userInfo";
constexpr std::string_view kFileName = "userInfo.plist";
constexpr Seconds kClassroomDelay{1};

/// Runs the task at once on the main thread, later from any other.
void runOnMain(Task task) {
  MainQueue& main = Platform::current().mainQueue();
  if (main.isCurrent()) {
    task();
  } else {
    main.post(std::move(task));
  }
}

}  // namespace

/// One record taking the place of another, decided as a whole.
struct QXUserInfoMgr::Replacement {
  UserPointer user;
  UserPointer former;
  /// The JSON form of the new record; an empty dictionary for nobody.
  json::object form;
  bool isChange = true;
  /// Null when there is no path to write to.
  std::shared_ptr<UserFile> file;
  UserFile::Place place = 0;
};

QXUserInfoMgr& QXUserInfoMgr::allocWithZone() {
  static auto* const manager = new QXUserInfoMgr;
  return *manager;
}

QXUserInfoMgr& QXUserInfoMgr::getInstance() {
  QXUserInfoMgr& manager = allocWithZone();
  if (!manager.isLoaded_.load(std::memory_order_acquire)) manager.initOnce();
  return manager;
}

void QXUserInfoMgr::initOnce() {
  std::unique_lock lock(initMutex_);
  if (!initStarted_) construct(std::move(lock));
}

QXUserInfoMgr& QXUserInfoMgr::init() {
  construct(std::unique_lock(initMutex_));
  return *this;
}

void QXUserInfoMgr::construct(std::unique_lock<std::recursive_mutex> lock) {
  initStarted_ = true;
  const auto replacement = load();
  isLoaded_.store(true, std::memory_order_release);
  // Other threads that wait for the user have it now. What follows calls the host.
  lock.unlock();
  if (replacement) {
    carryOut(*replacement, Writing::Later);
    auto& platform = Platform::current();
    const auto when =
        platform.clock().steadyNow() + std::chrono::duration_cast<SteadyTime::duration>(kClassroomDelay);
    platform.delays().runAt(when, platform.mainQueue(), [this] { refreshClassroomInfo(); });
  }
  for (const auto name : {QXNotificationReachabilityStatusChange, QXNotificationDidOpen}) {
    auto token = NotificationCenter::defaultCenter().observe(
        std::string(name), [this](const Notification&) { websocketStatusChanged(); });
    const std::lock_guard guard(mutex_);
    observers_.push_back(std::move(token));
  }
}

std::optional<QXUserInfoMgr::Replacement> QXUserInfoMgr::load() {
  locateFile();
  const UserPointer former = userInfo();
  const auto file = currentFile();
  if (file) file->tidyLater();
  const auto stored = file ? file->read() : std::nullopt;
  if (!stored || stored->empty()) return std::nullopt;
  return replaceIfCurrent(former, makeRecord<OrvUserInfoModel>(*stored));
}

void QXUserInfoMgr::locateFile() {
  setUserInfoPath(QXPathManager::sharedManager().createFolderWithSuffix(kFolder));
  const OptionalString folder = userInfoPath();
  setUserInfoPlist(folder ? OptionalString(appendPathComponent(*folder, kFileName)) : std::nullopt);
}

void QXUserInfoMgr::setUserInfo(std::shared_ptr<OrvUserInfoModel> user) {
  if (!currentFile()) locateFile();
  std::unique_lock lock(mutex_);
  const Replacement replacement = replace(std::move(user));
  lock.unlock();
  carryOut(replacement, Writing::Now);
}

bool QXUserInfoMgr::storeAgain(const UserPointer& user) {
  const auto replacement = replaceIfCurrent(user, user);
  if (replacement) carryOut(*replacement, Writing::Later);
  return replacement.has_value();
}

std::optional<QXUserInfoMgr::Replacement> QXUserInfoMgr::replaceIfCurrent(const UserPointer& expected,
                                                                          UserPointer user) {
  const std::lock_guard lock(mutex_);
  if (userInfo_ != expected) return std::nullopt;
  return replace(std::move(user));
}

bool QXUserInfoMgr::wantsClassroom(const UserPointer& user) {
  return user != nullptr && user->classroom.get() && !user->classroominfo.get();
}

// With `mutex_` held, so that the file's order is the memory's.
QXUserInfoMgr::Replacement QXUserInfoMgr::replace(UserPointer user) {
  Replacement replacement;
  if (user) replacement.form = user->jsonObject();
  // A record is equal to itself, whatever was changed in it since it was stored.
  replacement.isChange =
      !user || !userInfo_ || (user != userInfo_ && !sameJson(userInfo_->jsonObject(), replacement.form));
  replacement.user = user;
  replacement.file = file_;
  if (file_) replacement.place = file_->takePlace();
  // The former record is let go of outside the lock.
  replacement.former = std::exchange(userInfo_, std::move(user));
  return replacement;
}

void QXUserInfoMgr::carryOut(const Replacement& replacement, Writing writing) {
  if (replacement.file && writing == Writing::Now) {
    replacement.file->write(replacement.place, replacement.form);
  } else if (replacement.file) {
    replacement.file->writeLater(replacement.place, replacement.form);
  }
  if (!replacement.user) {
    QXWebSocketMgr::standard().close();
    QXWebSocketMgr::standard().reconnect();
  }
  if (!replacement.isChange && !wantsClassroom(replacement.user)) return;
  runOnMain([this, user = replacement.user, isChange = replacement.isChange] {
    if (isChange) NotificationCenter::defaultCenter().post(QXNotificationDidChangeUserInfo);
    // An observer may have changed the user, or stored somebody else.
    if (wantsClassroom(user) && userInfo() == user) refreshClassroomInfo();
  });
}

std::shared_ptr<OrvUserInfoModel> QXUserInfoMgr::userInfo() const {
  const std::lock_guard lock(mutex_);
  return userInfo_;
}

std::shared_ptr<UserFile> QXUserInfoMgr::currentFile() const {
  const std::lock_guard lock(mutex_);
  return file_;
}

OptionalString QXUserInfoMgr::userInfoPath() const {
  const std::lock_guard lock(mutex_);
  return userInfoPath_;
}

void QXUserInfoMgr::setUserInfoPath(OptionalString path) {
  const std::lock_guard lock(mutex_);
  userInfoPath_ = std::move(path);
}

OptionalString QXUserInfoMgr::userInfoPlist() const {
  const auto file = currentFile();
  return file ? OptionalString(file->path()) : std::nullopt;
}

void QXUserInfoMgr::setUserInfoPlist(OptionalString path) {
  const std::lock_guard lock(mutex_);
  // The same path keeps its file: what waits to be written there keeps its order.
  if (path && file_ && file_->path() == *path) return;
  file_ = path ? UserFile::make(std::move(*path)) : nullptr;
}

std::shared_ptr<WXUserInfoModel> QXUserInfoMgr::wxUserInfo() const {
  const std::lock_guard lock(mutex_);
  return wxUserInfo_;
}

void QXUserInfoMgr::setWxUserInfo(std::shared_ptr<WXUserInfoModel> user) {
  const std::lock_guard lock(mutex_);
  std::swap(wxUserInfo_, user);
}

std::vector<std::shared_ptr<OrvClassroomInfo>> QXUserInfoMgr::classrooms() const {
  const std::lock_guard lock(mutex_);
  return classrooms_;
}

void QXUserInfoMgr::setClassrooms(std::vector<std::shared_ptr<OrvClassroomInfo>> classrooms) {
  const std::lock_guard lock(mutex_);
  std::swap(classrooms_, classrooms);
}

}  // namespace orv
