#include "orvnetwork/course/detail/RecordPageEffects.h"

#include <orvnetwork/course/detail/Collection.h>

#include <string>

namespace orv {

void RecordPageEffects::take(std::size_t item, const std::string& key, bool known) {
  const json::object& values = items_[item].get_object();
  Collection& cloud = courses_.cloud;
  Collection::Course course = known ? cloud.memory().find(key) : nullptr;
  const bool inMemory = course != nullptr;
  if (!inMemory) course = known ? ahead_.take(key) : makeRecord<OrvCourseModel>(values);
  if (course == nullptr) return;
  if (known) course->merge(values);
  if (!inMemory) courses_.keep(course, false);
  cloud.files().writeLater(key, *course);
}

}  // namespace orv
