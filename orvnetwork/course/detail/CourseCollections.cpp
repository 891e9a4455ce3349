#include "orvnetwork/course/detail/CourseCollections.h"

#include <orvnetwork/course/CourseLimits.h>
#include <orvnetwork/course/detail/CourseKey.h>
#include <orvnetwork/course/detail/LiveInsertion.h>
#include <orvnetwork/course/detail/Trash.h>
#include <orvnetwork/platform/Platform.h>

#include <optional>
#include <string>
#include <string_view>

namespace orv {

namespace {

constexpr auto kMost = static_cast<std::size_t>(MaxCourseCountInMem);

std::string queueKey(std::string_view key, bool isLocal) {
  return isLocal ? localQueueKey(key) : cloudQueueKey(key);
}

void enqueue(RecencyQueue& queue, const std::string& entry, bool inFront) {
  if (inFront) {
    queue.moveToFront(entry);
  } else {
    queue.appendIfAbsent(entry);
  }
}

LiveCourseStart startOf(const OrvCourseModel& course) {
  return {course.startTimeEnable, course.startTime};
}

}  // namespace

void CourseCollections::keep(const Course& course, bool inFront) {
  if (!canBeKept(course)) return;
  const std::string key = courseKey(course->roomID);
  const bool isLocal = course->orv_local;
  Collection& kind = isLocal ? local : cloud;
  if (!kind.contains(key)) return;
  kind.memory().set(key, course);
  enqueue(queue, queueKey(key, isLocal), inFront);
}

void CourseCollections::keepLive(const Course& course, const std::string& key, bool inFront) {
  if (!canBeKept(course) || !live.contains(key, course->status)) return;
  live.memory().set(key, course);
  enqueue(liveQueue, key, inFront);
}

void CourseCollections::forget(const std::string& key, bool isLocal) {
  (isLocal ? local : cloud).memory().remove(key);
  queue.remove(queueKey(key, isLocal));
}

CourseCollections::Course CourseCollections::recordAt(Collection& kind, std::uint64_t index) {
  const OptionalString key = kind.list().at(index);
  if (!key) return nullptr;
  if (Course cached = kind.memory().find(*key)) return cached;
  Course course = kind.files().read(*key);
  keep(course, true);
  return course;
}

CourseCollections::Course CourseCollections::liveRecord(const std::string& key) {
  if (Course cached = live.memory().find(key)) return cached;
  Course course = live.files().read(key);
  keepLive(course, key, false);
  return course;
}

void CourseCollections::insertLive(const std::string& key, const OrvCourseModel& course,
                                   std::uint64_t status) {
  for (KeyList& list : live.lists()) {
    if (list.remove(key)) break;
  }
  KeyList& list = live.list(status);
  const auto startAt = [&](std::size_t index) -> std::optional<LiveCourseStart> {
    const Course existing = liveRecord(list.at(index).value_or(""));
    return existing != nullptr ? std::optional(startOf(*existing)) : std::nullopt;
  };
  list.insert(liveInsertionIndex(startOf(course), status, list.size(), startAt), key);
}

void CourseCollections::evict(const GoOn& goOn) {
  // One more entry is looked at than are queued.
  for (std::size_t looked = 0; queue.size() > kMost && looked <= queue.size(); ++looked) {
    if (looked > 0 && !goOn()) return;
    const OptionalString entry = queue.last();
    if (!entry) return;
    const std::string key(courseKeyOfQueueKey(*entry));
    if (const Course course = local.memory().find(key)) {
      if (course->publishStatus != publish_status::kNewLocal) {
        queue.moveToFront(*entry);
        continue;
      }
      local.memory().remove(key);
    } else if (cloud.memory().contains(key)) {
      cloud.memory().remove(key);
    } else {
      return;  // It would be looked at again and again.
    }
    queue.removeLast();
  }
}

void CourseCollections::evictLive(const GoOn& goOn) {
  while (liveQueue.size() > kMost) {
    const OptionalString key = liveQueue.last();
    if (!key) return;
    live.memory().remove(*key);
    liveQueue.removeLast();
    if (!goOn()) return;
  }
}

void CourseCollections::load(const std::string& base) {
  for (Collection* kind : {&local, &cloud, &live}) kind->open(base);
  for (Collection* kind : {&local, &cloud, &live}) kind->load();
}

void CourseCollections::follow(CourseCollections& loaded) {
  local.follow(loaded.local);
  cloud.follow(loaded.cloud);
  live.follow(loaded.live);
}

void CourseCollections::tidy() const {
  for (const Collection* kind : {&local, &cloud, &live}) {
    if (const OptionalString folder = kind->files().folder()) {
      Platform::current().files().removeLeftovers(*folder);
    }
  }
  emptyTrash(local.files().folder());
}

void CourseCollections::swapContents(CourseCollections& other) {
  local.swapContents(other.local);
  cloud.swapContents(other.cloud);
  live.swapContents(other.live);
  queue.swap(other.queue);
  liveQueue.swap(other.liveQueue);
}

}  // namespace orv
