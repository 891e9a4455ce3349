#include "orvnetwork/client/LocalCourses.h"

#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/client/Ask.h>
#include <orvnetwork/client/LocalCourseTrouble.h>
#include <orvnetwork/client/MainThread.h>
#include <orvnetwork/client/PendingSource.h>
#include <orvnetwork/client/Reply.h>
#include <orvnetwork/client/detail/LocalCourseDisk.h>
#include <orvnetwork/client/detail/OffMain.h>
#include <orvnetwork/data/LooseRead.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/platform/SerialQueue.h>

#include <optional>
#include <set>
#include <string>
#include <utility>

namespace orv {

namespace {

using detail::CourseOwner;
using detail::LocalCourseDisk;
using detail::localCourseError;

json::object announcementOf(const OrvCourseModel& course, const json::object& info) {
  json::object values;
  if (const auto title = course.title.get()) values["title"] = *title;
  if (const auto kept = course.orv_createInfo.get()) {
    for (const auto& [key, value] : *kept) values[key] = value;
  }
  for (const auto& [key, value] : info) values[key] = value;
  return values;
}

LocalCourses::Answer notAnnounced(const Reply& reply) {
  const bool isRefused = reply.outcome() == ReplyOutcome::Refused;
  return localCourseError(isRefused ? LocalCourseTrouble::Refused : LocalCourseTrouble::NoAnswer,
                          reply.text().empty() ? reply.sentence() : std::string(reply.text()));
}

}  // namespace

/// The order of the work, and the courses that are being announced.
class LocalCourses::Work : public std::enable_shared_from_this<Work> {
 public:
  /// Runs a step on a worker, behind all that was asked for before, for the user who is signed in now.
  template <typename T, typename Step>
  Pending<Result<T>> run(Step step, std::optional<CourseOwner> owner = CourseOwner::present()) {
    detail::expectMainThread("LocalCourses");
    return detail::offMain<Result<T>>(
        *queue_, [owner = std::move(owner), step = std::move(step)]() -> Result<T> {
          if (LocalCourseDisk::open(owner)) return step();
          return localCourseError(LocalCourseTrouble::OtherUser, "another user has signed in meanwhile");
        });
  }

  Pending<Answer> publish(std::int64_t roomID, json::object info) {
    PendingSource<Answer> source;
    auto pending = source.pending();
    announce(shared_from_this(), roomID, std::move(info), std::move(source)).detach();
    return pending;
  }

 private:
  using Self = std::shared_ptr<Work>;

  static Pending<> announce(Self work, std::int64_t roomID, json::object info, PendingSource<Answer> source) {
    if (!work->announced_.insert(roomID).second) {
      source.answer(
          localCourseError(LocalCourseTrouble::NotAllowed, "the course is being announced already"));
      co_return;
    }
    auto announcing = announceNow(work, roomID, std::move(info));
    Answer answer = co_await announcing;
    work->announced_.erase(roomID);
    source.answer(std::move(answer));
  }

  static Pending<Answer> announceNow(Self work, std::int64_t roomID, json::object info) {
    const auto owner = CourseOwner::present();
    auto finding = work->run<Course>([roomID] { return LocalCourseDisk::find(roomID); }, owner);
    Answer found = co_await finding;
    if (!found || (*found)->orv_cloudRoomID > 0) co_return found;
    if (CourseOwner::present() != owner) {
      co_return localCourseError(LocalCourseTrouble::OtherUser, "another user has signed in meanwhile");
    }
    const std::optional<json::object> values = announcementOf(**found, info);
    auto asked = ask<&QXAPIHelper::createCourseWithInfo_completeBlock_timeoutBlock>(values);
    const Reply reply = co_await asked;
    if (!reply.succeeded()) co_return notAnnounced(reply);
    const std::int64_t room = looseInt64(member(looseObject(reply.data()), "roomID"));
    if (room <= 0) co_return localCourseError(LocalCourseTrouble::Refused, "the server has told no room");
    auto noting = work->run<Course>([roomID, room] { return LocalCourseDisk::note(roomID, room); }, owner);
    Answer noted = co_await noting;
    co_return noted;
  }

  const std::shared_ptr<SerialQueue> queue_ =
      SerialQueue::make("orv.client.localCourses", Platform::current().globalQueue());
  std::set<std::int64_t> announced_;
};

LocalCourses::LocalCourses() : work_((detail::expectMainThread("LocalCourses"), std::make_shared<Work>())) {}

LocalCourses::~LocalCourses() = default;

Pending<LocalCourses::Answer> LocalCourses::create(json::object fields) {
  return work_->run<Course>([fields = std::move(fields)] { return LocalCourseDisk::create(fields); });
}

Pending<LocalCourses::Answer> LocalCourses::save(const OrvCourseModel& course) {
  return work_->run<Course>([copy = course.copyWithZone()] { return LocalCourseDisk::save(copy); });
}

Pending<Result<std::int64_t>> LocalCourses::remove(std::int64_t roomID) {
  return work_->run<std::int64_t>([roomID] { return LocalCourseDisk::remove(roomID); });
}

Pending<LocalCourses::Answer> LocalCourses::publish(std::int64_t roomID, json::object info) {
  detail::expectMainThread("LocalCourses::publish");
  return work_->publish(roomID, std::move(info));
}

Pending<LocalCourses::Answer> LocalCourses::find(std::int64_t roomID) {
  return work_->run<Course>([roomID] { return LocalCourseDisk::find(roomID); });
}

Pending<Result<std::vector<LocalCourses::Course>>> LocalCourses::all() {
  return work_->run<std::vector<Course>>([] { return LocalCourseDisk::all(); });
}

}  // namespace orv
