#include "orvnetwork/course/detail/RecordCache.h"

#include <orvnetwork/course/detail/CourseKey.h>

#include <algorithm>
#include <string>
#include <string_view>

namespace orv {

std::size_t RecordCache::size() const {
  const std::lock_guard lock(mutex_);
  return courses_.size();
}

RecordCache::Course RecordCache::find(std::string_view key) const {
  const std::lock_guard lock(mutex_);
  const auto found = courses_.find(key);
  return found != courses_.end() ? found->second : nullptr;
}

bool RecordCache::containsRoom(std::int64_t roomID) const {
  const std::lock_guard lock(mutex_);
  if (courses_.contains(courseKey(roomID))) return true;
  return std::any_of(courses_.begin(), courses_.end(),
                     [roomID](const auto& entry) { return roomIDOfKey(entry.first) == roomID; });
}

RecordCache::Course RecordCache::findIf(const std::function<bool(const OrvCourseModel&)>& matches) const {
  const std::lock_guard lock(mutex_);
  const auto found = std::find_if(courses_.begin(), courses_.end(),
                                  [&](const auto& entry) { return matches(*entry.second); });
  return found != courses_.end() ? found->second : nullptr;
}

void RecordCache::set(std::string_view key, Course course) {
  if (course == nullptr) return remove(key);
  const std::lock_guard lock(mutex_);
  if (const auto found = courses_.find(key); found != courses_.end()) {
    std::swap(found->second, course);  // The old one goes after the lock.
  } else {
    courses_.emplace(key, std::move(course));
  }
}

void RecordCache::remove(std::string_view key) {
  Course removed;
  const std::lock_guard lock(mutex_);
  const auto found = courses_.find(key);
  if (found == courses_.end()) return;
  removed = std::move(found->second);
  courses_.erase(found);
}

void RecordCache::swap(RecordCache& other) {
  if (&other == this) return;
  const std::scoped_lock lock(mutex_, other.mutex_);
  courses_.swap(other.courses_);
}

void RecordCache::assign(const Courses& courses) {
  std::unordered_map<std::string, Course, StringHash, std::equal_to<>> replacement;
  for (const auto& [key, course] : courses) {
    if (course != nullptr) replacement.emplace(key, course);
  }
  const std::lock_guard lock(mutex_);
  courses_.swap(replacement);
}

RecordCache::Courses RecordCache::snapshot() const {
  const std::lock_guard lock(mutex_);
  return Courses(courses_.begin(), courses_.end());
}

}  // namespace orv
