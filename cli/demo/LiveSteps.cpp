// A live course from its beginning to its end, and others who are there.

#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/data/LooseRead.h>
#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/session/QXUserInfoMgr.h>
#include <orvnetwork/transport/QXNotification.h>

#include "cli/demo/Guest.h"
#include "cli/demo/Steps.h"

#include <algorithm>
#include <array>
#include <functional>
#include <memory>
#include <string>

namespace orv::cli::demo {

namespace {

constexpr std::array<const char*, 4> kStatusNames = {"", "to come", "on the air", "over"};

/// Loads the live list of a status.
bool loadLive(Tour& tour, std::uint64_t status) {
  const auto answered = std::make_shared<bool>(false);
  QXCourseManager::getInstance().getLiveCoursesWithStartIndex_count_courseStatus_force_coursesBlock(
      0, 30, status, true, [answered](bool success, std::int64_t) {
        MainQueue::instance().post([answered, success] { *answered = success; });
      });
  return tour.wait([&] { return *answered; });
}

/// The status whose list holds a course; 0 when none does.
std::uint64_t listOf(const std::string& key) {
  const auto lists = QXCourseManager::getInstance().liveCourseList();
  for (std::uint64_t status = 1; status < kStatusNames.size(); ++status) {
    if (std::ranges::find(lists[status], key) != lists[status].end()) return status;
  }
  return 0;
}

void showLists(Tour& tour, const std::string& key) {
  std::string text;
  for (std::uint64_t status = 1; status < kStatusNames.size(); ++status) {
    text += std::string(text.empty() ? "" : ", ") + kStatusNames[status] + ": " +
            std::to_string(QXCourseManager::getInstance().getLiveCourseCountWithStatus(status)) +
            (listOf(key) == status ? " *" : "");
  }
  tour.stage.row(Row::Catalogue, text);
}

std::shared_ptr<Call> callRoom(Tour& tour, const char* command,
                               const std::function<void(CompleteBlock, TimeoutBlock)>& operation) {
  auto call = tour.begin(command);
  operation(tour.onComplete(call), tour.onTimeout(call));
  tour.wait([&] { return call->ended(); });
  return call;
}

bool receives(Tour& tour, std::size_t pushes) {
  return tour.wait([&] { return tour.count(QXNotificationPushOrvMessage) >= pushes; });
}

}  // namespace

void lessonIsHeld(Tour& tour) {
  tour.stage.note("The star marks the list that the lesson is in.");
  const auto created =
      callRoom(tour, "Live.Room.Post.Create", [](CompleteBlock complete, TimeoutBlock timeout) {
        QXAPIHelper::createRoomWithCompleteBlock_timeoutBlock(std::move(complete), std::move(timeout));
      });
  const json::object data = created->data();
  const std::int64_t room = looseInt64(member(&data, "roomID"));
  const std::string key = std::to_string(room);
  loadLive(tour, 1);
  loadLive(tour, 2);
  loadLive(tour, 3);
  showLists(tour, key);
  tour.stage.verdict("created, it is among the courses to come", listOf(key) == 1, "room " + key);

  Guest student(tour, "小明");
  student.signIn("13900000001");
  student.ask("Course.User.Enroll", {{"roomID", room}, {"classroomID", 5001}});
  const auto started =
      callRoom(tour, "Live.Room.Post.Start", [&](CompleteBlock complete, TimeoutBlock timeout) {
        QXAPIHelper::startLiveWithRoomID_title_completeBlock_timeoutBlock(
            room, "力与运动", std::move(complete), std::move(timeout));
      });
  loadLive(tour, 2);
  showLists(tour, key);
  tour.stage.verdict("started, it goes over to those on the air", started->success && listOf(key) == 2,
                     kStatusNames[listOf(key)]);

  const std::size_t before = tour.count(QXNotificationPushOrvMessage);
  const bool entered = student.ask("Live.Room.Post.Enter", {{"roomID", room}, {"appType", 1}});
  const bool wrote = student.ask("Course.Post.wall", {{"roomID", room}, {"content", "老师好！"}});
  tour.stage.verdict("a student who comes in and greets becomes two notifications",
                     entered && wrote && receives(tour, before + 2),
                     std::to_string(tour.count(QXNotificationPushOrvMessage) - before) + " posted");
  const std::size_t heard = student.pushes().size();
  const auto closed =
      callRoom(tour, "Live.Room.Post.Close", [&](CompleteBlock complete, TimeoutBlock timeout) {
        QXAPIHelper::stopLiveWithRoomID_completeBlock_timeoutBlock(room, std::move(complete),
                                                                   std::move(timeout));
      });
  loadLive(tour, 3);
  showLists(tour, key);
  const bool told = tour.wait([&] { return student.pushes().size() > heard; });
  tour.stage.verdict("closed, it is over, and the student is told",
                     closed->success && listOf(key) == 3 && told, kStatusNames[listOf(key)]);
  student.leave();
  tour.stage.verdict("the student's leaving is a third notification", receives(tour, before + 3),
                     std::to_string(tour.count(QXNotificationPushOrvMessage) - before) + " posted");
}

void otherDeviceSignsIn(Tour& tour) {
  const std::size_t before = tour.notifications().size();
  Guest device(tour, "another device");
  device.signIn(kTeacher);
  // The push for it is dropped on purpose; the next renewal of the session tells.
  const std::size_t early = tour.notifications().size() - before;
  QXUserInfoMgr::getInstance().refresheSession();
  const bool told = tour.wait([&] { return tour.count(QXNotificationOtherUserLoggedIn) == 1; });
  tour.stage.verdict("the server's push for it posts nothing", early == 0, std::to_string(early) + " posted");
  tour.stage.verdict("the next renewal of the session tells", told, "QXNotificationOtherUserLoggedIn");
}

}  // namespace orv::cli::demo
