#include "orvnetwork/course/detail/RecordPageEffects.h"

#include <orvnetwork/course/detail/CourseLookup.h>

namespace orv {

void RecordPageEffects::take(std::size_t item, const std::string& key, bool known) {
  const QXCourseManager::Course course = recordOf(item, key, known);
  if (course != nullptr) catalogue_.cloudFiles.write(key, *course);
}

QXCourseManager::Course RecordPageEffects::recordOf(std::size_t item, const std::string& key, bool known) {
  const json::object& values = items_[item].get_object();
  if (known) {
    if (QXCourseManager::Course cached = catalogue_.cloudCache.find(key)) {
      cached->merge(values);
      return cached;
    }
  }
  QXCourseManager::Course course =
      known ? catalogue_.cloudFiles.read(key) : makeRecord<OrvCourseModel>(values);
  if (course == nullptr) return nullptr;
  if (known) course->merge(values);
  manager_.refreshRecordCourse_keepFront(course, false);
  return course;
}

void RecordPageEffects::dropVanished(const std::string& key) {
  dropVanishedRecord(catalogue_.cloudCache, catalogue_.cloudFiles, key);
}

void RecordPageEffects::trim(const std::string& key) {
  catalogue_.cloudCache.remove(key);
  catalogue_.cloudFiles.remove(key);
}

}  // namespace orv
