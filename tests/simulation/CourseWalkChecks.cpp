// What must hold during the walk and at its end.

#include "CourseWalk.h"

#include <orvnetwork/platform/PropertyListFile.h>

#include <algorithm>

namespace orv {

void CourseWalk::checkAtRest() {
  ++rests_;
  checkRequests();
  checkRecorded();
  checkLive();
  checkMemory();
}

void CourseWalk::checkRequests() {
  std::size_t waiting = 0, waitingLive = 0;
  for (const Request& request : requests_) {
    if (request.ends > 0) {
      if (!request.isForgotten) complain(request.text + " is kept after its answer");
    } else if (request.isForgotten) {
      if (request.generation == generation_) complain(request.text + " was forgotten");
      ++dropped_;
    } else {
      if (request.generation != generation_) complain(request.text + " outlived its catalogue");
      ++(request.isLive ? waitingLive : waiting);
    }
  }
  std::erase_if(requests_, [](const Request& request) { return request.isForgotten; });
  if (waiting != courses().requestRecordList().size()) complain("the waiting requests do not add up");
  if (waitingLive != courses().requestLiveList().size()) complain("the waiting live requests do not add up");
  for (const auto& semaphore : {courses().reqRecordSemaphore(), courses().reqLiveSemaphore()}) {
    if (!semaphore->tryWait()) continue;
    if (semaphore->tryWait()) complain("two pages could be under way");
    semaphore->signal();
  }
}

void CourseWalk::checkRecorded() {
  const auto list = courses().cloudCourseList();
  const std::set<std::string> keys(list.begin(), list.end());
  if (keys.size() != list.size()) complain("a course is listed twice");
  const std::string folder = courses().cloudCourseFolder().value();
  for (const auto& key : list) {
    if (key == "0") continue;  // Its file goes with any course that vanishes from the list alone.
    if (!platform_.files().contents(folder + "/" + key + ".plist")) {
      complain("course " + key + " has no file");
    }
  }
  const auto queue = courses().courseQueue();
  const std::set<std::string> queued(queue.begin(), queue.end());
  for (const auto& [key, course] : courses().cloudCourseDict()) {
    if (!keys.contains(key)) complain("course " + key + " is in memory and not listed");
    if (!queued.contains("c-" + key)) complain("course " + key + " is in memory and not queued");
    if (std::to_string(course->roomID) != key) complain("course " + key + " is another one");
  }
  if (courses().localCourseList() != localLists_[{user_, classroom_}]) {
    complain("the local list is another one");
  }
  for (const auto& [key, course] : courses().localCourseDict()) {
    if (!queued.contains("l-" + key)) complain("local course " + key + " is in memory and not queued");
  }
}

void CourseWalk::checkLive() {
  std::set<std::string> keys;
  for (const auto& list : courses().liveCourseList()) {
    if (std::set<std::string>(list.begin(), list.end()).size() != list.size()) {
      complain("a live course is listed twice");
    }
    keys.insert(list.begin(), list.end());
  }
  const auto queue = courses().liveCourseQueue();
  const std::set<std::string> queued(queue.begin(), queue.end());
  for (const auto& [key, course] : courses().liveCourseDict()) {
    if (!keys.contains(key)) complain("live course " + key + " is in memory and not listed");
    if (!queued.contains(key) && !cachedOutOfQueue_.contains(key) && key != "0") {
      complain("live course " + key + " is in memory and not queued");
    }
  }
}

void CourseWalk::checkMemory() {
  const auto semaphore = courses().dataSemaphore();
  semaphore->wait();
  std::size_t before = 0;
  do {
    before = courses().courseQueue().size();
    courses().removeOverMuchRecordCourse();
  } while (courses().courseQueue().size() < before);
  courses().removeOverMuchLiveCourse();
  const auto queue = courses().courseQueue();
  const auto isStale = [](const std::string& entry) {
    const std::string key = entry.substr(entry.rfind('-') + 1);
    return !courses().localCourseDict().contains(key) && !courses().cloudCourseDict().contains(key);
  };
  if (queue.size() > 60 && !isStale(queue.back())) complain("more than 60 records stay in memory");
  if (courses().liveCourseQueue().size() > 60) complain("more than 60 live records stay in memory");
  semaphore->signal();
}

void CourseWalk::comeToRest() {
  wellBehaved_ = true;
  for (auto& [classroom, school] : schools_) {
    for (auto& item : school.recorded) item["status"] = course_status::kComing;
  }
  platform_.network().setLatency(Seconds(0), Seconds(0));
  platform_.runFor(Seconds(60));
  changeUser();
  platform_.runFor(Seconds(60));
  if (user_ < 0) signIn(0, 0);
  for (int attempt = 0; attempt < 40 && !link_.isOpen(); ++attempt) {
    link_.reconnect();
    platform_.runFor(Seconds(31));
  }
  if (!link_.isOpen()) return complain("the link did not come up again");
  QXUserInfoMgr::getInstance().refresheSession();
  platform_.runFor(Seconds(40));
  // What waited for the link goes on with the next request.
  ask(false);
  ask(true);
  platform_.runFor(Seconds(60));
  waitForRepeatedPages();
  checkAtRest();
  if (updatesEnded_ != updates_) complain("an update did not end");
  if (!courses().requestRecordList().empty()) complain("requests still wait");
  if (changes_ == Changes::Calm && !courses().requestLiveList().empty()) complain("live requests still wait");
}

/// A range behind the end of a list that its page makes no longer asks for that page again and again, every 30 s in the
/// end, until the server has had enough. Only a request whose pages are asked for may take so long.
void CourseWalk::waitForRepeatedPages() {
  std::size_t seen = 0;
  for (int pause = 0; pause < kMostRepeats + 3 && seen != pages_; ++pause) {
    seen = pages_;
    platform_.runFor(Seconds(31));
  }
}

void CourseWalk::checkAgainstServer() {
  School& school = schools_[std::to_string(5001 + classroom_)];
  // A list of full pages only would end with an empty one, which clears it.
  while (school.recorded.size() % 30 == 0) school.recorded.insert(school.recorded.begin(), makeItem(2, 1));
  std::vector<std::string> expected;
  for (const auto& item : school.recorded) expected.push_back(std::to_string(item.at("roomID").as_int64()));
  // A new course is put in front of its neighbour, which the same pass then drops and the next one brings back in front
  // of its own, and so on to the beginning of the list, which then is one longer. A course whose place lies behind the
  // end of a list that is short in this way is appended and cut off again, until the list has become long enough.
  const std::size_t mostPasses = expected.size() + 2;
  std::size_t passes = mostPasses, longest = 0;
  do {
    loadAll(0);
    if (courses().cloudCourseList().size() > longest) {
      longest = courses().cloudCourseList().size();
      passes = mostPasses;
    }
  } while (--passes > 0 && courses().cloudCourseList() != expected);
  compareRecorded();
  if (changes_ == Changes::Wild) return;
  for (int round = 0; round < 2; ++round) {
    for (std::int64_t status = 1; status <= 3; ++status) {
      auto& list = school.live[status];
      while (list.size() % 30 == 0) list.insert(list.begin(), makeItem(live_type::kLive, status));
      loadAll(status);
    }
  }
  for (std::int64_t status = 1; status <= 3; ++status) compareLive(status);
}

/// Makes a forced pass over the recorded courses, or over the live ones of a status.
void CourseWalk::loadAll(std::int64_t status) {
  ++passes_;
  recordedPage_.repeats = livePage_.repeats = 0;
  bool isAnswered = false;
  const auto done = [&isAnswered](bool, std::int64_t) { isAnswered = true; };
  if (status == 0) {
    const auto& list = schools_[std::to_string(5001 + classroom_)].recorded;
    courses().getCoursesWithStartIndex_count_force_coursesBlock(0, list.size(), true, done);
  } else {
    const auto& list = schools_[std::to_string(5001 + classroom_)].live[status];
    courses().getLiveCoursesWithStartIndex_count_courseStatus_force_coursesBlock(
        0, list.size(), static_cast<std::uint64_t>(status), true, done);
  }
  platform_.settle();
  if (!isAnswered) complain("a pass over everything was not answered");
}

void CourseWalk::compareRecorded() {
  const auto& list = schools_[std::to_string(5001 + classroom_)].recorded;
  if (courses().getRecordCourseCount() != list.size()) {
    return complain("the list holds " + std::to_string(courses().getRecordCourseCount()) +
                    " courses, the server " + std::to_string(list.size()));
  }
  json::array keys;
  for (std::size_t index = 0; index < list.size(); ++index) {
    const std::string key = std::to_string(list[index].at("roomID").as_int64());
    keys.emplace_back(key);
    const auto file = readDictionaryFile(*courses().cloudCourseFolder() + "/" + key + ".plist");
    if (!file || file->at("title") != list[index].at("title")) {
      complain("the file of " + key + " is not up to date");
    }
    const auto course = courses().getRecordCourseWithIndex(index);
    if (course == nullptr || std::to_string(course->roomID) != key ||
        json::value(*course->title.get()) != list[index].at("title")) {
      complain("course " + key + " is not up to date");
    }
  }
  if (readArrayFile(*courses().cloudCourseListFile()) != keys) complain("the list's file is not up to date");
  checkAtRest();
}

void CourseWalk::compareLive(std::int64_t status) {
  const auto& list = schools_[std::to_string(5001 + classroom_)].live[status];
  std::vector<std::string> keys;
  for (const auto& item : list) {
    keys.push_back(std::to_string(item.at("roomID").as_int64()));
    const auto file = readDictionaryFile(*courses().liveCourseFolder() + "/" + keys.back() + ".plist");
    if (!file || file->at("title") != item.at("title")) {
      complain("the file of live " + keys.back() + " is not up to date");
    }
    const auto course =
        courses().getLiveCourseWithIndex_courseStatus(keys.size() - 1, static_cast<std::uint64_t>(status));
    if (course == nullptr || std::to_string(course->roomID) != keys.back() ||
        json::value(*course->title.get()) != item.at("title")) {
      complain("live course " + keys.back() + " is not up to date");
    }
  }
  if (courses().liveCourseList().at(static_cast<std::size_t>(status)) != keys) {
    complain("the live list of status " + std::to_string(status) + " is not the server's");
  }
}

std::string CourseWalk::summary() const {
  return std::to_string(answered_) + " requests answered, " + std::to_string(refused_) + " refused, " +
         std::to_string(dropped_) + " dropped, " + std::to_string(updatesEnded_) + " updates, " +
         std::to_string(pages_) + " pages, " + std::to_string(generation_) + " catalogues, " +
         std::to_string(rests_) + " looks at rest, " + std::to_string(passes_) + " passes, " +
         std::to_string(platform_.elapsed().count()) + " s, " + std::to_string(platform_.stepsRun()) +
         " tasks";
}

}  // namespace orv
