#include "CourseListWalk.h"

#include <orvnetwork/client/CourseRows.h>
#include <orvnetwork/course/detail/CourseCodes.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/session/QXUserInfoMgr.h>

#include <algorithm>
#include <set>
#include <string_view>
#include <utility>

namespace orv {

namespace {

constexpr int kLocal = 4;
constexpr std::size_t kMostLists = 7;

CourseList makeList(int kind) {
  if (kind == kLocal) return CourseList::local();
  return kind == 0 ? CourseList::recorded() : CourseList::live(static_cast<std::uint64_t>(kind));
}

bool isListed(const json::object& item) {
  return item.at("liveType") != live_type::kRecorded || item.at("status") != course_status::kWithdrawn;
}

}  // namespace

struct CourseListWalk::Watched {
  /// 0: recorded; 1 to 3: live, by status; 4: local.
  int kind = 0;
  CourseList list;
  std::vector<CourseRows::Row> rows;
  CourseListState state;
  bool isBeingUsed = false;
  Subscription seen;
  CourseListGuests guests;
};

CourseListWalk::CourseListWalk(std::uint64_t seed)
    : random_(seed),
      platform_(testing::SimulatedPlatform::install(seed)),
      server_(platform_.server()),
      link_(QXWebSocketMgr::standard()) {
  Console::setSink([](std::string_view) {});
  link_.setApiServerUrl("ws://walk.test");
  link_.setGlobalUUID("walk");
  server_.onRequest([this](auto connection, const json::object& frame) { serve(connection, frame); });
  signIn();
  link_.watchNetworkStatus();
  platform_.settle();
}

CourseListWalk::~CourseListWalk() {
  lists_.clear();
  Console::setSink(nullptr);
}

void CourseListWalk::complain(std::string text) {
  if (complaints_.size() < 20) complaints_.push_back(std::move(text));
}

void CourseListWalk::step() {
  const auto deed = pick(100);
  if (deed < 20) {
    useLists();
  } else if (deed < 45) {
    changeSchool();
  } else if (deed < 55) {
    useCatalogue();
  } else if (deed < 56) {
    changeUser();
  } else if (deed < 58) {
    disturbLink();
  } else {
    letTimePass();
  }
}

std::unique_ptr<CourseListWalk::Watched> CourseListWalk::watch(int kind) {
  auto watched =
      std::make_unique<Watched>(Watched{kind, makeList(kind), {}, {}, false, {}, CourseListGuests(guests_)});
  watched->state = watched->list.state();
  watched->seen = watched->list.onChanged(
      [this, raw = watched.get()](const CourseListChange& change) { took(*raw, change); });
  return watched;
}

void CourseListWalk::took(Watched& watched, const CourseListChange& change) {
  ++changes_;
  reordered_ += change.reordered ? 1 : 0;
  failures_ += change.state.error ? 1 : 0;
  const std::string name = "list " + std::to_string(watched.kind);
  if (watched.isBeingUsed) complain(name + " called back inside a call");
  if (!std::ranges::equal(watched.rows, change.before->all())) complain(name + " changed from other rows");
  if (change.stateBefore != watched.state) complain(name + " changed from another state");
  apply(change, watched.rows);
  if (!std::ranges::equal(watched.rows, change.after->all())) complain(name + " changed to other rows");
  if (watched.list.rows() != change.after) complain(name + " shows other rows than it tells");
  if (change.state.error.has_value() != (change.state.phase == CourseListPhase::Failed)) {
    complain(name + " has an error and is not failed, or the other way round");
  }
  std::set<std::int64_t> seen;
  for (const auto& row : watched.rows) {
    if (!seen.insert(row->roomID).second) complain(name + " has a course twice");
  }
  watched.state = change.state;
}

void CourseListWalk::useLists() {
  if (lists_.size() < 3 || (lists_.size() < kMostLists && oneIn(6))) {
    lists_.push_back(watch(static_cast<int>(pick(5))));
    return;
  }
  const auto at = lists_.begin() + pick(lists_.size());
  Watched& watched = **at;
  watched.isBeingUsed = true;
  const auto deed = pick(13);
  if (deed >= 10) {
    watched.guests.invite(watched.list);
  } else if (deed < 6) {
    watched.list.loadMore();
  } else if (deed < 9) {
    watched.list.refresh();
  } else {
    lists_.erase(at);
    return;
  }
  watched.isBeingUsed = false;
}

/// Somebody else works with the courses.
void CourseListWalk::useCatalogue() {
  const auto item = [this](std::int64_t status) { return makeRecord<OrvCourseModel>(makeItem(status)); };
  const auto start = static_cast<std::uint64_t>(pick(90));
  switch (pick(10)) {
    case 0:
      return courses().getCoursesWithStartIndex_count_force_coursesBlock(start, 30, true, {});
    case 1:
      return courses().getLiveCoursesWithStartIndex_count_courseStatus_force_coursesBlock(
          start, 30, static_cast<std::uint64_t>(1 + pick(3)), true, {});
    case 2:
      courses().deleteCloudCourse(courses().getRecordCourseWithIndex(start));
      return;
    case 3:
      return courses().addLiveCourse(item(1 + pick(3)));
    case 4:
      courses().deleteLiveCourse(
          courses().getLiveCourseWithIndex_courseStatus(start, static_cast<std::uint64_t>(1 + pick(3))));
      return;
    case 5:
      if (const auto course = courses().getRecordCourseWithIndex(start)) {
        course->title = "改 " + std::to_string(pick(100));
        courses().refreshRecordCourse(course);
      }
      return;
    case 6:
      return courses().deleteLocalCourse(
          courses().getLocalCourseWithIndex(static_cast<std::uint64_t>(pick(20))));
    case 7:
      if (const auto course = courses().getLocalCourseWithIndex(static_cast<std::uint64_t>(pick(20)))) {
        course->title = "改 " + std::to_string(pick(100));
        oneIn(2) ? courses().saveLocalCourse(course) : courses().refreshLocalCourse(course);
      }
      return;
    default:
      const auto course = item(1);
      course->roomID = ++lastLocal_;
      course->orv_local = true;
      course->publishStatus = publish_status::kNewLocal;
      courses().addLocalCourse(course);
  }
}

void CourseListWalk::signIn() {
  auto user = std::make_shared<OrvUserInfoModel>();
  user->uID = std::to_string(100001 + user_);
  user->token = "token";
  user->classroom = std::to_string(5001 + classroom_);
  user->classroominfo = makeRecord<OrvClassroomInfo>({{"id", *user->classroom.get()}});
  QXUserInfoMgr::getInstance().setUserInfo(user);
}

void CourseListWalk::changeUser() {
  user_ = pick(2);
  classroom_ = pick(2);
  if (oneIn(3)) return QXUserInfoMgr::getInstance().setUserInfo(nullptr);
  signIn();
}

void CourseListWalk::comeToRest() {
  wellBehaved_ = true;
  platform_.network().setLatency(Seconds(0), Seconds(0));
  platform_.network().setDefaultPlan(testing::ConnectPlan::accept());
  platform_.runFor(Seconds(130));
  signIn();
  for (int attempt = 0; attempt < 40 && !link_.isOpen(); ++attempt) {
    link_.reconnect();
    platform_.runFor(Seconds(31));
  }
  if (!link_.isOpen()) return complain("the link did not come up again");
  platform_.runFor(Seconds(60));
  for (const auto& watched : lists_) {
    watched->guests.compare(watched->list);
    if (watched->list.isLoading()) complain("list " + std::to_string(watched->kind) + " hangs");
  }
}

void CourseListWalk::checkAgainstServer() {
  while (lists_.size() < kMostLists) lists_.push_back(watch(static_cast<int>(lists_.size() % 5)));
  platform_.settle();
  for (const auto& watched : lists_) compare(*watched);
  platform_.runFor(Seconds(5));
  for (const auto& watched : lists_) compare(*watched);
  platform_.runFor(Seconds(5));
  const std::size_t before = pages_;
  platform_.runFor(Seconds(60));
  if (pages_ != before) complain("lists at rest asked for " + std::to_string(pages_ - before) + " pages");
}

void CourseListWalk::compare(Watched& watched) {
  const std::string name = "list " + std::to_string(watched.kind);
  CourseList& list = watched.list;
  const std::size_t before = pages_;
  list.refresh();
  platform_.settle();
  for (int load = 0; load < 50 && list.canLoadMore(); ++load) {
    list.loadMore();
    platform_.settle();
  }
  if (!list.atEnd()) {
    const auto why = list.lastError();
    return complain(name + " does not come to its end: " + std::string(nameOf(list.state().phase)) + " " +
                    (why ? why->text : ""));
  }
  std::vector<std::string> keys;
  for (const std::int64_t room : list.keys()) keys.push_back(std::to_string(room));
  ++compared_;
  if (watched.kind == kLocal) {
    if (keys != courses().localCourseList()) complain(name + " is not what is stored");
    return;
  }
  std::vector<std::string> expected;
  const Items& items = school()[watched.kind];
  for (const json::object& item : items) {
    if (!isListed(item)) continue;
    expected.push_back(std::to_string(item.at("roomID").as_int64()));
    const auto place = list.indexOf(item.at("roomID").as_int64());
    const bool isThere = place && json::value(*list.at(*place)->title.get()) == item.at("title");
    if (!isThere) complain(name + " has another content of " + expected.back());
  }
  if (keys != expected) {
    complain(name + " has " + std::to_string(keys.size()) + " courses, the server " +
             std::to_string(expected.size()));
  }
  const auto stored = watched.kind == 0
                          ? courses().cloudCourseList()
                          : courses().liveCourseList().at(static_cast<std::size_t>(watched.kind));
  if (stored != expected) complain(name + " is not what the catalogue has");
  // As many as there are, once more for each that was stored only, and what a load holds against the page before.
  const std::size_t most = 3 * (items.size() / 30 + 2) + 3 * 4;
  if (pages_ - before > most) complain(name + " took " + std::to_string(pages_ - before) + " requests");
}

std::string CourseListWalk::summary() const {
  return std::to_string(changes_) + " changes, " + std::to_string(reordered_) + " of the order, " +
         std::to_string(failures_) + " failures, " + std::to_string(pages_) + " pages, " +
         std::to_string(compared_) + " lists compared, " + std::to_string(guests_.changes) +
         " changes of guests, " + std::to_string(guests_.changesInLoops) + " in loops, " +
         std::to_string(platform_.elapsed().count()) + " s, " + std::to_string(platform_.stepsRun()) +
         " tasks";
}

}  // namespace orv
