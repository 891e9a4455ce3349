#include "LocalCourseWalk.h"

#include <orvnetwork/platform/Console.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <string_view>
#include <system_error>

namespace orv {

namespace {

constexpr std::int64_t kRecordedRooms = 60;

std::string join(const std::vector<std::string>& keys) {
  std::string text;
  for (const auto& key : keys) text += key + " ";
  return text;
}

}  // namespace

LocalCourseWalk::LocalCourseWalk(std::uint64_t seed)
    : random_(seed),
      platform_(testing::SimulatedPlatform::install(seed)),
      manager_(QXCourseManager::getInstance()) {
  Console::setSink([](std::string_view) {});
  folder_ = manager_.localCourseFolder().value();
  for (std::int64_t room = 1; room <= kRecordedRooms; ++room) cloudList_.push_back(std::to_string(room));
  manager_.setCloudCourseList(cloudList_);
}

void LocalCourseWalk::step() {
  ++steps_;
  struct Deed {
    std::int64_t weight;
    void (LocalCourseWalk::*run)();
  };
  static constexpr Deed kDeeds[] = {
      {3, &LocalCourseWalk::create},          {20, &LocalCourseWalk::add},
      {8, &LocalCourseWalk::refresh},         {8, &LocalCourseWalk::save},
      {5, &LocalCourseWalk::deleteCourse},    {5, &LocalCourseWalk::deleteByNumber},
      {12, &LocalCourseWalk::lookUpByNumber}, {12, &LocalCourseWalk::lookUpByIndex},
      {4, &LocalCourseWalk::lookUpRecorded},  {14, &LocalCourseWalk::takeRecorded},
      {8, &LocalCourseWalk::evict},           {2, &LocalCourseWalk::hand},
      {1, &LocalCourseWalk::damage},          {1, &LocalCourseWalk::startAnew},
      {1, &LocalCourseWalk::cutPower}};
  std::int64_t all = 0;
  for (const Deed& deed : kDeeds) all += deed.weight;
  std::int64_t drawn = below(all);
  for (const Deed& deed : kDeeds) {
    if ((drawn -= deed.weight) >= 0) continue;
    (this->*deed.run)();
    break;
  }
  if (manager_.getLocalCourseCount() != list_.size()) complain("the count is wrong");
  if (steps_ % 25 == 0) {
    if (manager_.localCourseList() != list_) {
      complain("list " + join(manager_.localCourseList()) + "is not " + join(list_));
    }
    if (manager_.courseQueue() != queue_) {
      complain("queue " + join(manager_.courseQueue()) + "is not " + join(queue_));
    }
    if (manager_.localCourseDict() != local_ || manager_.cloudCourseDict() != cloud_) {
      complain("other records are in memory");
    }
  }
  if (steps_ % 1000 == 0) checkAll();
}

LocalCourseWalk::Keys LocalCourseWalk::keysOfRecordFiles() const {
  Keys keys;
  for (const auto& [path, bytes] : platform_.files().snapshot()) {
    if (!path.starts_with(folder_ + "/") || !path.ends_with(".plist")) continue;
    const std::string key = path.substr(folder_.size() + 1, path.size() - folder_.size() - 7);
    if (key != "localCourse" && storedNow(key)) keys.push_back(key);
  }
  return keys;
}

void LocalCourseWalk::checkAll() {
  const Keys keys = keysOfRecordFiles();
  for (const auto& key : keys) {
    if (!disk_.contains(key) || disk_[key] != storedNow(key)) complain("file of " + key + " is another");
  }
  if (keys.size() != disk_.size()) complain("there are other files");
  if (listNow() != listOnDisk_) complain("the list's file is another");
}

// What happens ---------------------------------------------------------------------------------------------------

LocalCourseWalk::Course LocalCourseWalk::makeLocal(std::int64_t room) {
  auto course = std::make_shared<OrvCourseModel>();
  course->orv_local = below(40) != 0;
  course->roomID = below(60) == 0 ? -below(2) : room;
  course->publishStatus = below(8) == 0 ? publish_status::kPublished : publish_status::kNewLocal;
  course->viewCnt = ++version_;
  course->title = std::string(static_cast<std::size_t>(version_ % 70), 'x');
  return course;
}

void LocalCourseWalk::create() {
  platform_.setWallTime(WallTime(std::chrono::seconds(5'000'000 + anyRoom())));
  const Course course = manager_.createLocalCourse();
  std::int64_t room = course->addtime % 1'000'000;
  while (holdsKey(list_, std::to_string(room))) ++room;
  if (course->roomID != room || !course->orv_local || course->publishStatus != publish_status::kNewLocal) {
    complain("a bad new course");
  }
  course->viewCnt = ++version_;
  manager_.addLocalCourse(course);
  modelPutInFront(course);
  settleDisk(std::to_string(room), disk_, list_);
}

void LocalCourseWalk::add() {
  const Course course = makeLocal(anyRoom());
  const std::string key = std::to_string(course->roomID);
  const bool counts = course->orv_local && course->roomID > 0;
  const bool isNew = counts && !holdsKey(list_, key);
  armFailure();
  const bool told = manager_.addLocalCourse(course);
  if (told != isNew) complain("adding " + key + " told the opposite");
  if (counts) modelPutInFront(course);
  if (counts) return settleDisk(key, disk_, list_);
  endFailure();
}

void LocalCourseWalk::refresh() {
  const Course course = makeLocal(anyRoom());
  const std::string key = std::to_string(course->roomID);
  armFailure();
  manager_.refreshLocalCourse(course);
  if (course->orv_local && course->roomID > 0 && holdsKey(list_, key)) {
    modelPutInFront(course);
    return settleDisk(key, disk_, list_);
  }
  endFailure();
}

void LocalCourseWalk::save() {
  const Course course = makeLocal(anyRoom());
  const std::string key = std::to_string(course->roomID);
  armFailure();
  manager_.saveLocalCourse(course);
  if (!course->orv_local || course->roomID <= 0) {
    endFailure();
    return;
  }
  Disk wanted = disk_;
  if (holdsKey(list_, key)) {
    local_[key] = course;
    wanted[key] = {course->viewCnt, course->publishStatus, false};
    modelRefresh(course, false);
  }
  settleDisk(key, wanted, list_);
}

void LocalCourseWalk::deleteCourse() {
  const Course course = makeLocal(anyRoom());
  const std::string key = std::to_string(course->roomID);
  armFailure();
  manager_.deleteLocalCourse(course);
  modelDelete(key);
}

void LocalCourseWalk::deleteByNumber() {
  const std::int64_t room = anyRoom() - 2;
  const std::string key = std::to_string(room);
  armFailure();
  manager_.deleteLocalCourseWithRoomID(room);
  if (room > 0 && holdsKey(list_, key)) return modelDelete(key);
  endFailure();
}

void LocalCourseWalk::lookUpByNumber() {
  const std::int64_t room = anyRoom() - 2;
  const std::string key = std::to_string(room);
  armFailure();
  const Course course = manager_.getLocalCourseWithRoomID(room);
  if (room <= 0 || !holdsKey(list_, key)) {
    if (course != nullptr) complain("found what is not listed");
    endFailure();
  } else if (local_.contains(key)) {
    if (course != local_[key]) complain("another record than the one in memory");
    modelRefresh(local_[key], true);
    endFailure();
  } else {
    expectFromDisk(key, course, "number");
  }
}

void LocalCourseWalk::lookUpByIndex() {
  const auto index = static_cast<std::size_t>(below(std::ssize(list_) + 2));
  armFailure();
  const Course course = manager_.getLocalCourseWithIndex(index);
  if (index >= list_.size()) {
    if (course != nullptr) complain("found what is beyond the list");
    endFailure();
  } else if (local_.contains(list_[index])) {
    if (course != local_[list_[index]]) complain("another record than the one in memory");
    endFailure();
  } else {
    expectFromDisk(list_[index], course, "index");
  }
}

void LocalCourseWalk::lookUpRecorded() {
  const auto index = static_cast<std::size_t>(below(kRecordedRooms + 3));
  const Course course = manager_.getRecordCourseWithIndex(index);
  // Recorded courses have no files here.
  const auto known = index < cloudList_.size() ? cloud_.find(cloudList_[index]) : cloud_.end();
  if (course != (known != cloud_.end() ? known->second : nullptr)) complain("another recorded course");
}

void LocalCourseWalk::takeRecorded() {
  auto course = std::make_shared<OrvCourseModel>();
  course->roomID = 1 + below(kRecordedRooms + 5);
  course->publishStatus = publish_status::kPublished;
  manager_.refreshRecordCourse(course);
  modelRefresh(course, true);
}

void LocalCourseWalk::evict() {
  manager_.removeOverMuchRecordCourse();
  modelEvict();
  if (manager_.courseQueue() != queue_) {
    complain("evicted others: " + join(manager_.courseQueue()) + "not " + join(queue_));
  }
}

/// The host changes a record that is shared, without a word.
void LocalCourseWalk::hand() {
  if (local_.empty()) return;
  const auto which = std::next(local_.begin(), below(std::ssize(local_)));
  which->second->publishStatus = below(3) == 0 ? publish_status::kPublished : publish_status::kNewLocal;
}

void LocalCourseWalk::damage() {
  if (disk_.empty()) return;
  const auto which = std::next(disk_.begin(), below(std::ssize(disk_)));
  platform_.files().put(folder_ + "/" + which->first + ".plist", "<plist><dict>");
  which->second.damaged = true;
  which->second.version = which->second.publishStatus = 0;
}

void LocalCourseWalk::startAnew() {
  if (below(4) != 0) return;  // Else hardly anything would ever be evicted.
  armFailure();
  manager_.reload();
  if (below(2) == 0) platform_.settle();
  const Keys list = manager_.localCourseList();
  // A list that could not be read is empty until it is asked for anew.
  if (endFailure()) {
    if (list != listOnDisk_ && !list.empty()) complain("read another list");
    manager_.reload();
  }
  if (manager_.localCourseList() != listOnDisk_) {
    complain("the list came back as " + join(manager_.localCourseList()));
  }
  forgetMemory();
}

void LocalCourseWalk::cutPower() {
  if (below(4) != 0) return;
  ++powerCuts_;
  platform_.files().crash(below(2) == 0 ? testing::Crash::PowerCut : testing::Crash::PowerCutTorn);
  manager_.reload();
  manager_.getLocalCourseCount();
  if (removalMayComeBack_) {
    // A deletion after whose list nothing was written: the record is back, and no list names it. Likewise what was damaged
    // and set aside.
    for (const std::string& key : keysOfRecordFiles()) {
      if (!disk_.contains(key)) disk_[key] = storedNow(key).value();
    }
    removalMayComeBack_ = false;
  }
  if (manager_.localCourseList() != listOnDisk_) {
    complain("after a power cut the list is " + join(manager_.localCourseList()));
  }
  forgetMemory();
  checkAll();
}

void LocalCourseWalk::forgetMemory() {
  list_ = listOnDisk_;
  local_.clear();
  cloud_.clear();
  queue_.clear();
  manager_.setCloudCourseList(cloudList_);
}

// Faults ---------------------------------------------------------------------------------------------------------

void LocalCourseWalk::armFailure() {
  if (below(6) == 0) {
    platform_.files().failAt(static_cast<std::uint64_t>(1 + below(6)), std::errc::no_space_on_device);
  }
}

/// Says whether a call was made to fail since the last time.
bool LocalCourseWalk::endFailure() {
  platform_.files().clearFailures();
  const bool failed = platform_.files().failuresInjected() > failures_;
  failures_ = platform_.files().failuresInjected();
  return failed;
}

void LocalCourseWalk::complain(const std::string& what) {
  if (complaints_.size() < 10) complaints_.push_back("step " + std::to_string(steps_) + ": " + what);
}

std::string LocalCourseWalk::summary() const {
  return std::to_string(steps_) + " steps, " + std::to_string(failures_) + " failures, " +
         std::to_string(powerCuts_) + " power cuts, " + std::to_string(reads_) + " records read back, " +
         std::to_string(evicted_) + " evicted, " + std::to_string(list_.size()) +
         " courses listed at the end";
}

}  // namespace orv
