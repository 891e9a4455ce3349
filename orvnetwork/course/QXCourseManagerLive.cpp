#include "orvnetwork/course/QXCourseManager.h"

#include <orvnetwork/course/detail/Catalogue.h>
#include <orvnetwork/course/detail/CourseCodes.h>
#include <orvnetwork/course/detail/CourseKey.h>
#include <orvnetwork/course/detail/Eviction.h>
#include <orvnetwork/course/detail/LiveInsertion.h>

#include <algorithm>

namespace orv {

namespace {

bool isLiveCourse(const QXCourseManager::Course& course) {
  return course != nullptr && live_type::isLive(course->liveType);
}

LiveCourseStart startOf(const OrvCourseModel& course) {
  return {course.startTimeEnable, course.startTime};
}

}  // namespace

void QXCourseManager::addLiveCourse(const Course& course) {
  if (!isLiveCourse(course)) return;
  const std::string key = courseKey(course->roomID);
  const std::uint64_t status = course->status;
  if (status >= kLiveStatuses) return;
  const CatalogueLock lock(*catalogue_);
  if (!catalogue_->liveLists[status].contains(key)) insertLive(key, *course, status);
  refreshLiveCourse_key_keepFront(course, key, true);
  catalogue_->liveFiles.write(key, *course);
  catalogue_->liveFiles.writeList(catalogue_->liveListsValue());
}

void QXCourseManager::insertLive(const std::string& key, const OrvCourseModel& course, std::uint64_t status) {
  auto& lists = catalogue_->liveLists;
  const auto holder =
      std::find_if(lists.begin(), lists.end(), [&](const KeyList& list) { return list.contains(key); });
  if (holder != lists.end()) holder->remove(key);
  KeyList& list = lists[status];
  const auto startAt = [&](std::size_t index) -> std::optional<LiveCourseStart> {
    const Course existing = liveRecordOf(list.at(index).value_or(""));
    return existing != nullptr ? std::optional(startOf(*existing)) : std::nullopt;
  };
  list.insert(liveInsertionIndex(startOf(course), status, list.size(), startAt), key);
}

QXCourseManager::Course QXCourseManager::liveRecordOf(const std::string& key) {
  if (Course cached = catalogue_->liveCache.find(key)) return cached;
  Course course = catalogue_->liveFiles.read(key);
  refreshLiveCourse_key_keepFront(course, key, false);
  return course;
}

void QXCourseManager::refreshLiveCourse(const Course& course) {
  if (!isLiveCourse(course) || course->roomID <= 0) return;
  const CatalogueLock lock(*catalogue_);
  const std::string key = courseKey(course->roomID);
  if (!catalogue_->liveListHolds(course->status, key)) return;
  catalogue_->liveCache.set(key, course);
  catalogue_->liveFiles.write(key, *course);
  catalogue_->liveFiles.writeList(catalogue_->liveListsValue());
}

bool QXCourseManager::deleteLiveCourse(const Course& course) {
  if (course == nullptr) return true;
  const CatalogueLock lock(*catalogue_);
  const std::string key = courseKey(course->roomID);
  catalogue_->liveQueue.remove(key);
  for (KeyList& list : catalogue_->liveLists) list.remove(key);
  catalogue_->liveCache.remove(key);
  catalogue_->liveFiles.remove(key);
  catalogue_->liveFiles.writeList(catalogue_->liveListsValue());
  return true;
}

void QXCourseManager::refreshLiveCourse_key_keepFront(const Course& course, const OptionalString& key,
                                                      bool keepFront) {
  if (course == nullptr || course->roomID <= 0) return;
  catalogue_->ensureLoaded();
  const std::string name = key ? *key : courseKey(course->roomID);
  if (!catalogue_->liveListHolds(course->status, name)) return;
  catalogue_->liveCache.set(name, course);
  if (keepFront) {
    catalogue_->liveQueue.moveToFront(name);
  } else {
    catalogue_->liveQueue.appendIfAbsent(name);
  }
}

void QXCourseManager::removeOverMuchLiveCourse() {
  evictLiveCourses(catalogue_->liveQueue,
                   [this](const std::string& key) { catalogue_->liveCache.remove(key); });
}

QXCourseManager::Course QXCourseManager::getLiveCourseWithRoomID(std::int64_t roomID) {
  const CatalogueLock lock(*catalogue_);
  return catalogue_->liveCache.find(courseKey(roomID));
}

std::uint64_t QXCourseManager::getLiveCourseCountWithStatus(std::uint64_t status) const {
  catalogue_->ensureLoaded();
  return status < kLiveStatuses ? catalogue_->liveLists[status].size() : 0;
}

std::int64_t QXCourseManager::getIndexOfLiveCourse(const Course& course) {
  if (course == nullptr) return -1;
  const std::uint64_t status =
      course->status;  // Once: the server may change it while the catalogue is waited for.
  if (status >= kLiveStatuses) return -1;
  const CatalogueLock lock(*catalogue_);
  const std::size_t index = catalogue_->liveLists[status].indexOf(courseKey(course->roomID));
  return index == KeyList::npos ? -1 : static_cast<std::int64_t>(index);
}

QXCourseManager::Course QXCourseManager::getLiveCourseWithIndex_courseStatus(std::uint64_t index,
                                                                             std::uint64_t status) {
  if (status >= kLiveStatuses) return nullptr;
  const CatalogueLock lock(*catalogue_);
  const OptionalString key = catalogue_->liveLists[status].at(index);
  if (!key) return nullptr;
  if (Course cached = catalogue_->liveCache.find(*key)) return cached;
  Course course = catalogue_->liveFiles.read(*key);
  if (course == nullptr) return nullptr;
  catalogue_->liveCache.set(*key, course);
  refreshLiveCourse_key_keepFront(course, key, false);
  return course;
}

}  // namespace orv
