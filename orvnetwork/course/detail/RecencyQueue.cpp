#include "orvnetwork/course/detail/RecencyQueue.h"

namespace orv {

std::size_t RecencyQueue::size() const {
  const std::lock_guard lock(mutex_);
  return keys_.size();
}

bool RecencyQueue::contains(std::string_view key) const {
  const std::lock_guard lock(mutex_);
  return places_.contains(key);
}

void RecencyQueue::moveToFront(std::string_view key) {
  const std::lock_guard lock(mutex_);
  const auto place = places_.find(key);
  if (place != places_.end()) {
    keys_.splice(keys_.begin(), keys_, place->second);
    return;
  }
  keys_.emplace_front(key);
  places_.emplace(keys_.front(), keys_.begin());
}

void RecencyQueue::appendIfAbsent(std::string_view key) {
  const std::lock_guard lock(mutex_);
  appendLocked(key);
}

bool RecencyQueue::remove(std::string_view key) {
  const std::lock_guard lock(mutex_);
  const auto place = places_.find(key);
  if (place == places_.end()) return false;
  const auto entry = place->second;
  // First what looks into the text, then the text.
  places_.erase(place);
  keys_.erase(entry);
  return true;
}

OptionalString RecencyQueue::last() const {
  const std::lock_guard lock(mutex_);
  if (keys_.empty()) return std::nullopt;
  return keys_.back();
}

void RecencyQueue::removeLast() {
  const std::lock_guard lock(mutex_);
  if (keys_.empty()) return;
  places_.erase(keys_.back());
  keys_.pop_back();
}

void RecencyQueue::swap(RecencyQueue& other) {
  if (&other == this) return;
  const std::scoped_lock lock(mutex_, other.mutex_);
  keys_.swap(other.keys_);
  places_.swap(other.places_);
}

void RecencyQueue::assign(const std::vector<std::string>& keys) {
  const std::lock_guard lock(mutex_);
  places_.clear();
  keys_.clear();
  for (const std::string& key : keys) appendLocked(key);
}

std::vector<std::string> RecencyQueue::snapshot() const {
  const std::lock_guard lock(mutex_);
  return {keys_.begin(), keys_.end()};
}

void RecencyQueue::appendLocked(std::string_view key) {
  if (places_.contains(key)) return;
  keys_.emplace_back(key);
  places_.emplace(keys_.back(), std::prev(keys_.end()));
}

}  // namespace orv
