#include "orvnetwork/course/QXCourseManager.h"

#include <orvnetwork/course/detail/Catalogue.h>
#include <orvnetwork/course/detail/CourseKey.h>
#include <orvnetwork/course/detail/KeyList.h>

#include <string>

namespace orv {

namespace {

bool isLiveCourse(const QXCourseManager::Course& course) {
  return course != nullptr && live_type::isLive(course->liveType);
}

}  // namespace

void QXCourseManager::addLiveCourse(const Course& course) {
  if (!isLiveCourse(course)) return;
  const std::string key = courseKey(course->roomID);
  const std::uint64_t status = course->status;
  if (status >= kLiveStatuses) return;
  const CatalogueLock lock(*catalogue_);
  if (!catalogue_->live.contains(key, status)) catalogue_->insertLive(key, *course, status);
  catalogue_->keepLive(course, key, true);
  catalogue_->live.files().write(key, *course);
  catalogue_->live.saveLists();
  catalogue_->tellCourse(CourseListKind::Live, course->roomID);
}

void QXCourseManager::refreshLiveCourse(const Course& course) {
  if (!isLiveCourse(course) || course->roomID <= 0) return;
  const CatalogueLock lock(*catalogue_);
  const std::string key = courseKey(course->roomID);
  if (!catalogue_->live.contains(key, course->status)) return;
  catalogue_->live.store(key, course);
  catalogue_->live.saveLists();
  catalogue_->tellCourse(CourseListKind::Live, course->roomID);
}

bool QXCourseManager::deleteLiveCourse(const Course& course) {
  if (course == nullptr) return true;
  const CatalogueLock lock(*catalogue_);
  const std::string key = courseKey(course->roomID);
  catalogue_->liveQueue.remove(key);
  catalogue_->live.remove(key);
  catalogue_->live.saveLists();
  catalogue_->tellCourse(CourseListKind::Live, course->roomID);
  return true;
}

QXCourseManager::Course QXCourseManager::getLiveCourseWithRoomID(std::int64_t roomID) {
  const CatalogueLock lock(*catalogue_);
  return catalogue_->live.memory().find(courseKey(roomID));
}

std::uint64_t QXCourseManager::getLiveCourseCountWithStatus(std::uint64_t status) const {
  catalogue_->ensureLoaded();
  return catalogue_->live.size(status);
}

std::int64_t QXCourseManager::getIndexOfLiveCourse(const Course& course) {
  if (course == nullptr) return -1;
  const std::uint64_t status =
      course->status;  // Once: the server may change it while the catalogue is waited for.
  if (status >= kLiveStatuses) return -1;
  const CatalogueLock lock(*catalogue_);
  const std::size_t index = catalogue_->live.list(status).indexOf(courseKey(course->roomID));
  return index == KeyList::npos ? -1 : static_cast<std::int64_t>(index);
}

QXCourseManager::Course QXCourseManager::getLiveCourseWithIndex_courseStatus(std::uint64_t index,
                                                                             std::uint64_t status) {
  if (status >= kLiveStatuses) return nullptr;
  const CatalogueLock lock(*catalogue_);
  Collection& live = catalogue_->live;
  const OptionalString key = live.list(status).at(index);
  if (!key) return nullptr;
  if (Course cached = live.memory().find(*key)) return cached;
  Course course = live.files().read(*key);
  live.memory().set(*key, course);  // Whatever status it says that it has.
  catalogue_->keepLive(course, *key, false);
  return course;
}

}  // namespace orv
