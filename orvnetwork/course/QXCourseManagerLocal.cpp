#include "orvnetwork/course/QXCourseManager.h"

#include <orvnetwork/course/detail/Catalogue.h>
#include <orvnetwork/course/detail/CourseKey.h>
#include <orvnetwork/course/detail/LocalTurn.h>
#include <orvnetwork/course/detail/Trash.h>
#include <orvnetwork/platform/Platform.h>

#include <chrono>
#include <string>

namespace orv {

namespace {

/// Local courses are numbered by the clock, below this.
constexpr std::int64_t kLocalRoomIDs = 1'000'000;

bool isLocalCourse(const QXCourseManager::Course& course) {
  return Catalogue::canBeKept(course) && course->orv_local;
}

// The caller of these holds the catalogue.

void putInFront(Catalogue& catalogue, const std::string& key, const QXCourseManager::Course& course) {
  catalogue.local.list().insert(0, key);
  catalogue.local.store(key, course);
  catalogue.local.saveLists();
  catalogue.keep(course, true);
  catalogue.tellCourse(CourseListKind::Local, course->roomID);
}

/// The list is written first: whenever the process ends, no course is listed whose record is gone. A full disk that did
/// not take it has the record's room then.
void removeLocal(Catalogue& catalogue, const std::string& key, const QXCourseManager::Course& course) {
  catalogue.local.list().remove(key);
  const bool isListWritten = catalogue.local.saveLists();
  catalogue.local.drop(key);
  if (!isListWritten) catalogue.local.saveLists();
  if (course != nullptr) {
    throwAway(course->courseFolder(), catalogue.local.files().folder(), *catalogue.workers.load());
  }
  catalogue.forget(key, true);
  catalogue.tellCourse(CourseListKind::Local, roomIDOfKey(key));
}

}  // namespace

QXCourseManager::Course QXCourseManager::createLocalCourse() {
  const LocalChange change(*catalogue_);
  const auto now = Platform::current().clock().wallNow().time_since_epoch();
  const std::int64_t seconds = std::chrono::duration_cast<std::chrono::seconds>(now).count();
  auto course = std::make_shared<OrvCourseModel>();
  course->orv_local = true;
  course->publishStatus = publish_status::kNewLocal;
  course->addtime = seconds;
  course->roomID = change.freeNumber(seconds % kLocalRoomIDs);
  course->liveType = live_type::kRecorded;
  return course;
}

bool QXCourseManager::addLocalCourse(const Course& course) {
  if (!isLocalCourse(course)) return false;
  const LocalChange change(*catalogue_);
  const std::string key = courseKey(course->roomID);
  const bool known = catalogue_->local.list().remove(key);
  putInFront(*catalogue_, key, course);
  return !known;
}

void QXCourseManager::refreshLocalCourse(const Course& course) {
  if (!isLocalCourse(course)) return;
  const LocalChange change(*catalogue_);
  const std::string key = courseKey(course->roomID);
  if (catalogue_->local.list().remove(key)) putInFront(*catalogue_, key, course);
}

void QXCourseManager::saveLocalCourse(const Course& course) {
  const LocalChange change(*catalogue_);
  if (!isLocalCourse(course)) return;
  const std::string key = courseKey(course->roomID);
  if (catalogue_->local.contains(key)) catalogue_->local.store(key, course);
  catalogue_->local.saveLists();
  catalogue_->keep(course, false);
  catalogue_->tellCourse(CourseListKind::Local, course->roomID);
}

void QXCourseManager::deleteLocalCourse(const Course& course) {
  if (course == nullptr) return;
  const LocalChange change(*catalogue_);
  removeLocal(*catalogue_, courseKey(course->roomID), course);
}

void QXCourseManager::deleteLocalCourseWithRoomID(std::int64_t roomID) {
  const LocalChange change(*catalogue_);
  const std::string key = courseKey(roomID);
  if (roomID <= 0 || !catalogue_->local.contains(key)) return;
  removeLocal(*catalogue_, key, catalogue_->local.find(key));
}

QXCourseManager::Course QXCourseManager::getLocalCourseWithRoomID(std::int64_t roomID) {
  const CatalogueLock lock(*catalogue_);
  const std::string key = courseKey(roomID);
  if (roomID <= 0 || !catalogue_->local.contains(key)) return nullptr;
  Course course = catalogue_->local.find(key);
  catalogue_->keep(course, true);
  return course;
}

QXCourseManager::Course QXCourseManager::getLocalCourseWithIndex(std::uint64_t index) {
  const CatalogueLock lock(*catalogue_);
  return catalogue_->recordAt(catalogue_->local, index);
}

std::uint64_t QXCourseManager::getLocalCourseCount() const {
  catalogue_->ensureLoaded();
  return catalogue_->local.size();
}

bool QXCourseManager::containCourse(const Course& course) const {
  if (course == nullptr) return false;
  const std::int64_t roomID = course->roomID;
  return catalogue_->local.memory().containsRoom(roomID) || catalogue_->cloud.memory().containsRoom(roomID);
}

}  // namespace orv
