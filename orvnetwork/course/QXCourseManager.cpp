#include "orvnetwork/course/QXCourseManager.h"

#include <orvnetwork/course/detail/Catalogue.h>
#include <orvnetwork/course/detail/CourseKey.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/platform/SerialQueue.h>
#include <orvnetwork/session/QXUserInfoMgr.h>
#include <orvnetwork/transport/QXNotification.h>

#include <optional>
#include <string>

namespace orv {

QXCourseManager& QXCourseManager::getInstance() {
  // The user manager tells the host of a stored user while it is made, and the host may come here then.
  QXUserInfoMgr::getInstance();
  static auto& manager = *new QXCourseManager();
  return manager;
}

QXCourseManager::QXCourseManager() : catalogue_(std::make_unique<Catalogue>()) {
  catalogue_->merges = SerialQueue::make("orvnetwork.course.merges", Platform::current().globalQueue());
  init();
}

QXCourseManager::~QXCourseManager() = default;

QXCourseManager& QXCourseManager::init() {
  Catalogue& catalogue = *catalogue_;
  catalogue.workers = &Platform::current().globalQueue();
  catalogue.paging.inFlight = std::make_shared<Semaphore>(1);
  catalogue.livePaging.inFlight = std::make_shared<Semaphore>(1);
  catalogue.dataSemaphore = std::make_shared<Semaphore>(1);
  catalogue.currentUserID = -1;
  catalogue.currentClassroomID = std::nullopt;
  catalogue.containTest = false;
  catalogue.paging.requests.set({});
  auto& center = NotificationCenter::defaultCenter();
  catalogue.observe(center.observe(std::string(QXNotificationPushOrvMessage),
                                   [this](const Notification& push) { receivedWebsocketMessage(push); }));
  catalogue.observe(center.observe(std::string(QXNotificationDidChangeUserInfo),
                                   [this](const Notification&) { reload(); }));
  reload();
  return *this;
}

void QXCourseManager::refreshRecordCourse(const Course& course) {
  const CatalogueLock lock(*catalogue_);
  catalogue_->keep(course, true);
  if (course == nullptr) return;
  const bool isLocal = course->orv_local;
  const std::int64_t roomID = course->roomID;
  if (!(isLocal ? catalogue_->local : catalogue_->cloud).contains(courseKey(roomID))) return;
  catalogue_->tellCourse(isLocal ? CourseListKind::Local : CourseListKind::Recorded, roomID);
}

void QXCourseManager::refreshRecordCourse_keepFront(const Course& course, bool keepFront) {
  if (!Catalogue::canBeKept(course)) return;
  catalogue_->ensureLoaded();
  catalogue_->keep(course, keepFront);
}

void QXCourseManager::dequeueRecoedCourse_isLocal(const std::string& key, bool isLocal) {
  catalogue_->ensureLoaded();
  catalogue_->forget(key, isLocal);
}

void QXCourseManager::removeOverMuchRecordCourse() {
  catalogue_->ensureLoaded();
  catalogue_->evict();
}

void QXCourseManager::refreshLiveCourse_key_keepFront(const Course& course, const OptionalString& key,
                                                      bool keepFront) {
  if (!Catalogue::canBeKept(course)) return;
  catalogue_->ensureLoaded();
  catalogue_->keepLive(course, key ? *key : courseKey(course->roomID), keepFront);
}

void QXCourseManager::removeOverMuchLiveCourse() {
  catalogue_->evictLive();
}

}  // namespace orv
