#include "orvnetwork/course/detail/RecordPageEffects.h"

#include <orvnetwork/course/detail/CourseKey.h>

#include <string>
#include <utility>

namespace orv {

void RecordPageEffects::take(std::size_t item, const std::string& key, bool known) {
  const json::object& values = items_[item].get_object();
  Collection& cloud = courses_.cloud;
  Unfinished record{.item = item, .key = key, .course = nullptr};
  if (!known) {
    record.course = makeRecord<OrvCourseModel>(values);
    courses_.keep(record.course, false);
    if (cloud.memory().find(key) != record.course) {
      cloud.files().write(key, *record.course);  // Nobody finds it anywhere else.
      return;
    }
  } else if ((record.course = cloud.memory().find(key)) != nullptr) {
    record.course->merge(values);
  } else {
    record.isQueued = queue(key);
  }
  unfinishedKeys_.insert(key);
  unfinished_.push_back(std::move(record));
}

/// Whether it was not there before.
bool RecordPageEffects::queue(const std::string& key) {
  const std::string entry = cloudQueueKey(key);
  if (roomIDOfKey(key) <= 0 || courses_.queue.contains(entry)) return false;
  courses_.queue.appendIfAbsent(entry);
  return true;
}

// What leaves the list is removed in its turn, as if each record had been finished when it was taken.

void RecordPageEffects::dropVanished(const std::string& key) {
  finishBeforeDropping(key);
  // Its record may say another room.
  const Course course = courses_.cloud.memory().find(key);
  finishBeforeDropping(courseKey(course != nullptr ? course->roomID.get() : 0));
  courses_.cloud.dropVanished(key);
}

void RecordPageEffects::trim(const std::string& key) {
  finishBeforeDropping(key);
  courses_.cloud.drop(key);
}

void RecordPageEffects::finishBeforeDropping(const std::string& key) {
  if (!unfinishedKeys_.contains(key)) return;
  while (next_ < unfinished_.size()) finish(unfinished_[next_++]);
  unfinishedKeys_.clear();
}

bool RecordPageEffects::finishNext() {
  if (next_ == unfinished_.size()) return false;
  const Unfinished& record = unfinished_[next_++];
  if (courses_.cloud.contains(record.key)) finish(record);
  return true;
}

void RecordPageEffects::finish(const Unfinished& record) {
  Collection& cloud = courses_.cloud;
  Course course = cloud.memory().find(record.key);
  if (course == nullptr) course = record.course;
  const bool isToBeRead = course == nullptr;
  if (isToBeRead) course = cloud.files().read(record.key);
  if (course != nullptr) {
    // Another record than at the merge, if there was one then: it has been read from the file as that still is.
    if (course != record.course) course->merge(items_[record.item].get_object());
    if (isToBeRead) courses_.keep(course, false);
    cloud.files().write(record.key, *course);
  }
  if (record.isQueued && cloud.memory().find(record.key) == nullptr) {
    courses_.queue.remove(cloudQueueKey(record.key));
  }
}

}  // namespace orv
