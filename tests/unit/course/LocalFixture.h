#pragma once

#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/platform/PropertyListFile.h>

#include "tests/unit/course/CourseFixture.h"
#include <tests/support/LocalCourse.h>

#include <memory>
#include <optional>
#include <string>

namespace orv {

/// Local courses in the catalogue of nobody in particular, and a look at their files.
class LocalFixture : public CourseFixture {
 protected:
  using Keys = QXCourseManager::Keys;
  using Course = QXCourseManager::Course;
  static constexpr std::uint64_t kNew = publish_status::kNewLocal;
  static constexpr std::uint64_t kHandedOver = publish_status::kPublished;

  static Course makeLocal(std::int64_t room, std::string title = "课程", std::uint64_t publishStatus = kNew) {
    auto course = test::localCourse(room, std::move(title));
    course->publishStatus = publishStatus;
    course->liveType = live_type::kRecorded;
    return course;
  }
  static Course makeCloud(std::int64_t room) {
    auto course = makeLocal(room);
    course->orv_local = false;
    return course;
  }
  static Course add(std::int64_t room, std::string title = "课程", std::uint64_t publishStatus = kNew) {
    const Course course = makeLocal(room, std::move(title), publishStatus);
    courses().addLocalCourse(course);
    return course;
  }
  static void addRooms(std::int64_t from, std::int64_t to) {
    for (std::int64_t room = from; room <= to; ++room) add(room);
  }
  static Keys keysDown(std::int64_t from, std::int64_t to) {
    Keys keys;
    for (std::int64_t room = from; room >= to; --room) keys.push_back(std::to_string(room));
    return keys;
  }
  static Keys prefixed(const std::string& prefix, Keys keys) {
    for (auto& key : keys) key.insert(0, prefix);
    return keys;
  }

  static std::string folder() { return courses().localCourseFolder().value(); }
  static std::string listPath() { return folder() + "/localCourse.plist"; }
  static std::string recordPath(const std::string& key) { return folder() + "/" + key + ".plist"; }
  static std::string recordPath(std::int64_t room) { return recordPath(std::to_string(room)); }
  bool hasRecord(std::int64_t room) const { return platform.files().contents(recordPath(room)).has_value(); }
  std::optional<std::string> titleOnDisk(std::int64_t room) const {
    const auto values = readDictionaryFile(recordPath(room));
    const json::value* title = values ? values->if_contains("title") : nullptr;
    if (title == nullptr) return std::nullopt;
    return std::string(title->as_string());
  }
  /// The list as its file holds it; {"no file"} when there is none.
  static Keys listOnDisk() { return keysIn(listPath()); }
  static Keys keysIn(const std::string& path) {
    const auto list = readArrayFile(path);
    if (!list) return {"no file"};
    Keys keys;
    for (const auto& key : *list) keys.emplace_back(key.as_string());
    return keys;
  }
  void putList(const json::array& keys) {
    ASSERT_TRUE(writePropertyListFile(listPath(), keys, Durability::Durable));
  }
  void putRecord(const std::string& key, const json::object& values) {
    ASSERT_TRUE(writePropertyListFile(recordPath(key), values, Durability::Durable));
  }
  /// Forgets what is in memory and reads the disk anew, as the next start of the process would.
  static void startAnew() { courses().reload(); }
};

}  // namespace orv
