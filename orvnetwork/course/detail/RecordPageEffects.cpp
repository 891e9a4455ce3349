#include "orvnetwork/course/detail/RecordPageEffects.h"

#include <orvnetwork/course/detail/Collection.h>

#include <memory>
#include <string>

namespace orv {

void RecordPageEffects::take(std::size_t item, const std::string& key, bool known) {
  const CourseValues& values = items_.course(item);
  Collection& cloud = courses_.cloud;
  Collection::Course course = known ? cloud.memory().find(key) : nullptr;
  const bool inMemory = course != nullptr;
  if (!inMemory) course = known ? ahead_.take(key) : std::make_shared<OrvCourseModel>();
  if (course == nullptr) return;
  values.fill(*course);
  if (!inMemory) courses_.keep(course, false);
  cloud.files().writeLater(key, *course);
}

}  // namespace orv
