#include "LocalCourseWalk.h"

#include <orvnetwork/data/PropertyList.h>

#include <optional>

namespace orv {

void LocalCourseWalk::modelUse(const std::string& entry) {
  std::erase(queue_, entry);
  queue_.insert(queue_.begin(), entry);
}

void LocalCourseWalk::modelRefresh(const Course& course, bool keepFront) {
  if (course->roomID <= 0) return;
  const std::string key = std::to_string(course->roomID);
  std::string entry;
  if (!course->orv_local && holdsKey(cloudList_, key)) {
    cloud_[key] = course;
    entry = "c-" + key;
  } else if (course->orv_local && holdsKey(list_, key)) {
    local_[key] = course;
    entry = "l-" + key;
  } else {
    return;
  }
  if (keepFront) {
    modelUse(entry);
  } else if (!holdsKey(queue_, entry)) {
    queue_.push_back(entry);
  }
}

void LocalCourseWalk::modelPutInFront(const Course& course) {
  const std::string key = std::to_string(course->roomID);
  std::erase(list_, key);
  list_.insert(list_.begin(), key);
  modelRefresh(course, true);
}

void LocalCourseWalk::modelDelete(const std::string& key) {
  std::erase(list_, key);
  local_.erase(key);
  std::erase(queue_, "l-" + key);
  Disk wanted = disk_;
  wanted.erase(key);
  settleDisk(key, wanted, list_);
}

void LocalCourseWalk::modelEvict() {
  std::int64_t counter = -1;
  do {
    if (queue_.size() < 61) return;
    const std::string entry = queue_.back();
    const std::string key = entry.substr(entry.rfind('-') + 1);
    if (local_.contains(key)) {
      queue_.pop_back();
      if (local_[key]->publishStatus != publish_status::kNewLocal) {
        queue_.insert(queue_.begin(), entry);
      } else {
        local_.erase(key);
        ++evicted_;
      }
    } else if (cloud_.contains(key)) {
      cloud_.erase(key);
      queue_.pop_back();
      ++evicted_;
    }
    ++counter;
  } while (counter < std::ssize(queue_));
}

void LocalCourseWalk::expectFromDisk(const std::string& key, const Course& answer, const char* deed) {
  const bool failed = endFailure();
  const auto stored = disk_.find(key);
  const bool readable = stored != disk_.end() && !stored->second.damaged;
  if (answer == nullptr) {
    if (readable && !failed) complain("no record of " + key + " by " + deed);
  } else if (!readable) {
    complain("a record of " + key + " out of nowhere");
  } else {
    ++reads_;
    if (answer->viewCnt != stored->second.version || answer->publishStatus != stored->second.publishStatus) {
      complain("an old record of " + key);
    }
    modelRefresh(answer, true);
  }
  if (stored == disk_.end() || !stored->second.damaged) return;
  // What is damaged is set aside when it is read.
  if (!storedNow(key)) {
    disk_.erase(stored);
    removalMayComeBack_ = true;
  } else if (!failed) {
    complain("damaged " + key + " stays");
  }
}

void LocalCourseWalk::settleDisk(const std::string& key, const Disk& wanted, const Keys& wantedList) {
  const bool failed = endFailure();
  Disk complete = wanted;
  // A record that was put in front is written.
  if (const auto record = local_.find(key); record != local_.end() && holdsKey(list_, key)) {
    complete[key] = {record->second->viewCnt, record->second->publishStatus, false};
  }
  const auto at = [&key](const Disk& disk) {
    const auto found = disk.find(key);
    return found != disk.end() ? std::optional(found->second) : std::nullopt;
  };
  const auto now = storedNow(key);
  const Keys list = listNow();
  const bool isOld = now == at(disk_) || (at(disk_) && at(disk_)->damaged && !now);
  if (now != at(complete) && !(failed && isOld)) complain("file of " + key + " is neither old nor new");
  if (list != wantedList && !(failed && list == listOnDisk_)) {
    complain("the list's file is neither old nor new");
  }
  // The list is written before a record is removed, which is gone for good with the next write that succeeds.
  if (!now && at(disk_)) {
    removalMayComeBack_ = true;
  } else if (list != listOnDisk_ || !failed) {
    removalMayComeBack_ = false;
  }
  if (now) {
    disk_[key] = *now;
  } else {
    disk_.erase(key);
  }
  listOnDisk_ = list;
}

std::optional<LocalCourseWalk::Stored> LocalCourseWalk::storedNow(const std::string& key) const {
  const auto bytes = platform_.files().contents(folder_ + "/" + key + ".plist");
  if (!bytes) return std::nullopt;
  const auto read = readPropertyList(*bytes);
  if (!read) return Stored{0, 0, true};
  const json::object& values = read->get_object();
  return Stored{values.at("viewCnt").to_number<std::int64_t>(),
                values.at("publishStatus").to_number<std::uint64_t>(), false};
}

LocalCourseWalk::Keys LocalCourseWalk::listNow() const {
  Keys keys;
  const auto bytes = platform_.files().contents(folder_ + "/localCourse.plist");
  if (!bytes) return keys;
  const auto read = readPropertyList(*bytes);
  if (!read) return {"damaged"};
  for (const auto& key : read->get_array()) keys.emplace_back(key.as_string());
  return keys;
}

}  // namespace orv
