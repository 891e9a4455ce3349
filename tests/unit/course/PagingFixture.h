#pragma once

#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/platform/PropertyListFile.h>

#include "tests/unit/course/CourseFixture.h"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

namespace orv {

/// Course paging with its answers, its requests and its files written down.
class PagingFixture : public CourseFixture {
 protected:
  using Keys = QXCourseManager::Keys;

  /// Recorded courses from one room down to another, as the server lists them.
  void listRooms(std::int64_t from, std::int64_t to) {
    for (std::int64_t room = from; room >= to; --room) recorded.push_back(courseItem(room));
  }
  /// Live courses of a status, from one room up to another.
  void listLive(std::int64_t status, std::int64_t from, std::int64_t to) {
    for (std::int64_t room = from; room <= to; ++room) {
      live[status].push_back(courseItem(room, live_type::kLive, status));
    }
  }
  /// Takes a course off a list.
  static void unlist(json::array& list, std::int64_t room) {
    list.erase(std::find_if(list.begin(), list.end(),
                            [room](const json::value& item) { return item.at("roomID") == room; }));
  }
  static Keys roomKeys(std::int64_t from, std::int64_t to) {
    Keys keys;
    for (std::int64_t room = from; from < to ? room <= to : room >= to; room += from < to ? 1 : -1) {
      keys.push_back(std::to_string(room));
    }
    return keys;
  }

  /// A callback that writes its answer to `answers`: "NAME true 30", with " on main" where it runs there.
  CoursesBlock note(const std::string& name) {
    return [this, name](bool success, std::int64_t count) {
      answers.push_back(name + (success ? " true " : " false ") + std::to_string(count) +
                        (platform.mainQueue().isCurrent() ? " on main" : ""));
    };
  }
  void ask(const std::string& name, std::uint64_t start, std::uint64_t count, bool force = false) {
    courses().getCoursesWithStartIndex_count_force_coursesBlock(start, count, force, note(name));
  }
  void askLive(const std::string& name, std::uint64_t start, std::uint64_t count, std::uint64_t status,
               bool force = false) {
    courses().getLiveCoursesWithStartIndex_count_courseStatus_force_coursesBlock(start, count, status, force,
                                                                                 note(name));
  }

  /// Keeps the requests for pages back until `answerHeld`.
  void holdPages() {
    instead = [this](const json::object& request) -> std::optional<json::object> {
      const auto& command = request.at("c");
      if (command != "Course.Get.Items" && command != "Course.Get.Coming") return json::object{{"ret", 0}};
      held.push_back(request);
      return std::nullopt;
    };
  }
  /// Answers the first request that is held back.
  void answerHeld(json::object values) {
    ASSERT_FALSE(held.empty());
    const json::object request = held.front();
    held.erase(held.begin());
    server.reply(server.latest(), request, std::move(values));
    settle();
  }
  static json::object pageOf(json::array items) { return {{"ret", 0}, {"data", std::move(items)}}; }
  /// Answers page requests with these values, one after another, and with the lists when there are none left; an
  /// absent one is no answer.
  void answerPagesWith(std::vector<std::optional<json::object>> values) {
    scripted = std::move(values);
    instead = [this](const json::object& request) -> std::optional<json::object> {
      const auto& command = request.at("c");
      if (command != "Course.Get.Items" && command != "Course.Get.Coming") return json::object{{"ret", 0}};
      if (scripted.empty()) return pageAsked(request);
      const auto next = scripted.front();
      scripted.erase(scripted.begin());
      return next;
    };
  }

  /// The file of a record.
  std::optional<json::object> recordFile(const OptionalString& folder, std::int64_t room) const {
    return readDictionaryFile(folder.value() + "/" + std::to_string(room) + ".plist");
  }
  bool hasRecordFile(const OptionalString& folder, std::int64_t room) const {
    return platform.files().contents(folder.value() + "/" + std::to_string(room) + ".plist").has_value();
  }
  std::optional<json::object> cloudFile(std::int64_t room) const {
    return recordFile(courses().cloudCourseFolder(), room);
  }
  bool hasCloudFile(std::int64_t room) const { return hasRecordFile(courses().cloudCourseFolder(), room); }
  std::optional<json::object> liveFile(std::int64_t room) const {
    return recordFile(courses().liveCourseFolder(), room);
  }
  bool hasLiveFile(std::int64_t room) const { return hasRecordFile(courses().liveCourseFolder(), room); }
  static json::array cloudListFile() {
    return readArrayFile(*courses().cloudCourseListFile()).value_or(json::array{"no file"});
  }
  static json::array liveListFile() {
    return readArrayFile(*courses().liveCourseListFile()).value_or(json::array{"no file"});
  }
  static json::array asArray(const Keys& keys) {
    json::array array;
    for (const auto& key : keys) array.emplace_back(key);
    return array;
  }
  static bool isInMemory(std::int64_t room) {
    return courses().cloudCourseDict().contains(std::to_string(room));
  }

  static Keys list(std::size_t status) { return courses().liveCourseList().at(status); }
  static bool isLiveInMemory(std::int64_t room) {
    return courses().liveCourseDict().contains(std::to_string(room));
  }
  /// What the log says of live courses.
  Strings courseLines() {
    Strings lines;
    for (const auto& line : logLines()) {
      if (line.find("拉取课程") != std::string::npos) lines.push_back(line);
    }
    return lines;
  }

  /// A record that is the caller's own.
  static QXCourseManager::Course makeCourse(const json::object& item) {
    return makeRecord<OrvCourseModel>(item);
  }

  const json::object kRefused{{"ret", 5}, {"err", "no"}};
  Strings answers;
  std::vector<json::object> held;
  std::vector<std::optional<json::object>> scripted;
};

}  // namespace orv
