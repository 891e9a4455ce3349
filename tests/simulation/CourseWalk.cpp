#include "CourseWalk.h"

#include <orvnetwork/data/LooseRead.h>
#include <orvnetwork/platform/Console.h>

#include <tests/simulation/DistinctIdentifiers.h>

#include <memory>
#include <stdexcept>
#include <string_view>

namespace orv {

struct CourseWalk::Token {
  explicit Token(Request& tokenRequest) : request(tokenRequest) {}
  ~Token() { request.isForgotten = true; }
  Request& request;
};

CourseWalk::CourseWalk(std::uint64_t seed, Changes changes)
    : random_(seed),
      platform_(testing::SimulatedPlatform::install(seed)),
      server_(platform_.server()),
      link_(QXWebSocketMgr::standard()),
      changes_(changes) {
  Console::setSink([](std::string_view) {});
  keepIdentifiersApart(platform_, 200'000);
  link_.setApiServerUrl("ws://walk.test");
  link_.setGlobalUUID("walk");
  server_.onRequest([this](auto connection, const json::object& frame) { serve(connection, frame); });
  courses();
  signIn(0, 0);
  link_.watchNetworkStatus();
  platform_.settle();
}

CourseWalk::~CourseWalk() {
  Console::setSink(nullptr);
}

void CourseWalk::complain(std::string text) {
  if (complaints_.size() < 20) complaints_.push_back(std::move(text));
}

void CourseWalk::step() {
  const int deed = pick(100);
  if (deed < 8) {
    ask(false);
  } else if (deed < 14) {
    ask(true);
  } else if (deed < 40) {
    changeSchool();
  } else if (deed < 50) {
    useCourses();
  } else if (deed < 56) {
    useLiveCourses();
  } else if (deed < 60) {
    useLocalCourses();
  } else if (deed < 63) {
    update();
  } else if (deed < 64) {
    changeUser();
  } else if (deed < 66) {
    disturbLink();
  } else if (deed < 70) {
    platform_.settle();
    checkAtRest();
  } else {
    letTimePass();
  }
}

void CourseWalk::ask(bool isLive) {
  const auto start = static_cast<std::uint64_t>(oneIn(2) ? 0 : pick(150));
  const auto count = static_cast<std::uint64_t>(oneIn(3) ? 30 : pick(70));
  const bool force = oneIn(3);
  const auto status = static_cast<std::uint64_t>(isLive && oneIn(30) ? 4 : 1 + pick(3));
  const bool isRefused = !link_.isOpen() || user_ < 0 || (isLive && status > 3);
  Request& request = requests_.emplace_back();
  request.text = (isLive ? "live " + std::to_string(status) + " " : "recorded ") + std::to_string(start) +
                 "+" + std::to_string(count) + (force ? " forced" : "");
  request.isLive = isLive;
  request.count = count;
  request.generation = generation_;
  if (isLive) {
    courses().getLiveCoursesWithStartIndex_count_courseStatus_force_coursesBlock(start, count, status, force,
                                                                                 callbackFor(request));
  } else {
    courses().getCoursesWithStartIndex_count_force_coursesBlock(start, count, force, callbackFor(request));
  }
  request.isBeingAsked = false;
  if ((request.ends == 1) != isRefused) {
    complain(request.text + (isRefused ? " was not" : " was") + " refused");
  }
}

CoursesBlock CourseWalk::callbackFor(Request& request) {
  return [this, token = std::make_shared<Token>(request)](bool success, std::int64_t count) {
    ended(token->request, success, count);
  };
}

void CourseWalk::ended(Request& request, bool success, std::int64_t count) {
  if (++request.ends > 1) complain(request.text + " ended twice");
  if (success == request.isBeingAsked) {
    complain(request.text + " was answered with " + (success ? "true" : "false"));
  }
  if (!success) {
    ++refused_;
    if (count != -1) complain(request.text + " was refused with another number than -1");
    return;
  }
  ++answered_;
  if (platform_.mainQueue().isCurrent()) complain(request.text + " was answered on the main thread");
  if (count < 0 || static_cast<std::uint64_t>(count) > request.count) {
    complain(request.text + " was answered with " + std::to_string(count));
  }
  misbehaveInCallback();
}

void CourseWalk::misbehaveInCallback() {
  if (wellBehaved_ || !oneIn(10)) return;
  switch (pick(4)) {
    case 0:
      useCourses();
      break;
    case 1:
      if (requests_.back().isBeingAsked) break;
      ask(oneIn(2));
      break;
    case 2:
      useLiveCourses();
      break;
    default:
      throw std::runtime_error("a host's callback");
  }
}

void CourseWalk::useCourses() {
  const auto index = static_cast<std::uint64_t>(pick(150));
  const auto course = courses().getRecordCourseWithIndex(index);
  if (course == nullptr) return;
  if (index >= courses().getRecordCourseCount()) complain("a course behind the end of the list");
  if (oneIn(15)) {
    if (!courses().deleteCloudCourse(course)) complain("a course could not be deleted");
  } else if (oneIn(4)) {
    courses().refreshRecordCourse(course);
  }
}

void CourseWalk::useLiveCourses() {
  const auto status = static_cast<std::uint64_t>(pick(6));
  const auto course =
      courses().getLiveCourseWithIndex_courseStatus(static_cast<std::uint64_t>(pick(40)), status);
  // One that the list of its own status does not hold comes into memory all the same.
  if (course != nullptr && course->status != status) cachedOutOfQueue_.insert(std::to_string(course->roomID));
  switch (pick(6)) {
    case 0: {
      auto added = std::make_shared<OrvCourseModel>();
      added->merge(makeItem(1, pick(6)));
      courses().addLiveCourse(added);
      if (courses().getIndexOfLiveCourse(added) < 0) complain("a course that was added is not in its list");
      break;
    }
    case 1:
      if (course != nullptr) courses().deleteLiveCourse(course);
      break;
    case 2:
      if (course == nullptr) break;
      course->status = static_cast<std::uint64_t>(pick(6));
      courses().addLiveCourse(course);
      break;
    default:
      if (course == nullptr) break;
      cachedOutOfQueue_.insert(std::to_string(course->roomID));
      courses().refreshLiveCourse(course);
  }
}

void CourseWalk::useLocalCourses() {
  auto& list = localLists_[{user_, classroom_}];
  if (list.size() < 20 && oneIn(2)) {
    const auto course = courses().createLocalCourse();
    if (oneIn(3)) course->publishStatus = publish_status::kPublished;
    if (!courses().addLocalCourse(course)) complain("a new local course was known");
    list.insert(list.begin(), std::to_string(course->roomID));
  } else if (!list.empty()) {
    const auto at = list.begin() + pick(static_cast<int>(list.size()));
    const std::string key = *at;
    if (oneIn(2)) {
      list.erase(at);
      courses().deleteLocalCourseWithRoomID(int64FromText(key));
    } else if (const auto course = courses().getLocalCourseWithRoomID(int64FromText(key))) {
      list.erase(at);
      list.insert(list.begin(), key);
      courses().refreshLocalCourse(course);
    } else {
      complain("a local course is gone");
    }
  }
}

void CourseWalk::update() {
  const auto course = courses().getLiveCourseWithIndex_courseStatus(static_cast<std::uint64_t>(pick(40)),
                                                                    static_cast<std::uint64_t>(1 + pick(3)));
  if (course == nullptr) return;
  ++updates_;
  cachedOutOfQueue_.insert(std::to_string(course->roomID));
  courses().updateCourse_withHandler(course, [this](const QXCourseManager::Course&) { ++updatesEnded_; });
}

void CourseWalk::changeUser() {
  if (changes_ == Changes::Calm) {
    const auto semaphore = courses().reqLiveSemaphore();
    if (!semaphore->tryWait()) return;
    semaphore->signal();
  }
  if (!oneIn(3)) return signIn(pick(2), pick(2));
  if (user_ < 0) return;
  user_ = classroom_ = -1;
  ++generation_;
  QXUserInfoMgr::getInstance().setUserInfo(nullptr);
}

void CourseWalk::signIn(int user, int classroom) {
  const bool isNew = user_ != user || classroom_ != classroom;
  user_ = user;
  classroom_ = classroom;
  if (isNew) ++generation_;
  auto record = std::make_shared<OrvUserInfoModel>();
  record->uID = std::to_string(100001 + user);
  record->token = "token";
  record->classroom = std::to_string(5001 + classroom);
  record->classroominfo = makeRecord<OrvClassroomInfo>({{"id", *record->classroom.get()}, {"title", "教室"}});
  QXUserInfoMgr::getInstance().setUserInfo(record);
}

}  // namespace orv
