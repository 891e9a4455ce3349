#pragma once

#include <orvnetwork/course/OrvCourseModel.h>
#include <orvnetwork/data/PropertyList.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/testing/SimulatedPlatform.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

inline constexpr auto kDocuments = "/home/user/Documents";
inline constexpr auto kCourse = "/home/user/Documents/12-3456";
inline constexpr auto kMp4 = "/home/user/Documents/12-3456/mp4";
inline constexpr auto kIndex = "/home/user/Documents/12-3456/mp4/indexInfo.plist";
inline constexpr auto kList = "/home/user/Documents/12-3456/mp4/list.plist";

/// A course on the simulated platform, where it is 2024-01-31 08:00 UTC.
class CourseFilesFixture : public ::testing::Test {
 protected:
  using Strings = std::vector<std::string>;

  CourseFilesFixture() {
    Console::setSink([this](std::string_view line) { console.emplace_back(line); });
    course.classroomID = 12;
    course.roomID = 3456;
  }
  ~CourseFilesFixture() override { Console::setSink(nullptr); }

  std::optional<json::value> propertyListIn(const std::string& path) {
    const OptionalString text = files.contents(path);
    if (!text) return std::nullopt;
    const auto list = readPropertyList(*text);
    return list ? std::optional(*list) : std::nullopt;
  }
  void putPropertyList(const std::string& path, const json::value& value) {
    files.put(path, writePropertyList(value).value());
  }
  /// How many console lines begin like this.
  std::size_t countLines(std::string_view start) const {
    return static_cast<std::size_t>(std::count_if(console.begin(), console.end(),
                                                  [&](const auto& line) { return line.starts_with(start); }));
  }

  testing::SimulatedPlatform& platform = testing::SimulatedPlatform::install();
  testing::SimulatedFileSystem& files = platform.files();
  Strings console;
  OrvCourseModel course;
};

}  // namespace orv
