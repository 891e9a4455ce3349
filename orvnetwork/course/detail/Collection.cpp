#include "orvnetwork/course/detail/Collection.h"

#include <orvnetwork/course/detail/CourseKey.h>
#include <orvnetwork/course/detail/MergedKeys.h>
#include <orvnetwork/data/LooseRead.h>
#include <orvnetwork/data/PathText.h>
#include <orvnetwork/support/QXPathManager.h>

#include <algorithm>
#include <optional>
#include <string>
#include <unordered_set>

namespace orv {

namespace {

void dropRepeated(std::vector<std::string>& keys) {
  std::unordered_set<std::string> seen;
  std::erase_if(keys, [&](const std::string& key) { return !seen.insert(key).second; });
}

}  // namespace

Collection::Course Collection::find(const std::string& key) const {
  if (Course cached = memory_.find(key)) return cached;
  return files_.read(key);
}

std::int64_t Collection::visit(std::uint64_t list, std::uint64_t first, std::uint64_t end,
                               const Visitor& visitor) const {
  std::int64_t found = 0;
  if (list >= lists_.size()) return found;
  for (const std::string& key : lists_[list].snapshot(first, end)) {
    const Course course = find(key);
    if (course == nullptr) continue;
    ++found;
    if (!visitor(key, course)) break;
  }
  return found;
}

void Collection::store(const std::string& key, const Course& course) {
  memory_.set(key, course);
  files_.write(key, *course);
}

void Collection::drop(const std::string& key) {
  memory_.remove(key);
  files_.remove(key);
}

void Collection::dropLater(const std::string& key) {
  memory_.remove(key);
  files_.removeLater(key);
}

void Collection::dropVanished(const std::string& key) {
  const Course course = memory_.find(key);
  dropLater(courseKey(course != nullptr ? course->roomID.get() : 0));
}

void Collection::remove(const std::string& key) {
  for (KeyList& list : lists_) list.remove(key);
  drop(key);
}

bool Collection::saveLists() {
  return saveKeys(keysToSave());
}

bool Collection::prepareKeys() {
  // A fraction of a millisecond.
  constexpr std::size_t kKeysAtOnce = 4'096;
  return text_.makeSome(lists_, kKeysAtOnce);
}

Collection::Keys Collection::keysToSave() {
  Keys keys;
  keys.number = ++keysMade_;
  // What programs share is remembered key by key, to be merged with what others make of it.
  if (kind_.durability == Durability::Plain) keys.text = text_.of(lists_);
  if (keys.text != nullptr) return keys;
  for (const KeyList& list : lists_) keys.stored.emplace_back(asArray(list.snapshot()));
  if (lists_.size() == 1) keys.stored = json::array(keys.stored.front().get_array());
  return keys;
}

bool Collection::saveKeys(const Keys& keys) {
  // Whenever the process ends, no key is in the file whose record is not written.
  files_.finish();
  const std::lock_guard lock(saving_);
  if (keys.number < keysSaved_) return true;
  keysSaved_ = keys.number;
  return keys.text != nullptr ? files_.writeListText(*keys.text) : files_.writeList(keys.stored);
}

void Collection::open(const std::string& base) {
  const OptionalString folder =
      QXPathManager::sharedManager().createFolderWithSuffix(appendPathComponent(base, kind_.folder));
  files_.setFolder(folder);
  files_.setListFile(folder ? OptionalString(appendPathComponent(*folder, kind_.listFile)) : std::nullopt);
}

void Collection::load() {
  const std::optional<json::array> stored = files_.readList();
  if (!stored) return;
  const bool keepsAll = kind_.durability == Durability::Durable;
  const std::optional<RecordFiles::Names> names = keepsAll ? std::nullopt : files_.names();
  if (!keepsAll && !names) return;  // Nobody knows what is gone.
  bool anyGone = false;
  for (std::size_t number = 0; number < lists_.size(); ++number) {
    const json::value* const item = number < stored->size() ? &(*stored)[number] : nullptr;
    std::vector<std::string> keys = keysOf(lists_.size() == 1 ? &*stored : looseArray(item));
    if (keepsAll) {
      dropRepeated(keys);
    } else {
      const auto isGone = [&](const std::string& key) { return !RecordFiles::isIn(*names, key); };
      anyGone = std::erase_if(keys, isGone) != 0 || anyGone;
    }
    lists_[number].assign(keys);
  }
  if (anyGone) saveLists();
}

std::optional<std::vector<std::string>> Collection::takeOverChanges() {
  const auto file = files_.list();
  const auto change = file ? file->readChange() : std::nullopt;
  if (!change) return std::nullopt;
  KeyList& list = lists_.front();
  std::vector<std::string> gone = list.snapshot();
  const std::vector<std::string> merged = mergedKeys(keysOf(&change->before), gone, keysOf(&change->now));
  if (merged == gone) return std::nullopt;
  list.assign(merged);
  std::erase_if(gone, [&list](const std::string& key) { return list.contains(key); });
  return gone;
}

void Collection::follow(Collection& opened) {
  files_.follow(opened.files_);
  for (std::size_t number = 0; number < lists_.size(); ++number) lists_[number].swap(opened.lists_[number]);
}

void Collection::swapContents(Collection& other) {
  memory_.swap(other.memory_);
  for (std::size_t number = 0; number < lists_.size(); ++number) lists_[number].swap(other.lists_[number]);
}

}  // namespace orv
