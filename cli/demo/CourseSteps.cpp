// The catalogue: courses of the cloud, and courses recorded on this device.

#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/data/LooseRead.h>
#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/transport/QXNotification.h>

#include "cli/demo/Steps.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

namespace orv::cli::demo {

namespace {

constexpr std::size_t kMoreCourses = 72;
constexpr std::uint64_t kWanted = 100;
constexpr std::size_t kBarWidth = 20;

QXCourseManager& catalogue() {
  return QXCourseManager::getInstance();
}

std::size_t filesIn(const OptionalString& folder) {
  std::error_code error;
  const std::filesystem::directory_iterator all(folder.value_or(""), error);
  return error ? 0 : static_cast<std::size_t>(std::ranges::count_if(all, [](const auto& entry) {
    return std::isdigit(entry.path().filename().string()[0]) != 0;
  }));
}

void showProgress(Tour& tour, std::uint64_t listed) {
  const std::size_t filled = std::min<std::size_t>(kBarWidth, listed * kBarWidth / kWanted);
  tour.stage.row(Row::Catalogue, "[" + std::string(filled, '#') + std::string(kBarWidth - filled, '.') +
                                     "]  " + std::to_string(listed) + " courses");
}

void showCourse(Tour& tour, const QXCourseManager::Course& course) {
  if (course == nullptr) return;
  tour.stage.row(Row::Catalogue,
                 std::to_string(course->roomID.get()) + "  " + course->title.get().value_or(""));
}

/// What the callback of a range was told.
struct Range {
  bool answered = false, success = false;
  std::int64_t count = 0;
};

std::shared_ptr<Call> callWith(Tour& tour, const std::string& command,
                               const std::function<void(CompleteBlock, TimeoutBlock)>& operation) {
  auto call = tour.begin(command);
  operation(tour.onComplete(call), tour.onTimeout(call));
  tour.wait([&] { return call->ended(); });
  return call;
}

}  // namespace

void catalogueIsLoaded(Tour& tour) {
  json::object fields;
  fields.emplace("title", "几何画板练习");
  tour.server.addCourses(kMoreCourses, fields);
  tour.server.faults().delayReplies(std::chrono::milliseconds(150), "Course.Get.Items");
  tour.stage.note("The first " + std::to_string(kWanted) +
                  " recorded courses of the classroom are asked for. They come in "
                  "pages of 30, which this server takes its time over.");
  const auto range = std::make_shared<Range>();
  catalogue().getCoursesWithStartIndex_count_force_coursesBlock(
      0, kWanted, true, [range](bool success, std::int64_t count) {
        MainQueue::instance().post([range, success, count] { *range = {true, success, count}; });
      });
  // A page is in the list when the next one is asked for.
  std::size_t asked = 1;
  tour.wait(
      [&] {
        const std::size_t pages = tour.frames("Course.Get.Items").size();
        if (pages > asked) showProgress(tour, catalogue().getRecordCourseCount());
        asked = std::max(asked, pages);
        return range->answered;
      },
      5);
  showProgress(tour, catalogue().getRecordCourseCount());
  tour.server.faults().clear();
  // What is too much leaves the memory after the answer.
  const auto most = static_cast<std::size_t>(MaxCourseCountInMem);
  tour.wait([&] { return catalogue().cloudCourseDict().size() <= most; });
  const std::size_t inMemory = catalogue().cloudCourseDict().size();
  for (std::uint64_t index = 0; index < 3; ++index) {
    showCourse(tour, catalogue().getRecordCourseWithIndex(index));
  }
  const std::size_t pages = tour.frames("Course.Get.Items").size();
  const std::size_t files = filesIn(catalogue().cloudCourseFolder());
  tour.stage.verdict("as many as were asked for are listed, in four pages",
                     range->success && range->count == static_cast<std::int64_t>(kWanted) && pages == 4,
                     std::to_string(range->count) + " courses, " + std::to_string(pages) + " pages");
  const std::uint64_t listed = catalogue().getRecordCourseCount();
  tour.stage.verdict("each has a file, and the memory holds no more than 60",
                     listed >= kWanted && files == listed && inMemory <= most,
                     std::to_string(files) + " files, " + std::to_string(inMemory) + " in memory");
}

void courseIsPublished(Tour& tour) {
  const auto course = catalogue().createLocalCourse();
  course->title = "光的折射";
  catalogue().addLocalCourse(course);
  const std::string file =
      catalogue().localCourseFolder().value_or("") + "/" + std::to_string(course->roomID.get()) + ".plist";
  tour.stage.row(Row::Catalogue, "new local course " + std::to_string(course->roomID.get()) + "  光的折射");
  tour.stage.verdict("a course recorded here is in the local list and on the disk",
                     catalogue().getLocalCourseCount() == 1 && std::filesystem::exists(file),
                     std::to_string(catalogue().getLocalCourseCount()) + " local");

  const auto created =
      callWith(tour, "Course.Post.Create", [&](CompleteBlock complete, TimeoutBlock timeout) {
        QXAPIHelper::createCourseWithInfo_completeBlock_timeoutBlock(
            json::object{{"title", "光的折射"}, {"draft", false}}, std::move(complete), std::move(timeout));
      });
  const json::object data = created->data();
  const std::int64_t room = looseInt64(member(&data, "roomID"));
  course->orv_cloudRoomID = room;
  course->publishStatus = 1U;
  catalogue().saveLocalCourse(course);
  const std::size_t pushes = tour.count(QXNotificationPushOrvMessage);
  callWith(tour, "Course.Post.Update", [&](CompleteBlock complete, TimeoutBlock timeout) {
    QXAPIHelper::coursePostUpdateSubmit_whiteboardMp3ID_whiteboardDataID_duration_completeBlock_timeoutBlock(
        room, 4711, 4712, 93.5, std::move(complete), std::move(timeout));
  });
  const bool confirmed = tour.wait([&] {
    return tour.count(QXNotificationPushOrvMessage) > pushes && catalogue().getLocalCourseCount() == 0;
  });
  tour.stage.verdict("its files handed in, the server confirms it by a push",
                     tour.count(QXNotificationPushOrvMessage) > pushes, "room " + std::to_string(room));
  tour.stage.verdict("which removes the local record, in the list and on the disk",
                     confirmed && !std::filesystem::exists(file),
                     std::to_string(catalogue().getLocalCourseCount()) + " local");

  const json::object userInfo{{"roomID", course->roomID.get()}};
  catalogue().courseCreateFinishedNotification({"", nullptr, &userInfo});
  tour.wait([&] { return tour.count(QXNotificationCourseListChanged) == 1; });
  const auto newest = catalogue().getRecordCourseWithIndex(0);
  showCourse(tour, newest);
  tour.stage.verdict(
      "told of it, the library loads the list anew: it is in front now",
      newest != nullptr && newest->roomID == room && tour.count(QXNotificationCourseListChanged) == 1,
      "QXNotificationCourseListChanged");
}

}  // namespace orv::cli::demo
