#include "orvnetwork/course/QXCourseManager.h"

#include <orvnetwork/course/detail/Catalogue.h>
#include <orvnetwork/course/detail/CourseCodes.h>
#include <orvnetwork/course/detail/CourseKey.h>
#include <orvnetwork/course/detail/CourseLookup.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/support/QXPathManager.h>

namespace orv {

namespace {

/// Local courses are numbered by the clock, below this.
constexpr std::int64_t kLocalRoomIDs = 1'000'000;

bool isLocalCourse(const QXCourseManager::Course& course) {
  return course != nullptr && course->roomID > 0 && course->orv_local;
}

}  // namespace

QXCourseManager::Course QXCourseManager::createLocalCourse() {
  const CatalogueLock lock(*catalogue_);
  const auto now = Platform::current().clock().wallNow().time_since_epoch();
  const std::int64_t seconds = std::chrono::duration_cast<std::chrono::seconds>(now).count();
  std::int64_t roomID = seconds % kLocalRoomIDs;
  while (catalogue_->localList.contains(courseKey(roomID))) ++roomID;
  auto course = std::make_shared<OrvCourseModel>();
  course->orv_local = true;
  course->publishStatus = publish_status::kNewLocal;
  course->addtime = seconds;
  course->roomID = roomID;
  course->liveType = live_type::kRecorded;
  return course;
}

bool QXCourseManager::addLocalCourse(const Course& course) {
  if (!isLocalCourse(course)) return false;
  const CatalogueLock lock(*catalogue_);
  const std::string key = courseKey(course->roomID);
  const bool known = catalogue_->localList.remove(key);
  putInFront(key, course);
  return !known;
}

void QXCourseManager::refreshLocalCourse(const Course& course) {
  if (!isLocalCourse(course)) return;
  const CatalogueLock lock(*catalogue_);
  const std::string key = courseKey(course->roomID);
  if (catalogue_->localList.remove(key)) putInFront(key, course);
}

void QXCourseManager::putInFront(const std::string& key, const Course& course) {
  catalogue_->localList.insert(0, key);
  catalogue_->localCache.set(key, course);
  catalogue_->localFiles.write(key, *course);
  catalogue_->localFiles.writeList(catalogue_->localList.snapshot());
  refreshRecordCourse_keepFront(course, true);
}

void QXCourseManager::saveLocalCourse(const Course& course) {
  const CatalogueLock lock(*catalogue_);
  if (!isLocalCourse(course)) return;
  const std::string key = courseKey(course->roomID);
  if (catalogue_->localList.contains(key)) {
    catalogue_->localCache.set(key, course);
    catalogue_->localFiles.write(key, *course);
  }
  catalogue_->localFiles.writeList(catalogue_->localList.snapshot());
  refreshRecordCourse_keepFront(course, false);
}

void QXCourseManager::deleteLocalCourse(const Course& course) {
  if (course == nullptr) return;
  const CatalogueLock lock(*catalogue_);
  removeLocal(courseKey(course->roomID), course);
}

void QXCourseManager::deleteLocalCourseWithRoomID(std::int64_t roomID) {
  const CatalogueLock lock(*catalogue_);
  const std::string key = courseKey(roomID);
  if (roomID <= 0 || !catalogue_->localList.contains(key)) return;
  const Course course = cachedOrRead(catalogue_->localCache, catalogue_->localFiles, key);
  removeLocal(key, course);
}

void QXCourseManager::removeLocal(const std::string& key, const Course& course) {
  catalogue_->localList.remove(key);
  catalogue_->localCache.remove(key);
  catalogue_->localFiles.remove(key);
  if (course != nullptr) QXPathManager::sharedManager().removeFolderOrFile(course->courseFolder());
  catalogue_->localFiles.writeList(catalogue_->localList.snapshot());
  dequeueRecoedCourse_isLocal(key, true);
}

QXCourseManager::Course QXCourseManager::getLocalCourseWithRoomID(std::int64_t roomID) {
  const CatalogueLock lock(*catalogue_);
  const std::string key = courseKey(roomID);
  if (roomID <= 0 || !catalogue_->localList.contains(key)) return nullptr;
  const Course course = cachedOrRead(catalogue_->localCache, catalogue_->localFiles, key);
  refreshRecordCourse_keepFront(course, true);
  return course;
}

QXCourseManager::Course QXCourseManager::getLocalCourseWithIndex(std::uint64_t index) {
  const CatalogueLock lock(*catalogue_);
  const OptionalString key = catalogue_->localList.at(index);
  return key ? recordOf(*key, catalogue_->localCache, catalogue_->localFiles) : nullptr;
}

QXCourseManager::Course QXCourseManager::getRecordCourseWithIndex(std::uint64_t index) {
  const CatalogueLock lock(*catalogue_);
  const OptionalString key = catalogue_->cloudList.at(index);
  return key ? recordOf(*key, catalogue_->cloudCache, catalogue_->cloudFiles) : nullptr;
}

QXCourseManager::Course QXCourseManager::recordOf(const std::string& key, const RecordCache& cache,
                                                  const RecordFiles& files) {
  if (Course cached = cache.find(key)) return cached;
  Course course = files.read(key);
  refreshRecordCourse_keepFront(course, true);
  return course;
}

std::uint64_t QXCourseManager::getLocalCourseCount() const {
  catalogue_->ensureLoaded();
  return catalogue_->localList.size();
}

std::uint64_t QXCourseManager::getRecordCourseCount() const {
  catalogue_->ensureLoaded();
  return catalogue_->cloudList.size();
}

bool QXCourseManager::containCourse(const Course& course) const {
  if (course == nullptr) return false;
  const std::int64_t roomID = course->roomID;
  return catalogue_->localCache.containsRoom(roomID) || catalogue_->cloudCache.containsRoom(roomID);
}

}  // namespace orv
