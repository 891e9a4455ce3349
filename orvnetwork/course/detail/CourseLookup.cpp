#include "orvnetwork/course/detail/CourseLookup.h"

#include <orvnetwork/course/detail/CourseKey.h>

namespace orv {

RecordCache::Course cachedOrRead(const RecordCache& cache, const RecordFiles& files, const std::string& key) {
  if (RecordCache::Course cached = cache.find(key)) return cached;
  return files.read(key);
}

void dropVanishedRecord(RecordCache& cache, const RecordFiles& files, const std::string& key) {
  const RecordCache::Course course = cache.find(key);
  const std::string dropped = courseKey(course != nullptr ? course->roomID.get() : 0);
  cache.remove(dropped);
  files.remove(dropped);
}

}  // namespace orv
