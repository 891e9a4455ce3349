#include "orvnetwork/course/QXCourseManager.h"

#include <orvnetwork/course/detail/Catalogue.h>

namespace orv {

namespace {

/// The catalogue with its lists read, for a look from outside.
Catalogue& loaded(Catalogue& catalogue) {
  catalogue.ensureLoaded();
  return catalogue;
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
  for (const KeyList& list : loaded(*catalogue_).liveLists) lists.push_back(list.snapshot());
  return lists;
}

void QXCourseManager::setLiveCourseList(const std::vector<Keys>& lists) {
  Catalogue& catalogue = loaded(*catalogue_);
  for (std::size_t status = 0; status < kLiveStatuses; ++status) {
    catalogue.liveLists[status].assign(status < lists.size() ? lists[status] : Keys());
  }
}

QXCourseManager::Courses QXCourseManager::cloudCourseDict() const {
  return loaded(*catalogue_).cloudCache.snapshot();
}
void QXCourseManager::setCloudCourseDict(const Courses& courses) {
  loaded(*catalogue_).cloudCache.assign(courses);
}
QXCourseManager::Courses QXCourseManager::localCourseDict() const {
  return loaded(*catalogue_).localCache.snapshot();
}
void QXCourseManager::setLocalCourseDict(const Courses& courses) {
  loaded(*catalogue_).localCache.assign(courses);
}
QXCourseManager::Courses QXCourseManager::liveCourseDict() const {
  return loaded(*catalogue_).liveCache.snapshot();
}
void QXCourseManager::setLiveCourseDict(const Courses& courses) {
  loaded(*catalogue_).liveCache.assign(courses);
}

QXCourseManager::Keys QXCourseManager::cloudCourseList() const {
  return loaded(*catalogue_).cloudList.snapshot();
}
void QXCourseManager::setCloudCourseList(const Keys& keys) {
  loaded(*catalogue_).cloudList.assign(keys);
}
QXCourseManager::Keys QXCourseManager::localCourseList() const {
  return loaded(*catalogue_).localList.snapshot();
}
void QXCourseManager::setLocalCourseList(const Keys& keys) {
  loaded(*catalogue_).localList.assign(keys);
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
  return loaded(*catalogue_).localFiles.folder();
}
void QXCourseManager::setLocalCourseFolder(OptionalString folder) {
  loaded(*catalogue_).localFiles.setFolder(std::move(folder));
}
OptionalString QXCourseManager::localCourseListFile() const {
  return loaded(*catalogue_).localFiles.listFile();
}
void QXCourseManager::setLocalCourseListFile(OptionalString file) {
  loaded(*catalogue_).localFiles.setListFile(std::move(file));
}
OptionalString QXCourseManager::cloudCourseFolder() const {
  return loaded(*catalogue_).cloudFiles.folder();
}
void QXCourseManager::setCloudCourseFolder(OptionalString folder) {
  loaded(*catalogue_).cloudFiles.setFolder(std::move(folder));
}
OptionalString QXCourseManager::cloudCourseListFile() const {
  return loaded(*catalogue_).cloudFiles.listFile();
}
void QXCourseManager::setCloudCourseListFile(OptionalString file) {
  loaded(*catalogue_).cloudFiles.setListFile(std::move(file));
}
OptionalString QXCourseManager::liveCourseFolder() const {
  return loaded(*catalogue_).liveFiles.folder();
}
void QXCourseManager::setLiveCourseFolder(OptionalString folder) {
  loaded(*catalogue_).liveFiles.setFolder(std::move(folder));
}
OptionalString QXCourseManager::liveCourseListFile() const {
  return loaded(*catalogue_).liveFiles.listFile();
}
void QXCourseManager::setLiveCourseListFile(OptionalString file) {
  loaded(*catalogue_).liveFiles.setListFile(std::move(file));
}

OptionalString QXCourseManager::lastValidCourse() const {
  return catalogue_->lastValidCourse;
}
void QXCourseManager::setLastValidCourse(OptionalString key) {
  catalogue_->lastValidCourse = std::move(key);
}
OptionalString QXCourseManager::lastValidLiveCourse() const {
  return catalogue_->lastValidLiveCourse;
}
void QXCourseManager::setLastValidLiveCourse(OptionalString key) {
  catalogue_->lastValidLiveCourse = std::move(key);
}
OptionalString QXCourseManager::currentClassroomID() const {
  return catalogue_->currentClassroomID;
}
void QXCourseManager::setCurrentClassroomID(OptionalString classroomID) {
  catalogue_->currentClassroomID = std::move(classroomID);
}

std::shared_ptr<Semaphore> QXCourseManager::reqRecordSemaphore() const {
  return catalogue_->requestSemaphore;
}
void QXCourseManager::setReqRecordSemaphore(std::shared_ptr<Semaphore> semaphore) {
  if (semaphore != nullptr) catalogue_->requestSemaphore = std::move(semaphore);
}
std::shared_ptr<Semaphore> QXCourseManager::dataSemaphore() const {
  return catalogue_->dataSemaphore;
}
void QXCourseManager::setDataSemaphore(std::shared_ptr<Semaphore> semaphore) {
  if (semaphore != nullptr) catalogue_->dataSemaphore = std::move(semaphore);
}
std::shared_ptr<Semaphore> QXCourseManager::reqLiveSemaphore() const {
  return catalogue_->liveRequestSemaphore;
}
void QXCourseManager::setReqLiveSemaphore(std::shared_ptr<Semaphore> semaphore) {
  if (semaphore != nullptr) catalogue_->liveRequestSemaphore = std::move(semaphore);
}

std::vector<CourseRequest> QXCourseManager::requestRecordList() const {
  return catalogue_->requests;
}
void QXCourseManager::setRequestRecordList(std::vector<CourseRequest> requests) {
  catalogue_->requests = std::move(requests);
}
std::vector<CourseRequest> QXCourseManager::requestLiveList() const {
  return catalogue_->liveRequests;
}
void QXCourseManager::setRequestLiveList(std::vector<CourseRequest> requests) {
  catalogue_->liveRequests = std::move(requests);
}

}  // namespace orv
