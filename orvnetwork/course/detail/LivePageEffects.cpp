#include "orvnetwork/course/detail/LivePageEffects.h"

#include <orvnetwork/course/detail/CourseLookup.h>
#include <orvnetwork/data/TextFormat.h>

namespace orv {

bool LivePageEffects::findRecord(std::size_t item, const std::string& key, bool known) {
  const json::object& values = items_[item].get_object();
  course_ = catalogue_.liveCache.find(key);
  const bool cached = course_ != nullptr;
  if (!cached && known) course_ = catalogue_.liveFiles.read(key);
  if (course_ == nullptr) course_ = std::make_shared<OrvCourseModel>();
  course_->merge(values);
  return cached;
}

void LivePageEffects::storeRecord(std::size_t, const std::string& key) {
  titles_ += formatText("%@, ", course_->title.get());
  catalogue_.liveFiles.write(key, *course_);
  manager_.refreshLiveCourse_key_keepFront(course_, key, false);
}

void LivePageEffects::dropVanished(const std::string& key) {
  dropVanishedRecord(catalogue_.liveCache, catalogue_.liveFiles, key);
}

void LivePageEffects::trim(const std::string& key) {
  catalogue_.liveQueue.remove(key);
  catalogue_.liveCache.remove(key);
  catalogue_.liveFiles.remove(key);
}

}  // namespace orv
