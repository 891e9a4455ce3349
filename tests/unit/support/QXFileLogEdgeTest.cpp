#include <orvnetwork/support/QXFileLog.h>

#include "FilesTestPlatform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

namespace orv::qx_file_log_edge_test {
namespace {

namespace fs = std::filesystem;
using test::FilesTestPlatform;
using test::home;
using test::makeFile;
using Names = std::vector<std::string>;

constexpr std::size_t kRotateAbove = 2'097'152;
constexpr const char* kTodaysName = "20240131084502_0.log";

class QXFileLogEdge : public ::testing::Test {
 protected:
  QXFileLogEdge() { fs::create_directories(folder); }

  QXFileLog& log() { return QXFileLog::standard(); }
  Names filesOnDisk() const {
    Names names;
    for (const auto& entry : fs::directory_iterator(folder)) names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
  }

  const std::string folder = home() + "/Documents/OrvLog/OrvCourse";
  FilesTestPlatform& platform = FilesTestPlatform::install();
};

TEST_F(QXFileLogEdge, CountsFilesOnlyAfterThoseOfAnOlderNamingAreGone) {
  Names expected;
  for (int i = 10; i < 20; ++i) {
    expected.push_back("202301" + std::to_string(i) + "000000_0.log");
    makeFile(folder + "/" + expected.back());
    makeFile(folder + "/202301" + std::to_string(i) + ".log");
  }
  expected.emplace_back(kTodaysName);
  log();
  EXPECT_EQ(filesOnDisk(), expected) << "ten with a \"_\" are not too many";
}

TEST_F(QXFileLogEdge, LooksAtTheLastNameOnlyAndAppendsTheNewOneAtTheEnd) {
  makeFile(folder + "/20240131000000_0.log", "of today");
  makeFile(folder + "/20240201000000_0.log", "of tomorrow: the clock was set back");
  EXPECT_EQ(log().logFilePath(), folder + "/" + kTodaysName);
  EXPECT_EQ(log().logFiles(), (Names{"20240131000000_0.log", "20240201000000_0.log", kTodaysName}));
}

TEST_F(QXFileLogEdge, JudgesTheSizeByTheOffsetOfItsOwnHandle) {
  log();
  fs::resize_file(*log().logFilePath(), 2 * kRotateAbove);
  platform.setNow(std::chrono::seconds(1'706'690'710));
  log().checkFileSize();
  EXPECT_EQ(filesOnDisk(), Names{kTodaysName});
  log().writeFileHandle()->seekToEnd();
  log().checkFileSize();
  EXPECT_EQ(filesOnDisk(), (Names{kTodaysName, "20240131084510_0.log"}));
}

TEST_F(QXFileLogEdge, FlushesTheFileThatItLeaves) {
  log();
  const int before = platform.control().synchronized;
  const auto left = log().writeFileHandle();
  log().openNewLogFile();
  EXPECT_EQ(platform.control().synchronized, before + 1);
  EXPECT_FALSE(left->write("through a handle that is closed"));
}

TEST_F(QXFileLogEdge, GoesOnAtTheEndOfAFileThatIsOpenedAgain) {
  log().logString("one");
  platform.drainLog();
  const auto size = fs::file_size(*log().logFilePath());
  log().openNewLogFile();
  EXPECT_EQ(log().logFiles(), Names{kTodaysName});
  EXPECT_EQ(log().writeFileHandle()->offset(), size);
  EXPECT_EQ(fs::file_size(*log().logFilePath()), size) << "a file that is there is not made anew";
}

}  // namespace
}  // namespace orv::qx_file_log_edge_test
