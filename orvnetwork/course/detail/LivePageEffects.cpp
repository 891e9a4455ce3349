#include "orvnetwork/course/detail/LivePageEffects.h"

#include <orvnetwork/data/TextFormat.h>

#include <memory>
#include <string>

namespace orv {

bool LivePageEffects::findRecord(std::size_t item, const std::string& key, bool known) {
  Collection& live = courses_.live;
  course_ = live.memory().find(key);
  const bool inMemory = course_ != nullptr;
  if (!inMemory && known) course_ = ahead_.take(key);
  if (course_ == nullptr) course_ = std::make_shared<OrvCourseModel>();
  items_.course(item).fill(*course_);
  return inMemory;
}

void LivePageEffects::storeRecord(std::size_t, const std::string& key) {
  titles_ += formatText("%@, ", course_->title.get());
  courses_.live.files().writeLater(key, *course_);
  courses_.keepLive(course_, key, false);
}

void LivePageEffects::trim(const std::string& key) {
  courses_.liveQueue.remove(key);
  courses_.live.dropLater(key);
}

}  // namespace orv
