#pragma once

#include <orvnetwork/client/LocalCourses.h>
#include <orvnetwork/data/Error.h>
#include <orvnetwork/data/PropertyList.h>

#include "SessionStatusFixture.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace orv {

/// `LocalCourses` and what it leaves on the disk.
class LocalCoursesFixture : public SessionStatusFixture {
 protected:
  using Course = LocalCourses::Course;
  using Answer = LocalCourses::Answer;

  template <typename T>
  static std::string words(const Result<T>& answer) {
    if (answer) return "done";
    const auto trouble = localCourseTroubleOf(answer.error());
    return trouble ? std::string(nameOf(*trouble)) : answer.error().description;
  }
  /// Waits for an answer.
  template <typename T>
  Result<T> ended(Pending<Result<T>> pending) {
    std::optional<Result<T>> came;
    const auto kept = std::move(pending).then([&](const Result<T>& answer) { came = answer; });
    EXPECT_FALSE(came) << "inside the call";
    runFor(1);
    EXPECT_TRUE(came);
    return came.value_or(Result<T>(Error{"test", 0, "nothing was told"}));
  }
  Course made(json::object fields = {}) { return *ended(courses->create(std::move(fields))); }
  /// What the list on the disk holds.
  std::vector<std::string> listed() const {
    const auto read = readPropertyList(platform.files().contents(folder + "/localCourse.plist").value_or(""));
    std::vector<std::string> keys;
    if (!read || !read->is_array()) return keys;
    for (const auto& key : read->get_array()) keys.emplace_back(std::string_view(key.get_string()));
    return keys;
  }
  /// A text in a course's file; "" when it is not there.
  std::string inRecord(std::int64_t roomID, std::string_view key) const {
    const auto path = folder + "/" + std::to_string(roomID) + ".plist";
    const auto read = readPropertyList(platform.files().contents(path).value_or(""));
    const json::value* const value =
        read && read->is_object() ? read->get_object().if_contains(key) : nullptr;
    return value != nullptr && value->is_string() ? std::string(value->get_string()) : "";
  }
  void failWriting() {
    platform.files().failAlways(testing::FileOperation::WriteAtomically, std::errc::no_space_on_device);
  }

  std::string folder = "/home/user/Documents/orv_course/public/local";
  std::unique_ptr<LocalCourses> courses = std::make_unique<LocalCourses>();
};

}  // namespace orv
