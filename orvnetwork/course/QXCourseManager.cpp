#include "orvnetwork/course/QXCourseManager.h"

#include <orvnetwork/course/detail/Catalogue.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/session/QXUserInfoMgr.h>
#include <orvnetwork/transport/QXNotification.h>

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
  catalogue.requestSemaphore = std::make_shared<Semaphore>(1);
  catalogue.liveRequestSemaphore = std::make_shared<Semaphore>(1);
  catalogue.dataSemaphore = std::make_shared<Semaphore>(1);
  catalogue.currentUserID = -1;
  catalogue.currentClassroomID = std::nullopt;
  catalogue.containTest = false;
  catalogue.requests.set({});
  auto& center = NotificationCenter::defaultCenter();
  catalogue.observe(center.observe(std::string(QXNotificationPushOrvMessage),
                                   [this](const Notification& push) { receivedWebsocketMessage(push); }));
  catalogue.observe(center.observe(std::string(QXNotificationDidChangeUserInfo),
                                   [this](const Notification&) { reload(); }));
  reload();
  return *this;
}

}  // namespace orv
