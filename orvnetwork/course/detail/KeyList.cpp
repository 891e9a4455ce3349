#include "orvnetwork/course/detail/KeyList.h"

#include <orvnetwork/course/detail/CourseKey.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <span>

namespace orv {

namespace {

/// Whether the text is made of digits and "-".
bool isNumber(std::string_view key) {
  return std::ranges::all_of(key, [](char c) { return (c >= '0' && c <= '9') || c == '-'; });
}

}  // namespace

bool KeyList::contains(std::string_view key) const {
  const std::lock_guard lock(mutex_);
  return uses_.contains(key);
}

OptionalString KeyList::at(std::size_t index) const {
  const std::lock_guard lock(mutex_);
  if (index >= order_.size()) return std::nullopt;
  return order_[index]->first;
}

std::size_t KeyList::indexOf(std::string_view key, std::size_t hint) const {
  const std::lock_guard lock(mutex_);
  const auto found = uses_.find(key);
  return found == uses_.end() ? npos : find(&*found, hint);
}

std::optional<std::int64_t> KeyList::roomIDAt(std::size_t index) const {
  const std::lock_guard lock(mutex_);
  if (index >= order_.size()) return std::nullopt;
  return order_[index]->second.roomID;
}

std::size_t KeyList::firstRoomBelow(std::int64_t roomID, std::size_t from) const {
  const std::lock_guard lock(mutex_);
  for (std::size_t index = from; index < order_.size(); ++index) {
    if (order_[index]->second.roomID < roomID) return index;
  }
  return npos;
}

std::size_t KeyList::lastRoomAbove(std::int64_t roomID, std::size_t from) const {
  const std::lock_guard lock(mutex_);
  for (std::size_t end = from < order_.size() ? from + 1 : order_.size(); end > 0; --end) {
    if (order_[end - 1]->second.roomID > roomID) return end - 1;
  }
  return npos;
}

void KeyList::insert(std::size_t position, std::string_view key) {
  const std::lock_guard lock(mutex_);
  insertLocked(position, key);
  publish();
}

bool KeyList::remove(std::string_view key, std::size_t hint) {
  const std::lock_guard lock(mutex_);
  const auto found = uses_.find(key);
  if (found == uses_.end()) return false;
  if (found->second.count == 1) {
    removeAtLocked(find(&*found, hint));
  } else {
    std::erase(order_, &*found);
    uses_.erase(found);
  }
  publish();
  return true;
}

void KeyList::removeAt(std::size_t index) {
  const std::lock_guard lock(mutex_);
  if (index >= order_.size()) return;
  removeAtLocked(index);
  publish();
}

void KeyList::removeLast() {
  const std::lock_guard lock(mutex_);
  if (order_.empty()) return;
  removeAtLocked(order_.size() - 1);
  publish();
}

void KeyList::swap(KeyList& other) {
  if (&other == this) return;
  const std::scoped_lock lock(mutex_, other.mutex_);
  uses_.swap(other.uses_);
  order_.swap(other.order_);
  publish();
  other.publish();
}

void KeyList::assign(const std::vector<std::string>& keys) {
  const std::lock_guard lock(mutex_);
  order_.clear();
  uses_.clear();
  for (const std::string& key : keys) insertLocked(npos, key);
  publish();
}

std::vector<std::string> KeyList::snapshot(std::size_t first, std::size_t end) const {
  const std::lock_guard lock(mutex_);
  std::vector<std::string> keys;
  const std::size_t behind = std::min(end, order_.size());
  if (first >= behind) return keys;
  keys.reserve(behind - first);
  for (std::size_t index = first; index < behind; ++index) keys.push_back(order_[index]->first);
  return keys;
}

// A list may have a hundred thousand keys, so each is appended with three copies and nothing else.
bool KeyList::appendNumbers(std::string& text, std::string_view before, std::string_view behind,
                            std::size_t first, std::size_t end) const {
  const std::lock_guard lock(mutex_);
  end = std::min(end, order_.size());
  if (first >= end) return false;
  const std::span keys = std::span(order_).subspan(first, end - first);
  const std::size_t around = before.size() + behind.size();
  std::size_t used = text.size();
  // Keys are nearly of one length.
  text.resize(used + keys.size() * (around + keys.front()->first.size() + 1));
  const auto put = [&](std::string_view part) {
    std::memcpy(text.data() + used, part.data(), part.size());
    used += part.size();
  };
  const bool areNumbers = std::ranges::all_of(keys, [&](const Key* key) {
    if (!key->second.isNumber) return false;
    const std::size_t needed = used + around + key->first.size();
    if (needed > text.size()) text.resize(2 * needed);
    put(before);
    put(key->first);
    put(behind);
    return true;
  });
  text.resize(used);
  return areNumbers;
}

/// The first index of a key that is in the list.
std::size_t KeyList::find(const Key* key, std::size_t hint) const {
  // Only one occurrence can be looked for from the middle: of several the first one is wanted.
  const std::size_t start = key->second.count > 1 ? 0 : std::min(hint, order_.size() - 1);
  for (std::size_t below = start, above = start;;) {
    if (order_[above] == key) return above;
    if (order_[below] == key) return below;
    if (above + 1 < order_.size()) ++above;
    if (below > 0) --below;
  }
}

void KeyList::insertLocked(std::size_t position, std::string_view key) {
  auto use = uses_.find(key);
  if (use == uses_.end()) {
    use = uses_.emplace(key, Use{.isNumber = isNumber(key), .roomID = roomIDOfKey(key)}).first;
  }
  ++use->second.count;
  const std::size_t index = std::min(position, order_.size());
  order_.insert(order_.begin() + static_cast<std::ptrdiff_t>(index), &*use);
}

void KeyList::removeAtLocked(std::size_t index) {
  Key* key = order_[index];
  order_.erase(order_.begin() + static_cast<std::ptrdiff_t>(index));
  if (--key->second.count == 0) uses_.erase(uses_.find(key->first));
}

}  // namespace orv
