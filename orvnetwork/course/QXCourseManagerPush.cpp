#include "orvnetwork/course/QXCourseManager.h"

#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/course/detail/Catalogue.h>
#include <orvnetwork/course/detail/CourseCodes.h>
#include <orvnetwork/course/detail/CourseKey.h>
#include <orvnetwork/data/LooseRead.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/ConsoleLog.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/transport/QXNotification.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <shared_mutex>
#include <utility>

namespace orv {

namespace {

constexpr std::chrono::seconds kPauseAfterCreation{1};
constexpr std::uint64_t kCoursesAfterCreation = 30;

/// The rooms whose publishing a push confirms.
std::vector<std::int64_t> confirmedRooms(const json::object* frame) {
  std::vector<std::int64_t> rooms;
  const json::array* const items = looseArray(member(looseObject(member(frame, "v")), "data"));
  if (items == nullptr) return rooms;
  for (const json::value& item : *items) {
    const json::object* const data = looseObject(member(looseObject(&item), "data"));
    const std::int64_t room = looseInt64(member(data, "roomID"));
    // Room 0 is what a course has that has no copy in the cloud: no push can confirm that one.
    if (room > 0 && looseInt64(member(data, "code")) == 0) rooms.push_back(room);
  }
  return rooms;
}

void tellUpdate(const QXCourseManager::UpdateHandler& handler, const QXCourseManager::Course& result) {
  if (handler) runGuarded("the handler of a course's update", [&] { handler(result); });
}

void postListChanged() {
  Platform::current().mainQueue().post(
      [] { NotificationCenter::defaultCenter().post(QXNotificationCourseListChanged); });
}

}  // namespace

void QXCourseManager::receivedWebsocketMessage(const Notification& notification) {
  consoleLog("%@", notification.userInfo);
  for (const std::int64_t room : confirmedRooms(notification.userInfo)) {
    Course published;
    {
      const CatalogueLock lock(*catalogue_);
      published = catalogue_->local.memory().findIf([room](const OrvCourseModel& course) {
        return course.publishStatus == publish_status::kPublished && course.orv_cloudRoomID == room;
      });
    }
    if (published != nullptr) deleteLocalCourse(published);
  }
}

void QXCourseManager::courseCreateFinishedNotification(const Notification& notification) {
  deleteLocalCourseWithRoomID(looseInt64(member(notification.userInfo, "roomID")));
  Platform& platform = Platform::current();
  platform.delays().runAt(platform.clock().steadyNow() + kPauseAfterCreation, platform.globalQueue(), [this] {
    // The range begins at the number of local courses, on purpose.
    getCoursesWithStartIndex_count_force_coursesBlock(getLocalCourseCount(), kCoursesAfterCreation, true,
                                                      [](bool, std::int64_t) { postListChanged(); });
  });
}

void QXCourseManager::updateCourse_withHandler(const Course& course, UpdateHandler handler) {
  if (course == nullptr || course->roomID <= 0 || !live_type::isLive(course->liveType)) {
    return tellUpdate(handler, nullptr);
  }
  // Shared, and handed on from step to step: the last one to hold it is on the main thread, where it is called.
  auto shared = std::make_shared<const UpdateHandler>(std::move(handler));
  auto complete = [this, course, shared, opened = catalogue_->opened()](const auto&, bool success,
                                                                        const json::object& reply) {
    const json::object* const values = looseObject(member(reply, "v"));
    const json::value* const error = member(values, "err");
    if (!success || (error != nullptr && !error->is_null())) return tellUpdate(*shared, nullptr);
    // The main thread waits neither for the catalogue nor for the disk.
    const json::value* const data = member(values, "data");
    catalogue_->merges->post(
        [this, course, shared, opened, data = data != nullptr ? *data : json::value()]() mutable {
          takeUpdate(course, data, opened);
          Platform::current().mainQueue().post(
              [course, shared = std::move(shared)] { tellUpdate(*shared, course); });
        });
  };
  auto expire = [shared = std::move(shared)](const auto&) { tellUpdate(*shared, nullptr); };
  QXAPIHelper::getCourseInfo_completeBlock_timeoutBlock(courseKey(course->roomID), std::move(complete),
                                                        std::move(expire));
}

void QXCourseManager::takeUpdate(const Course& course, const json::value& data, std::uint64_t opened) {
  course->merge(&data);
  // The host's sink is called when nothing is locked any more.
  const Console::Hold console;
  const std::shared_lock staying(catalogue_->changing);
  // What one user was told of a course belongs in no catalogue of another.
  if (catalogue_->opened() != opened) return;
  if (course->liveType == live_type::kRecorded) {
    refreshRecordCourse(course);
  } else {
    refreshLiveCourse(course);
  }
}

}  // namespace orv
