#include "orvnetwork/course/detail/Eviction.h"

#include <orvnetwork/course/detail/CourseKey.h>

namespace orv {

namespace {

constexpr auto kMost = static_cast<std::size_t>(MaxCourseCountInMem);

}  // namespace

void evictRecordCourses(RecencyQueue& queue, CachedRecords& records) {
  // One more entry is looked at than are queued.
  for (std::size_t looked = 0; queue.size() > kMost && looked <= queue.size(); ++looked) {
    const OptionalString entry = queue.last();
    if (!entry) return;
    const std::string key(courseKeyOfQueueKey(*entry));
    if (records.localHas(key)) {
      if (records.localIsExempt(key)) {
        queue.moveToFront(*entry);
        continue;
      }
      records.evictLocal(key);
    } else if (records.cloudHas(key)) {
      records.evictCloud(key);
    } else {
      return;  // It would be looked at again and again.
    }
    queue.removeLast();
  }
}

void evictLiveCourses(RecencyQueue& queue, const std::function<void(const std::string& key)>& evict) {
  while (queue.size() > kMost) {
    const OptionalString key = queue.last();
    if (!key) return;
    evict(*key);
    queue.removeLast();
  }
}

}  // namespace orv
