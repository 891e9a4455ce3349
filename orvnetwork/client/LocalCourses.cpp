#include "orvnetwork/client/LocalCourses.h"

#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/client/Ask.h>
#include <orvnetwork/client/LocalCourseTrouble.h>
#include <orvnetwork/client/MainThread.h>
#include <orvnetwork/client/PendingSource.h>
#include <orvnetwork/client/Reply.h>
#include <orvnetwork/client/ReplyCode.h>
#include <orvnetwork/client/detail/LocalCourseDisk.h>
#include <orvnetwork/client/detail/OffMain.h>
#include <orvnetwork/client/detail/RevocableRequest.h>
#include <orvnetwork/data/Error.h>
#include <orvnetwork/data/LooseRead.h>
#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/platform/SerialQueue.h>
#include <orvnetwork/transport/QXNotification.h>

#include <optional>
#include <set>
#include <stop_token>
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
  std::string text = reply.text().empty() ? reply.sentence() : std::string(reply.text());
  // The server has answered: its code says more than ours.
  if (const auto code = reply.code()) {
    return Error{std::string(kReplyErrorDomain), static_cast<std::int64_t>(*code), std::move(text)};
  }
  return localCourseError(LocalCourseTrouble::NoAnswer, std::move(text));
}

/// The host may want to withdraw a room that nobody knows of.
LocalCourses::Answer madeForNothing(Error error, std::int64_t room) {
  error.description += "; the server has made room " + std::to_string(room) + " for it";
  return error;
}

LocalCourses::Answer ownerHasChanged() {
  return localCourseError(LocalCourseTrouble::OtherUser, "the user or the classroom has changed meanwhile");
}

/// Longer than a session takes to be renewed and a request to be answered then.
constexpr Seconds kAnnouncingWait{20};

/// Asks its token to stop as soon as the owner of the courses is another one.
class OwnerWatch {
 public:
  explicit OwnerWatch(std::optional<CourseOwner> owner) : owner_(std::move(owner)) {
    for (const auto name : {QXNotificationDidChangeUserInfo, QXNotificationDidChangeClassroom}) {
      tokens_.push_back(NotificationCenter::defaultCenter().observe(std::string(name),
                                                                    [this](const Notification&) { look(); }));
    }
  }
  OwnerWatch(const OwnerWatch&) = delete;
  OwnerWatch& operator=(const OwnerWatch&) = delete;
  ~OwnerWatch() = default;

  std::stop_token token() const { return stop_.get_token(); }
  bool hasChanged() {
    look();
    return stop_.stop_requested();
  }

 private:
  void look() {
    if (CourseOwner::present() != owner_) stop_.request_stop();
  }

  const std::optional<CourseOwner> owner_;
  std::stop_source stop_;
  std::vector<ObserverToken> tokens_;
};

/// The order of the work, and the courses that are being announced: one for the process, since the courses are.
struct Desk {
  const std::shared_ptr<SerialQueue> queue =
      SerialQueue::make("orv.client.localCourses", Platform::current().globalQueue());
  std::set<std::pair<std::optional<CourseOwner>, std::int64_t>> announced;  // main thread

  static Desk& standard() {
    static auto& desk = *new Desk;
    return desk;
  }
};

}  // namespace

/// What is asked for.
class LocalCourses::Work : public std::enable_shared_from_this<Work> {
 public:
  /// Runs a step on a worker, behind all that was asked for before, for the user who is signed in now.
  template <typename T, typename Step>
  Pending<Result<T>> run(Step step, std::optional<CourseOwner> owner = CourseOwner::present()) {
    return runBy<T>(LocalCourseDisk::runFor, std::move(step), std::move(owner));
  }
  /// The same with a step that only reads: whoever changes the user does not wait for it.
  template <typename T, typename Step>
  Pending<Result<T>> read(Step step, std::optional<CourseOwner> owner = CourseOwner::present()) {
    return runBy<T>(LocalCourseDisk::readFor, std::move(step), std::move(owner));
  }

  Pending<Answer> publish(std::int64_t roomID, json::object info) {
    PendingSource<Answer> source;
    auto pending = source.pending();
    announce(shared_from_this(), roomID, std::move(info), std::move(source)).detach();
    return pending;
  }

 private:
  using Self = std::shared_ptr<Work>;

  template <typename T, typename Runner, typename Step>
  static Pending<Result<T>> runBy(Runner runner, Step step, std::optional<CourseOwner> owner) {
    detail::expectMainThread("LocalCourses");
    return detail::offMain<Result<T>>(
        *Desk::standard().queue, [runner, owner = std::move(owner), step = std::move(step)]() -> Result<T> {
          std::optional<Result<T>> result;
          const bool isTheirs = runner(owner, [&] { result.emplace(step()); });
          return isTheirs && result ? *std::move(result) : Result<T>(ownerHasChanged().error());
        });
  }

  static Pending<> announce(Self work, std::int64_t roomID, json::object info, PendingSource<Answer> source) {
    const auto owner = CourseOwner::present();
    const auto key = std::make_pair(owner, roomID);
    if (!Desk::standard().announced.insert(key).second) {
      source.answer(
          localCourseError(LocalCourseTrouble::NotAllowed, "the course is being announced already"));
      co_return;
    }
    auto announcing = announceNow(work, owner, roomID, std::move(info));
    Answer answer = co_await announcing;
    Desk::standard().announced.erase(key);
    source.answer(std::move(answer));
  }

  static Pending<Answer> announceNow(Self work, std::optional<CourseOwner> owner, std::int64_t roomID,
                                     json::object info) {
    auto finding = work->read<Course>([roomID] { return LocalCourseDisk::find(roomID); }, owner);
    Answer found = co_await finding;
    if (!found || (*found)->orv_cloudRoomID > 0) co_return found;
    OwnerWatch watch(owner);
    if (watch.hasChanged()) co_return ownerHasChanged();
    const std::optional<json::object> values = announcementOf(**found, info);
    // Held for a session, it must not be sent with that of another user.
    detail::RevocableRequest request;
    auto asking = [&values] {
      return ask<&QXAPIHelper::createCourseWithInfo_completeBlock_timeoutBlock>(values);
    };
    auto asked = request.send(asking);
    asked.deadline(kAnnouncingWait);
    asked.stopOn(watch.token());
    const Reply reply = co_await asked;
    if (!reply.succeeded() && watch.hasChanged()) co_return ownerHasChanged();
    if (!reply.succeeded()) co_return notAnnounced(reply);
    const std::int64_t room = looseInt64(member(looseObject(reply.data()), "roomID"));
    if (room <= 0) co_return localCourseError(LocalCourseTrouble::Refused, "the server has told no room");
    auto noting = work->run<Course>([roomID, room] { return LocalCourseDisk::note(roomID, room); }, owner);
    Answer noted = co_await noting;
    if (!noted) co_return madeForNothing(noted.error(), room);
    co_return noted;
  }
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
  return work_->read<Course>([roomID] { return LocalCourseDisk::find(roomID); });
}

Pending<Result<std::vector<LocalCourses::Course>>> LocalCourses::all() {
  return work_->read<std::vector<Course>>([] { return LocalCourseDisk::all(); });
}

}  // namespace orv
