#include "orvnetwork/client/detail/CoursePageReader.h"

#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/client/Ask.h>
#include <orvnetwork/course/CourseStore.h>
#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/data/LooseRead.h>
#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/session/QXUserInfoMgr.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <string>
#include <utility>

namespace orv::detail {

namespace {

constexpr int kAttempts = 3;
constexpr auto kCount = static_cast<std::int64_t>(kCoursesAPage);
/// Longer than a request waits for its reply.
constexpr Seconds kPatience{12};
constexpr std::int64_t kRecordedType = 2;
/// How often it is looked whether the user's catalogue is open, and how many times.
constexpr Seconds kLookAgain{0.2};
constexpr int kLooks = 60;

bool ownsCatalogue(const OrvUserInfoModel& user) {
  return CourseStore::getInstance().belongsTo(int64FromText(user.uID.get().value_or("")),
                                              user.classroom.get());
}

Pending<Reply> askForPage(const CourseListName& list, std::int64_t page, const OrvUserInfoModel& user) {
  const OptionalString classroom = user.classroom;
  const std::int64_t uID = int64FromText(user.uID.get().value_or(""));
  if (list.kind == CourseListKind::Recorded) {
    return ask<
        &QXAPIHelper::
            filterCourseWithClassroomID_liveType_start_limit_draft_uID_keyword_toTime_fromTime_completeBlock_timeoutBlock>(
        classroom.value_or(""), kRecordedType, page, kCount, false, uID, std::nullopt, std::nullopt,
        std::nullopt);
  }
  return ask<
      &QXAPIHelper::
          getMyCourseWithStart_limit_classroomID_uID_containTest_courseStatus_completeBlock_timeoutBlock>(
      page, kCount, int64FromText(classroom.value_or("")), uID, QXCourseManager::getInstance().containTest(),
      static_cast<std::int64_t>(list.status));
}

/// The courses of a reply; null when it has none. A server without live courses may leave them out.
const json::array* itemsOf(const CourseListName& list, const json::object& frame) {
  static const auto& none = *new json::array();  // A worker may look at it while the process ends.
  const json::value* const data = member(looseObject(member(frame, "v")), "data");
  if (const json::array* const items = looseArray(data)) return items;
  const bool isAbsent = data == nullptr || data->is_null();
  return isAbsent && list.kind == CourseListKind::Live ? &none : nullptr;
}

CourseListError refusalOf(const Reply& reply) {
  return {.kind = CourseListErrorKind::Refused,
          .text = std::string(reply.text().empty() ? "the server refused" : reply.text()),
          .code = reply.code()};
}

}  // namespace

CoursePageReader::CoursePageReader(CourseListName list, std::shared_ptr<Executor> worker)
    : list_(list), worker_(std::move(worker)) {}

std::optional<CourseListError> CoursePageReader::whyNobody(const OrvUserInfoModel* user) {
  if (user == nullptr) return CourseListError{CourseListErrorKind::NoUser, "nobody is signed in"};
  if (int64FromText(user->classroom.get().value_or("")) != 0) return std::nullopt;
  return CourseListError{CourseListErrorKind::NoClassroom, "the user has no classroom, and so no courses"};
}

void CoursePageReader::read(std::size_t page, CourseRowsPointer base, Callback callback) {
  cancel();
  page_ = page;
  base_ = std::move(base);
  callback_ = std::move(callback);
  attemptsLeft_ = kAttempts;
  waitsLeft_ = kLooks;
  ask();
}

void CoursePageReader::cancel() {
  ++reading_;
  asked_ = PendingCallback();
  request_.takeBack();
  if (later_) later_->invalidate();
  later_.reset();
  callback_ = nullptr;
  base_ = nullptr;
}

void CoursePageReader::ask() {
  const auto user = QXUserInfoMgr::getInstance().userInfo();
  if (auto error = whyNobody(user.get())) return finishSoon(*std::move(error));
  if (list_.kind == CourseListKind::Live && (list_.status < 1 || list_.status > 3)) {
    return finishSoon({CourseListErrorKind::Refused, "live courses of this status are not listed"});
  }
  if (!ownsCatalogue(*user)) return askLater();
  --attemptsLeft_;
  askedAt_ = Platform::current().clock().steadyNow();
  asked_ = request_.send([&] { return askForPage(list_, static_cast<std::int64_t>(page_), *user); })
               .deadline(kPatience)
               .then([this](const Reply& reply) { answered(reply); });
}

void CoursePageReader::askLater() {
  later_ = Timer::schedule(kLookAgain, false, [this] {
    later_.reset();
    if (--waitsLeft_ > 0) return ask();
    fail(CourseListErrorKind::NoUser, "another user is signing in");
  });
}

void CoursePageReader::answered(const Reply& reply) {
  switch (reply.outcome()) {
    case ReplyOutcome::Succeeded:
      break;
    case ReplyOutcome::Refused:
      return finish(reading_, nullptr, refusalOf(reply));
    case ReplyOutcome::NoLink:
      return fail(CourseListErrorKind::NoLink, reply.text());
    case ReplyOutcome::TimedOut:
    case ReplyOutcome::Cancelled:
      if (isKeptBack()) return fail(CourseListErrorKind::NoSession, "the server waits for a session");
      if (!QXWebSocketMgr::standard().isOpen()) {
        return fail(CourseListErrorKind::NoLink, reply.text().empty() ? "the link was lost" : reply.text());
      }
      if (attemptsLeft_ > 0) return ask();
      return fail(CourseListErrorKind::TimedOut, "the server does not answer");
  }
  if (itemsOf(list_, *reply.frame()) == nullptr) {
    return fail(CourseListErrorKind::Refused, "the server's answer holds no courses");
  }
  // What the server lists for somebody else is nothing for this catalogue.
  const auto user = QXUserInfoMgr::getInstance().userInfo();
  if (user == nullptr || !ownsCatalogue(*user)) {
    attemptsLeft_ = kAttempts;
    return askLater();
  }
  worker_->post(
      [weak = weak_from_this(), list = list_, frame = reply.frame(), base = base_, reading = reading_] {
        CoursePagePointer page = makePage(list, *itemsOf(list, *frame), *base);
        MainQueue::instance().post([weak, reading, page = std::move(page)] {
          if (const auto reader = weak.lock()) reader->finish(reading, page, std::nullopt);
        });
      });
}

bool CoursePageReader::isKeptBack() const {
  // A main thread that stood still is late for everything, and nothing need be kept back then.
  return Platform::current().clock().steadyNow() - askedAt_ >= kPatience &&
         QXWebSocketMgr::standard().parkedRequestCount() > 0;
}

void CoursePageReader::finishSoon(CourseListError error) {
  MainQueue::instance().post([weak = weak_from_this(), reading = reading_, error = std::move(error)] {
    if (const auto reader = weak.lock()) reader->finish(reading, nullptr, error);
  });
}

void CoursePageReader::fail(CourseListErrorKind kind, std::string_view text) {
  finish(reading_, nullptr, CourseListError{kind, std::string(text)});
}

void CoursePageReader::finish(std::uint64_t reading, CoursePagePointer page,
                              std::optional<CourseListError> error) {
  if (reading != reading_ || !callback_) return;
  const auto kept = shared_from_this();
  base_ = nullptr;
  const Callback callback = std::exchange(callback_, nullptr);
  callback(std::move(page), std::move(error));
}

}  // namespace orv::detail
