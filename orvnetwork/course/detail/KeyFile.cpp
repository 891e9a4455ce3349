#include "orvnetwork/course/detail/KeyFile.h"

#include <orvnetwork/course/detail/MergedKeys.h>
#include <orvnetwork/platform/ConsoleLog.h>
#include <orvnetwork/platform/Platform.h>

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace orv {

namespace {

/// A turn of another program takes some writings to the disk. One that takes longer than this has stopped in the
/// middle, and the caller, who may be the main thread, waits no longer.
constexpr Seconds kLongestWait{2};
/// As long as it has not moved on, the following changes wait hardly at all.
constexpr Seconds kNextWait{0.05};

}  // namespace

KeyFile::KeyFile(std::string path, PropertyListStore::Options options)
    : store_(std::move(path), options), isShared_(options.durability == Durability::Durable) {}

std::optional<json::array> KeyFile::read() {
  std::optional<json::array> keys = store_.readArray();
  // Without a mark: a look now may see what another program has written since.
  if (isShared_) note(std::nullopt, keys.value_or(json::array()));
  return keys;
}

std::optional<KeyFile::Change> KeyFile::readChange() {
  // What could not be read is set aside by the next writing.
  if (store_.isSomethingInTheWay()) return std::nullopt;
  const std::optional<Mark> mark = look();
  {
    const std::lock_guard lock(mutex_);
    if (!wasRead_ || !mark || mark == mark_) return std::nullopt;
  }
  std::optional<json::array> keys = store_.readArray();
  if (!keys) return std::nullopt;
  json::array before = note(mark, *keys);
  return Change{std::move(before), *std::move(keys)};
}

bool KeyFile::write(const json::array& keys) {
  {
    const std::lock_guard lock(mutex_);
    unwritten_ = turn_ == Turn::Theirs ? std::optional(keys) : std::nullopt;
  }
  if (isUnwritten()) {
    consoleLog("%@ is not written yet: another program keeps it locked", path());
    return false;
  }
  if (!store_.write(keys)) return false;
  if (isShared_) note(look(), keys);
  return true;
}

bool KeyFile::beginTurn() {
  const Turn taken = take();
  const std::lock_guard guard(mutex_);
  turn_ = taken;
  return taken != Turn::Theirs;
}

void KeyFile::endTurn() {
  {
    const std::lock_guard guard(mutex_);
    turn_ = Turn::Free;
  }
  giveBack();
}

void KeyFile::beginTurns() {
  take();
}

void KeyFile::endTurns() {
  giveBack();
}

/// Whoever comes while it is held shares it: the lock is the program's, not a thread's.
KeyFile::Turn KeyFile::take() {
  const std::lock_guard taking(taking_);
  if (holders_++ > 0) return held_;
  LockFile* const lock = lockFile();
  const bool ours = lock == nullptr || lock->lock(wasTheirs_ ? kNextWait : kLongestWait);
  wasTheirs_ = !ours;
  held_ = lock == nullptr ? Turn::Free : ours ? Turn::Ours : Turn::Theirs;
  return held_;
}

void KeyFile::giveBack() {
  const std::lock_guard taking(taking_);
  if (--holders_ == 0 && held_ == Turn::Ours) lock_->unlock();
}

bool KeyFile::isUnwritten() const {
  const std::lock_guard lock(mutex_);
  return unwritten_.has_value();
}

bool KeyFile::claimUnwritten() {
  const std::lock_guard lock(mutex_);
  return unwritten_ && !std::exchange(isClaimed_, true);
}

void KeyFile::unclaim() {
  const std::lock_guard lock(mutex_);
  isClaimed_ = false;
}

void KeyFile::writeUnwritten() {
  beginTurn();
  const std::optional<Change> change = readChange();
  std::optional<json::array> keys;
  {
    const std::lock_guard lock(mutex_);
    keys = unwritten_;
  }
  if (keys) {
    const auto ours = keysOf(&*keys);
    write(change ? asArray(mergedKeys(keysOf(&change->before), ours, keysOf(&change->now))) : *keys);
  }
  endTurn();
}

bool KeyFile::reserve(std::uint64_t number) {
  LockFile* const lock = lockFile();
  return lock == nullptr || lock->reserve(number);
}

std::optional<KeyFile::Mark> KeyFile::look() const {
  if (!isShared_) return std::nullopt;
  std::error_code error;
  const OptionalString bytes = Platform::current().files().read(path(), error);
  if (!bytes) return std::nullopt;
  return Mark(bytes->size(), std::hash<std::string_view>()(*bytes));
}

json::array KeyFile::note(std::optional<Mark> mark, json::array keys) {
  const std::lock_guard lock(mutex_);
  wasRead_ = true;
  mark_ = mark;
  known_.swap(keys);
  return keys;
}

/// Null where nothing has to be locked, and where nothing can be.
LockFile* KeyFile::lockFile() {
  const std::lock_guard lock(mutex_);
  if (isShared_ && lock_ == nullptr) {
    lock_ = Platform::current().files().openLockFile(path() + ".lock", kPrivateFileMode);
  }
  return lock_.get();
}

}  // namespace orv
