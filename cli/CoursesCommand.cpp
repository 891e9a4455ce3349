#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/platform/Timer.h>
#include <orvnetwork/session/QXUserInfoMgr.h>
#include <orvnetwork/transport/QXNotification.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include "cli/Commands.h"
#include "cli/ExitCode.h"
#include "cli/Host.h"
#include "cli/ProgressBar.h"
#include "cli/StoredUser.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace orv::cli {

namespace {

constexpr Seconds kLookEvery{0.05};
/// A page has three attempts of 10 s; a little more, and nothing will come.
constexpr Seconds kGiveUpWithoutProgress{35};
constexpr std::uint64_t kPageSize = 30;
constexpr std::uint64_t kMostCourses = 1'000'000;

/// One of the lists of the course manager: the recorded courses, or the live ones of a status.
class CourseList {
 public:
  explicit CourseList(std::optional<std::uint64_t> status) : status_(status) {}

  std::uint64_t size() const {
    return status_ ? manager_.getLiveCourseCountWithStatus(*status_) : manager_.getRecordCourseCount();
  }
  void request(std::uint64_t start, std::uint64_t count, bool force, CoursesBlock block) const {
    if (status_) {
      manager_.getLiveCoursesWithStartIndex_count_courseStatus_force_coursesBlock(start, count, *status_,
                                                                                  force, std::move(block));
    } else {
      manager_.getCoursesWithStartIndex_count_force_coursesBlock(start, count, force, std::move(block));
    }
  }
  /// How many courses the pages that a waiting request has asked for so far cover; 0 when none waits.
  std::uint64_t covered() const {
    const auto requests = status_ ? manager_.requestLiveList() : manager_.requestRecordList();
    return requests.empty() ? 0 : requests.back().endIndex.value_or(0);
  }
  json::array records(std::uint64_t start, std::uint64_t count) const {
    json::array records;
    const std::uint64_t end = std::min(start + count, size());
    for (std::uint64_t index = start; index < end; ++index) {
      const auto course = status_ ? manager_.getLiveCourseWithIndex_courseStatus(index, *status_)
                                  : manager_.getRecordCourseWithIndex(index);
      if (course != nullptr) records.emplace_back(course->jsonObject());
    }
    return records;
  }

 private:
  const std::optional<std::uint64_t> status_;
  QXCourseManager& manager_ = QXCourseManager::getInstance();
};

/// Waits for ranges of a list. Main thread.
class Loader {
 public:
  Loader(Host& host, const CourseList& list, std::uint64_t wanted)
      : host_(host), list_(list), bar_("loading", "courses", wanted) {
    token_ =
        NotificationCenter::defaultCenter().observe(QXNotificationUserInfoInvalidate, [this](const auto&) {
          sessionOver_ = true;
          Host::notice();
        });
    look_ = Timer::schedule(kLookEvery, true, &Host::notice);
  }
  Loader(const Loader&) = delete;
  Loader& operator=(const Loader&) = delete;
  ~Loader() { look_->invalidate(); }

  /// Loads a range; false when it did not come.
  bool load(std::uint64_t start, std::uint64_t count, bool force) {
    // A range that was given up may be answered by a later one's pages.
    const auto reply = std::make_shared<Reply>();
    const auto tell = [reply](bool success, std::int64_t) {
      MainQueue::instance().post([reply, success] {
        reply->answered = true;
        reply->success = success;
        Host::notice();
      });
    };
    // The library's own session request waits on the main queue: this one goes after it.
    MainQueue::instance().post(
        [list = list_, start, count, force, tell] { list.request(start, count, force, tell); });
    return waitFor(*reply) && reply->success;
  }
  bool sessionOver() const { return sessionOver_; }

 private:
  struct Reply {
    bool answered = false;
    bool success = false;
  };

  bool waitFor(const Reply& reply) {
    std::uint64_t shown = 0;
    const auto isOver = [&] {
      return reply.answered || sessionOver_ || !QXWebSocketMgr::standard().isOpen();
    };
    while (!isOver()) {
      const bool moved =
          host_.runUntil([&] { return isOver() || list_.covered() != shown; }, kGiveUpWithoutProgress);
      if (!moved) break;
      shown = list_.covered();
      // What was asked for last has not come yet.
      farthest_ = std::max(farthest_, std::min(shown, list_.size()));
      if (!isOver()) bar_.show(farthest_);
    }
    return reply.answered && !sessionOver_;
  }

  Host& host_;
  const CourseList& list_;
  ProgressBar bar_;
  ObserverToken token_;
  std::shared_ptr<Timer> look_;
  std::uint64_t farthest_ = 0;
  bool sessionOver_ = false;
};

/// A page without courses has cleared the list, which it does also behind a last page that was full. Loads what is in
/// front of it again, at most up to `end`.
bool reloadFullPages(Loader& loader, const CourseList& list, std::uint64_t end) {
  std::uint64_t whole = 0;
  while (list.size() < end) {
    if (!loader.load(whole, kPageSize, true)) return false;
    if (list.size() == 0) break;
    whole += kPageSize;
  }
  return list.size() > 0 || whole == 0 || loader.load(0, whole, true);
}

/// Brings the list up to the end of the range, and with `force` the range anew. The server's pages hold courses that
/// belong in no list, so a list that is complete may end before the pages do: more of them are asked for as long
/// as that makes the list longer.
bool loadRange(Loader& loader, const CourseList& list, std::uint64_t start, std::uint64_t count, bool force) {
  const std::uint64_t end = start + count;
  if (!force && list.size() >= end) return loader.load(start, count, false);
  // A gap in front of the range would move it.
  std::uint64_t from = std::min(force ? start : list.size(), list.size());
  std::uint64_t to = end;
  while (true) {
    const std::uint64_t before = list.size();
    if (!loader.load(from, to - from, true)) return false;
    const std::uint64_t after = list.size();
    if (after == 0) return reloadFullPages(loader, list, end);
    if (after >= end || after <= before) return true;
    // Never behind the last page: one without courses clears the list.
    from = after;
    to += end - after;
  }
}

Answer fail(ExitCode code, std::string_view outcome, std::string_view message, std::string_view reason = {}) {
  json::object answer{{"outcome", outcome}, {"message", message}};
  if (!reason.empty()) answer.emplace("reason", reason);
  return {writeLine(answer), code};
}

Answer show(const CoursesCommand& command, const CourseList& list, std::string_view message) {
  json::array courses = list.records(command.start, command.count);
  json::object answer{{"outcome", "complete"},
                      {"success", true},
                      {"start", command.start},
                      {"count", courses.size()},
                      {"listed", list.size()}};
  answer.emplace("courses", std::move(courses));
  if (!message.empty()) answer.emplace("message", message);
  return {writeLine(answer), ExitCode::Success};
}

bool hasClassroom(const OrvUserInfoModel& user) {
  const std::string classroom = user.classroom.get().value_or("");
  return classroom.find_first_of("123456789") != std::string::npos;
}

Answer load(const CoursesCommand& command, Context& context) {
  if (command.start > kMostCourses || command.count > kMostCourses) {
    return wrongUse("at most " + std::to_string(kMostCourses) + " courses can be asked for");
  }
  // The host comes first: its signals must be held back before there are other threads.
  Host* const host = context.hasLastingServer() ? &context.host() : nullptr;
  if (!host) MainQueue::instance().claim();
  const auto user = QXUserInfoMgr::getInstance().userInfo();
  if (!user) return fail(ExitCode::Refused, "error", kNobodyMessage);
  if (!hasClassroom(*user)) {
    return fail(ExitCode::Refused, "error", "the user has no classroom, and so no courses");
  }
  const CourseList list(command.status);
  if (!host) return show(command, list, "as stored; with --server the server is asked");
  if (!host->openLink()) {
    return fail(ExitCode::NoReply, "timeout", host->noLinkMessage(), host->noLinkReason());
  }

  Loader loader(*host, list, command.start + command.count);
  const bool loaded = loadRange(loader, list, command.start, command.count, command.force);
  if (loader.sessionOver()) return fail(ExitCode::Refused, "error", kSessionOverMessage);
  if (host->interrupted()) return fail(ExitCode::NoReply, "timeout", "interrupted");
  if (loaded) return show(command, list, {});
  return fail(ExitCode::NoReply, "timeout",
              QXWebSocketMgr::standard().isOpen() ? "the server does not answer"
                                                  : "the link was lost; what had come by then is stored");
}

}  // namespace

ExitCode run(const CoursesCommand& command, Context& context) {
  const Answer answer = load(command, context);
  context.output.line(answer.line);
  return answer.code;
}

}  // namespace orv::cli
