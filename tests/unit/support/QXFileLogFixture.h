#pragma once

#include <orvnetwork/support/QXFileLog.h>

#include "FilesTestPlatform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

namespace orv {

using namespace std::chrono_literals;
namespace fs = std::filesystem;
using test::ConsoleLines;
using test::contentsOf;
using test::FilesTestPlatform;
using test::home;
using test::makeFile;
using Names = std::vector<std::string>;

inline constexpr std::size_t kReuseBelow = 1'585'152;
inline constexpr std::size_t kRotateAbove = 2'097'152;
inline constexpr const char* kTodaysName = "20240131084502_0.log";
inline constexpr std::string_view kStamp = "2024/01/31 08:45:02.345 - ";

class QXFileLogTest : public ::testing::Test {
 protected:
  QXFileLogTest() { fs::create_directories(folder); }

  QXFileLog& log() { return QXFileLog::standard(); }

  Names filesOnDisk() const {
    Names names;
    for (const auto& entry : fs::directory_iterator(folder)) names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
  }

  /// Logs lines and has each written before the next one comes.
  void logOneByOne(int count, std::string_view text = "line") {
    for (int i = 0; i < count; ++i) {
      log().logString(text);
      platform.drainLog();
    }
  }

  /// Fills the running file with the next line, as if by its own lines, up to a size.
  void fillTo(std::size_t size) {
    const std::size_t now = fs::file_size(*log().logFilePath());
    log().logString(std::string(size - now - kStamp.size() - 1, 'x'));
    platform.drainLog();
    ASSERT_EQ(fs::file_size(*log().logFilePath()), size);
  }

  const std::string folder = home() + "/Documents/OrvLog/OrvCourse";
  FilesTestPlatform& platform = FilesTestPlatform::install();
};

}  // namespace orv
