#include "orvnetwork/course/detail/RecordPageEffects.h"

#include <orvnetwork/course/detail/CourseKey.h>
#include <orvnetwork/data/LooseRead.h>

#include <string>
#include <utility>

namespace orv {

bool RecordPageEffects::readNext() {
  const Collection& cloud = courses_.cloud;
  while (nextRead_ < items_.size()) {
    const json::object* const values = items_[nextRead_++].if_object();
    if (values == nullptr || !isListedInCloud(*values)) continue;
    const std::string key = courseKey(looseInt64(member(*values, "roomID")));
    if (!cloud.contains(key) || courses_.cloud.memory().contains(key) || read_.contains(key)) continue;
    read_.emplace(key, cloud.files().read(key));
    return true;
  }
  return false;
}

void RecordPageEffects::take(std::size_t item, const std::string& key, bool known) {
  const json::object& values = items_[item].get_object();
  Collection& cloud = courses_.cloud;
  Course course = known ? cloud.memory().find(key) : nullptr;
  const bool inMemory = course != nullptr;
  if (!inMemory) course = known ? readRecord(key) : makeRecord<OrvCourseModel>(values);
  if (course == nullptr) return;
  if (known) course->merge(values);
  if (!inMemory) courses_.keep(course, false);
  if (cloud.memory().find(key) == course) {
    unwritten_.push_back({item, key, std::move(course)});
  } else {
    cloud.files().write(key, *course);  // Nobody finds it anywhere else.
  }
}

// What leaves the list is removed in its turn, as if each record had been written when it was taken.

void RecordPageEffects::dropVanished(const std::string& key) {
  writeAll();
  courses_.cloud.dropVanished(key);
}

void RecordPageEffects::trim(const std::string& key) {
  writeAll();
  courses_.cloud.drop(key);
}

bool RecordPageEffects::writeNext() {
  if (nextWritten_ == unwritten_.size()) return false;
  const Unwritten& next = unwritten_[nextWritten_++];
  Collection& cloud = courses_.cloud;
  if (!cloud.contains(next.key)) return true;
  Course course = cloud.memory().find(next.key);
  if (course == nullptr) course = next.course;
  // Another record has come into memory, which may have been read from the file as that still is.
  if (course != next.course) course->merge(items_[next.item].get_object());
  cloud.files().write(next.key, *course);
  return true;
}

void RecordPageEffects::writeAll() {
  while (writeNext()) {
  }
}

RecordPageEffects::Course RecordPageEffects::readRecord(const std::string& key) const {
  const auto found = courses_.cloud.files().changes() == filesAsRead_ ? read_.find(key) : read_.end();
  return found != read_.end() ? found->second : courses_.cloud.files().read(key);
}

}  // namespace orv
