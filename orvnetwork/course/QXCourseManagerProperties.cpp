#include "orvnetwork/course/QXCourseManager.h"

#include <orvnetwork/course/CourseChange.h>
#include <orvnetwork/course/detail/Catalogue.h>

namespace orv {

namespace {

/// The catalogue with its lists read, for a look from outside.
Catalogue& loaded(Catalogue& catalogue) {
  catalogue.ensureLoaded();
  return catalogue;
}

void tellAll(Catalogue& catalogue, CourseListKind kind) {
  catalogue.tell({.what = CourseChange::What::All, .list = {kind}});
}

}  // namespace

bool QXCourseManager::containTest() const {
  return catalogue_->containTest;
}
void QXCourseManager::setContainTest(bool containTest) {
  catalogue_->containTest = containTest;
}

std::int64_t QXCourseManager::currentUserID() const {
  return catalogue_->currentUserID;
}
void QXCourseManager::setCurrentUserID(std::int64_t userID) {
  catalogue_->currentUserID = userID;
}

Executor& QXCourseManager::queue() const {
  return *catalogue_->workers.load();
}
void QXCourseManager::setQueue(Executor& queue) {
  catalogue_->workers = &queue;
}

std::vector<QXCourseManager::Keys> QXCourseManager::liveCourseList() const {
  std::vector<Keys> lists;
  for (const KeyList& list : loaded(*catalogue_).live.lists()) lists.push_back(list.snapshot());
  return lists;
}

void QXCourseManager::setLiveCourseList(const std::vector<Keys>& lists) {
  Catalogue& catalogue = loaded(*catalogue_);
  for (std::size_t status = 0; status < kLiveStatuses; ++status) {
    catalogue.live.list(status).assign(status < lists.size() ? lists[status] : Keys());
  }
  tellAll(catalogue, CourseListKind::Live);
}

QXCourseManager::Courses QXCourseManager::cloudCourseDict() const {
  return loaded(*catalogue_).cloud.memory().snapshot();
}
void QXCourseManager::setCloudCourseDict(const Courses& courses) {
  loaded(*catalogue_).cloud.memory().assign(courses);
  tellAll(*catalogue_, CourseListKind::Recorded);
}
QXCourseManager::Courses QXCourseManager::localCourseDict() const {
  return loaded(*catalogue_).local.memory().snapshot();
}
void QXCourseManager::setLocalCourseDict(const Courses& courses) {
  loaded(*catalogue_).local.memory().assign(courses);
  tellAll(*catalogue_, CourseListKind::Local);
}
QXCourseManager::Courses QXCourseManager::liveCourseDict() const {
  return loaded(*catalogue_).live.memory().snapshot();
}
void QXCourseManager::setLiveCourseDict(const Courses& courses) {
  loaded(*catalogue_).live.memory().assign(courses);
  tellAll(*catalogue_, CourseListKind::Live);
}

QXCourseManager::Keys QXCourseManager::cloudCourseList() const {
  return loaded(*catalogue_).cloud.list().snapshot();
}
void QXCourseManager::setCloudCourseList(const Keys& keys) {
  loaded(*catalogue_).cloud.list().assign(keys);
  tellAll(*catalogue_, CourseListKind::Recorded);
}
QXCourseManager::Keys QXCourseManager::localCourseList() const {
  return loaded(*catalogue_).local.list().snapshot();
}
void QXCourseManager::setLocalCourseList(const Keys& keys) {
  loaded(*catalogue_).local.list().assign(keys);
  tellAll(*catalogue_, CourseListKind::Local);
}
QXCourseManager::Keys QXCourseManager::courseQueue() const {
  return loaded(*catalogue_).queue.snapshot();
}
void QXCourseManager::setCourseQueue(const Keys& keys) {
  loaded(*catalogue_).queue.assign(keys);
}
QXCourseManager::Keys QXCourseManager::liveCourseQueue() const {
  return loaded(*catalogue_).liveQueue.snapshot();
}
void QXCourseManager::setLiveCourseQueue(const Keys& keys) {
  loaded(*catalogue_).liveQueue.assign(keys);
}

OptionalString QXCourseManager::localCourseFolder() const {
  return loaded(*catalogue_).local.files().folder();
}
void QXCourseManager::setLocalCourseFolder(OptionalString folder) {
  loaded(*catalogue_).local.files().setFolder(std::move(folder));
}
OptionalString QXCourseManager::localCourseListFile() const {
  return loaded(*catalogue_).local.files().listFile();
}
void QXCourseManager::setLocalCourseListFile(OptionalString file) {
  loaded(*catalogue_).local.files().setListFile(std::move(file));
}
OptionalString QXCourseManager::cloudCourseFolder() const {
  return loaded(*catalogue_).cloud.files().folder();
}
void QXCourseManager::setCloudCourseFolder(OptionalString folder) {
  loaded(*catalogue_).cloud.files().setFolder(std::move(folder));
}
OptionalString QXCourseManager::cloudCourseListFile() const {
  return loaded(*catalogue_).cloud.files().listFile();
}
void QXCourseManager::setCloudCourseListFile(OptionalString file) {
  loaded(*catalogue_).cloud.files().setListFile(std::move(file));
}
OptionalString QXCourseManager::liveCourseFolder() const {
  return loaded(*catalogue_).live.files().folder();
}
void QXCourseManager::setLiveCourseFolder(OptionalString folder) {
  loaded(*catalogue_).live.files().setFolder(std::move(folder));
}
OptionalString QXCourseManager::liveCourseListFile() const {
  return loaded(*catalogue_).live.files().listFile();
}
void QXCourseManager::setLiveCourseListFile(OptionalString file) {
  loaded(*catalogue_).live.files().setListFile(std::move(file));
}

OptionalString QXCourseManager::lastValidCourse() const {
  return catalogue_->paging.cursor;
}
void QXCourseManager::setLastValidCourse(OptionalString key) {
  catalogue_->paging.cursor = std::move(key);
}
OptionalString QXCourseManager::lastValidLiveCourse() const {
  return catalogue_->livePaging.cursor;
}
void QXCourseManager::setLastValidLiveCourse(OptionalString key) {
  catalogue_->livePaging.cursor = std::move(key);
}
OptionalString QXCourseManager::currentClassroomID() const {
  return catalogue_->currentClassroomID;
}
void QXCourseManager::setCurrentClassroomID(OptionalString classroomID) {
  catalogue_->currentClassroomID = std::move(classroomID);
}

std::shared_ptr<Semaphore> QXCourseManager::reqRecordSemaphore() const {
  return catalogue_->paging.inFlight;
}
void QXCourseManager::setReqRecordSemaphore(std::shared_ptr<Semaphore> semaphore) {
  if (semaphore != nullptr) catalogue_->paging.inFlight = std::move(semaphore);
}
std::shared_ptr<Semaphore> QXCourseManager::dataSemaphore() const {
  return catalogue_->dataSemaphore;
}
void QXCourseManager::setDataSemaphore(std::shared_ptr<Semaphore> semaphore) {
  if (semaphore != nullptr) catalogue_->dataSemaphore = std::move(semaphore);
}
std::shared_ptr<Semaphore> QXCourseManager::reqLiveSemaphore() const {
  return catalogue_->livePaging.inFlight;
}
void QXCourseManager::setReqLiveSemaphore(std::shared_ptr<Semaphore> semaphore) {
  if (semaphore != nullptr) catalogue_->livePaging.inFlight = std::move(semaphore);
}

std::vector<CourseRequest> QXCourseManager::requestRecordList() const {
  return catalogue_->paging.requests.get();
}
void QXCourseManager::setRequestRecordList(std::vector<CourseRequest> requests) {
  catalogue_->paging.requests.set(std::move(requests));
}
std::vector<CourseRequest> QXCourseManager::requestLiveList() const {
  return catalogue_->livePaging.requests.get();
}
void QXCourseManager::setRequestLiveList(std::vector<CourseRequest> requests) {
  catalogue_->livePaging.requests.set(std::move(requests));
}

}  // namespace orv
