#include <orvnetwork/support/QXFileLog.h>

#include "FilesTestPlatform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

namespace orv {
namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;
using test::ConsoleLines;
using test::contentsOf;
using test::FilesTestPlatform;
using test::home;
using test::makeFile;
using Names = std::vector<std::string>;

constexpr std::size_t kReuseBelow = 1'585'152;
constexpr std::size_t kRotateAbove = 2'097'152;
constexpr const char* kTodaysName = "20240131084502_0.log";
constexpr std::string_view kStamp = "2024/01/31 08:45:02.345 - ";

class QXFileLogTest : public testing::Test {
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

TEST_F(QXFileLogTest, StartsInAnEmptyFolderWithAFileNamedAfterThisSecond) {
  ConsoleLines console;
  EXPECT_EQ(log().logDirPath(), folder);
  EXPECT_EQ(log().logFilePath(), folder + "/" + kTodaysName);
  EXPECT_EQ(log().logFiles(), Names{kTodaysName});
  EXPECT_EQ(filesOnDisk(), Names{kTodaysName});
  EXPECT_EQ(fs::file_size(*log().logFilePath()), 0U);
  EXPECT_NE(log().writeFileHandle(), nullptr);
  EXPECT_FALSE(log().consoleLog());
  EXPECT_EQ(log().logTimes(), 0);
  EXPECT_EQ(console.take(), Names{"-[QXFileLog init] " + folder});
}

TEST_F(QXFileLogTest, MakesItsFolderClosedToOthers) {
  fs::remove_all(home() + "/Documents");
  log();
  EXPECT_EQ(fs::status(folder).permissions(), fs::perms::owner_all);
}

TEST_F(QXFileLogTest, WritesStampedLinesInOrder) {
  log().log("first %@ and %ld", "text", 42L);
  log().logString("100 % %@ of it");
  log().log("two\nlines");
  platform.drainLog();
  const std::string stamp(kStamp);
  EXPECT_EQ(contentsOf(*log().logFilePath()),
            stamp + "first text and 42\n" + stamp + "100 % %@ of it\n" + stamp + "two\nlines\n");
  EXPECT_EQ(log().logTimes(), 3);
}

TEST_F(QXFileLogTest, WritesManyQueuedLinesWithOneWrite) {
  for (int i = 0; i < 90; ++i) log().logString("line");
  const int before = platform.control().writes;
  platform.drainLog();
  EXPECT_EQ(platform.control().writes, before + 1);
  EXPECT_EQ(fs::file_size(*log().logFilePath()), 90 * (kStamp.size() + 5));
}

TEST_F(QXFileLogTest, ATaskOnTheQueueSeesTheLinesBeforeItInTheFile) {
  std::string seen;
  log().logString("before");
  log().opQueue().post([&] { seen = contentsOf(*log().logFilePath()); });
  log().logString("after");
  platform.drainLog();
  EXPECT_EQ(seen, std::string(kStamp) + "before\n");
  EXPECT_TRUE(contentsOf(*log().logFilePath()).ends_with("after\n"));
}

TEST_F(QXFileLogTest, ATaskThatThrowsDoesNoHarm) {
  ConsoleLines console;
  log().opQueue().post([] { throw 1; });
  log().logString("after");
  platform.drainLog();
  EXPECT_TRUE(contentsOf(*log().logFilePath()).ends_with("after\n"));
}

TEST_F(QXFileLogTest, ReusesAFileOfTodayBelowTheReuseSize) {
  makeFile(folder + "/20240131000000_0.log", std::string(kReuseBelow - 1, 'o'));
  EXPECT_EQ(log().logFilePath(), folder + "/20240131000000_0.log");
  logOneByOne(1);
  EXPECT_EQ(filesOnDisk(), Names{"20240131000000_0.log"});
  EXPECT_TRUE(contentsOf(*log().logFilePath()).ends_with("oo" + std::string(kStamp) + "line\n"));
}

TEST_F(QXFileLogTest, LeavesAFileOfTodayAtTheReuseSize) {
  makeFile(folder + "/20240131000000_0.log", std::string(kReuseBelow, 'o'));
  EXPECT_EQ(log().logFilePath(), folder + "/" + kTodaysName);
  EXPECT_EQ(filesOnDisk(), (Names{"20240131000000_0.log", kTodaysName}));
}

TEST_F(QXFileLogTest, LeavesAFileOfAnEarlierDay) {
  makeFile(folder + "/20240130235959_0.log", "old");
  EXPECT_EQ(log().logFilePath(), folder + "/" + kTodaysName);
  EXPECT_EQ(log().logFiles(), (Names{"20240130235959_0.log", kTodaysName}));
  EXPECT_EQ(contentsOf(folder + "/20240130235959_0.log"), "old");
}

TEST_F(QXFileLogTest, LooksForTodayAnywhereInTheNewestName) {
  makeFile(folder + "/x20240131_.log", "old");
  EXPECT_EQ(log().logFilePath(), folder + "/x20240131_.log");
}

TEST_F(QXFileLogTest, NamesFilesByTheLocalDay) {
  platform.zone = "Asia/Shanghai";
  makeFile(folder + "/20240131000000_0.log");
  platform.setNow(1'706'720'400s);  // 2024-01-31 17:00 UTC, already 1 February there
  EXPECT_EQ(log().logFilePath(), folder + "/20240201010000_0.log");
}

TEST_F(QXFileLogTest, KeepsTheTenNewestOfFifteenFiles) {
  Names expected;
  for (int i = 10; i < 25; ++i) {
    const std::string name = "202301" + std::to_string(i) + "000000_0.log";
    makeFile(folder + "/" + name);
    if (i >= 15) expected.push_back(name);
  }
  expected.emplace_back(kTodaysName);
  log();
  EXPECT_EQ(filesOnDisk(), expected);
  EXPECT_EQ(log().logFiles(), expected);
}

TEST_F(QXFileLogTest, KeepsTenFiles) {
  for (int i = 10; i < 20; ++i) makeFile(folder + "/202301" + std::to_string(i) + "000000_0.log");
  log();
  EXPECT_EQ(filesOnDisk().size(), 11U);
}

TEST_F(QXFileLogTest, RemovesFilesOfAnOlderNamingWhateverTheCount) {
  makeFile(folder + "/20230101.log");
  makeFile(folder + "/20230102_0.log");
  makeFile(folder + "/notes.txt");
  makeFile(folder + "/notes.log.bak");
  log();
  EXPECT_EQ(filesOnDisk(), (Names{"20230102_0.log", kTodaysName, "notes.log.bak", "notes.txt"}));
}

TEST_F(QXFileLogTest, FlushesEveryTenthLine) {
  log();
  std::vector<int> flushedAt;
  for (int line = 1; line <= 101; ++line) {
    const int before = platform.control().synchronized;
    logOneByOne(1);
    if (platform.control().synchronized != before) flushedAt.push_back(line);
  }
  EXPECT_EQ(flushedAt, (std::vector<int>{10, 20, 30, 40, 50, 60, 70, 80, 90, 100}));
}

TEST_F(QXFileLogTest, FlushesABatchOnceThatHoldsATenthLine) {
  const auto flushesOf = [&](int lines) {
    const int before = platform.control().synchronized;
    for (int i = 0; i < lines; ++i) log().logString("line");
    platform.drainLog();
    return platform.control().synchronized - before;
  };
  log();
  EXPECT_EQ(flushesOf(9), 0);
  EXPECT_EQ(flushesOf(1), 1);
  EXPECT_EQ(flushesOf(50), 1);
  EXPECT_EQ(flushesOf(0), 0);
}

TEST_F(QXFileLogTest, LooksAtTheSizeWithThe101stAndThe202ndLine) {
  log();
  fillTo(kRotateAbove + 1);
  platform.setNow(1'706'690'710s);
  logOneByOne(99);
  EXPECT_EQ(log().logTimes(), 100);
  EXPECT_EQ(filesOnDisk().size(), 1U);
  logOneByOne(1);
  EXPECT_EQ(log().logTimes(), 0);
  EXPECT_EQ(filesOnDisk(), (Names{kTodaysName, "20240131084510_0.log"}));
  EXPECT_EQ(log().logFilePath(), folder + "/20240131084510_0.log");
  EXPECT_EQ(fs::file_size(*log().logFilePath()), 0U);

  fillTo(kRotateAbove + 1);
  platform.setNow(1'706'690'720s);
  logOneByOne(99);
  EXPECT_EQ(filesOnDisk().size(), 2U);
  logOneByOne(1);
  EXPECT_EQ(log().logFilePath(), folder + "/20240131084520_0.log");
}

TEST_F(QXFileLogTest, RotatesInTheMiddleOfABatchAtTheLineWhereItMust) {
  log();
  fillTo(kRotateAbove);
  platform.setNow(1'706'690'710s);
  for (int i = 2; i <= 250; ++i) log().logString("line " + std::to_string(i));
  platform.drainLog();
  EXPECT_TRUE(contentsOf(folder + "/" + kTodaysName).ends_with(" - line 101\n"));
  const std::string rest = contentsOf(folder + "/20240131084510_0.log");
  EXPECT_TRUE(rest.starts_with("2024/01/31 08:45:10.000 - line 102\n")) << rest.substr(0, 60);
  EXPECT_EQ(std::count(rest.begin(), rest.end(), '\n'), 149);
  EXPECT_EQ(log().logTimes(), 48);
}

TEST_F(QXFileLogTest, AFileOfExactlyTheRotationSizeIsKept) {
  log();
  fillTo(kRotateAbove);
  platform.setNow(1'706'690'710s);
  log().checkFileSize();
  EXPECT_EQ(filesOnDisk(), Names{kTodaysName});
  fillTo(kRotateAbove + 30);
  platform.setNow(1'706'690'710s);
  log().checkFileSize();
  EXPECT_EQ(filesOnDisk(), (Names{kTodaysName, "20240131084510_0.log"}));
}

TEST_F(QXFileLogTest, OneByteAboveTheRotationSizeIsTooMuch) {
  log();
  fillTo(kRotateAbove + 1);
  platform.setNow(1'706'690'710s);
  log().checkFileSize();
  EXPECT_EQ(filesOnDisk(), (Names{kTodaysName, "20240131084510_0.log"}));
}

TEST_F(QXFileLogTest, ARotationRemovesTheOldestOfMoreThanTenFiles) {
  log();
  for (int i = 10; i < 22; ++i) makeFile(folder + "/202301" + std::to_string(i) + "000000_0.log");
  fillTo(kRotateAbove + 1);
  platform.setNow(1'706'690'710s);
  log().checkFileSize();
  EXPECT_EQ(filesOnDisk().size(), 13U);
  EXPECT_EQ(filesOnDisk().front(), "20230111000000_0.log");
  EXPECT_EQ(log().logFiles().size(), 14U);
  EXPECT_EQ(log().logFiles().front(), "20230110000000_0.log");
}

TEST_F(QXFileLogTest, RotationsWithinOneSecondAppendToTheSameFile) {
  log();
  fillTo(kRotateAbove + 1);
  platform.setNow(1'706'690'710s);
  log().checkFileSize();
  const std::string path = folder + "/20240131084510_0.log";
  fillTo(kRotateAbove + 5);
  log().checkFileSize();
  EXPECT_EQ(log().logFilePath(), path);
  EXPECT_EQ(log().logFiles(), (Names{kTodaysName, "20240131084510_0.log"}));
  logOneByOne(1);
  EXPECT_EQ(fs::file_size(path), kRotateAbove + 5 + kStamp.size() + 5);
}

TEST_F(QXFileLogTest, ManyLinesWithinOneSecondGoToOneFile) {
  const std::string line(1000, 'x');
  for (int i = 0; i < 10'000; ++i) log().logString(line);
  platform.drainLog();
  EXPECT_EQ(filesOnDisk(), Names{kTodaysName});
  EXPECT_EQ(fs::file_size(*log().logFilePath()), 10'000 * (kStamp.size() + 1001));
  platform.setNow(1'706'690'710s);
  for (int i = 0; i < 202; ++i) log().logString("next");
  platform.drainLog();
  EXPECT_EQ(filesOnDisk(), (Names{kTodaysName, "20240131084510_0.log"}));
}

TEST_F(QXFileLogTest, ANewDayAloneStartsNoNewFile) {
  log();
  platform.setNow(1'706'790'000s);
  logOneByOne(150);
  EXPECT_EQ(filesOnDisk(), Names{kTodaysName});
  EXPECT_TRUE(log().openNewLogFile());
  EXPECT_EQ(log().logFilePath(), folder + "/20240201122000_0.log");
}

TEST_F(QXFileLogTest, LatestLogsIsEmptyForAFileAndAbsentWithoutOne) {
  logOneByOne(3);
  EXPECT_EQ(log().latestLogs(), "");
  fs::remove(*log().logFilePath());
  EXPECT_EQ(log().latestLogs(), std::nullopt);
}

TEST_F(QXFileLogTest, ShowLogPrintsAnEmptyLine) {
  logOneByOne(1);
  ConsoleLines console;
  log().showLog();
  EXPECT_EQ(console.take(), Names{""});
}

TEST_F(QXFileLogTest, FileUploadLogDoesNothing) {
  logOneByOne(1);
  const std::string before = contentsOf(*log().logFilePath());
  ConsoleLines console;
  const int writes = platform.control().writes;
  log().fileUploadLog();
  platform.drainLog();
  EXPECT_EQ(contentsOf(*log().logFilePath()), before);
  EXPECT_EQ(platform.control().writes, writes);
  EXPECT_EQ(console.take(), Names());
}

TEST_F(QXFileLogTest, LogFileSizeOfWhatCannotBeLookedAtIsZero) {
  makeFile(home() + "/file", "12345");
  EXPECT_EQ(log().logFileSize(home() + "/file"), 5U);
  EXPECT_EQ(log().logFileSize(home() + "/missing"), 0U);
  EXPECT_EQ(log().logFileSize(std::nullopt), 0U);
}

TEST_F(QXFileLogTest, SaveLogLosesLinesUntilAFileIsOpenedAgain) {
  logOneByOne(1, "kept");
  const int flushes = platform.control().synchronized;
  const auto handle = log().writeFileHandle();
  log().saveLog();
  EXPECT_EQ(platform.control().synchronized, flushes + 1);
  EXPECT_EQ(log().writeFileHandle(), nullptr);
  EXPECT_FALSE(handle->write("through a handle that is closed"));
  logOneByOne(1, "lost");
  EXPECT_EQ(log().logTimes(), 2);
  EXPECT_TRUE(log().openNewLogFile());
  logOneByOne(1, "kept too");
  EXPECT_EQ(contentsOf(*log().logFilePath()),
            std::string(kStamp) + "kept\n" + std::string(kStamp) + "kept too\n");
}

TEST_F(QXFileLogTest, SynchronizeFileFlushesAtOnce) {
  log();
  const int before = platform.control().synchronized;
  log().synchronizeFile();
  EXPECT_EQ(platform.control().synchronized, before + 1);
}

TEST_F(QXFileLogTest, EchoesLinesToTheConsoleWhileAskedTo) {
  logOneByOne(1, "silent");
  ConsoleLines console;
  log().setConsoleLog(true);
  EXPECT_TRUE(log().consoleLog());
  logOneByOne(1, "loud %@");
  log().setConsoleLog(false);
  logOneByOne(1, "silent again");
  EXPECT_EQ(console.take(), Names{"loud %@"});
}

TEST_F(QXFileLogTest, AConsoleSinkMayUseTheLog) {
  log().setConsoleLog(true);
  int echoes = 0;
  Console::setSink([&](std::string_view line) {
    if (line == "line" && ++echoes == 1) log().logString("from the sink");
    EXPECT_EQ(log().logDirPath(), folder);
    log().openNewLogFile();
  });
  logOneByOne(2);
  Console::setSink({});
  EXPECT_EQ(echoes, 2);
  EXPECT_NE(contentsOf(*log().logFilePath()).find("from the sink"), std::string::npos);
}

TEST_F(QXFileLogTest, AFullDiskIsSilentAndLaterLinesAreTriedAgain) {
  logOneByOne(1, "before");
  ConsoleLines console;
  platform.control().refuseWrites = true;
  logOneByOne(5, "lost");
  platform.control().refuseWrites = false;
  logOneByOne(1, "after");
  EXPECT_EQ(contentsOf(*log().logFilePath()),
            std::string(kStamp) + "before\n" + std::string(kStamp) + "after\n");
  EXPECT_EQ(log().logTimes(), 7);
  EXPECT_EQ(console.take(), Names());
}

TEST_F(QXFileLogTest, WithoutAFolderLinesAreDroppedAndNothingBreaks) {
  platform.control().refuseFolders = true;
  ConsoleLines console;
  EXPECT_EQ(log().logDirPath(), std::nullopt);
  EXPECT_EQ(console.take(), (Names{"-[QXPathManager createFolderWithSuffix:domain:] 165, Permission denied",
                                   "-[QXFileLog init] (null)", "-[QXPathManager createFile:] 187, (null)"}));
  EXPECT_EQ(log().logFilePath(), std::nullopt);
  EXPECT_EQ(log().logFiles(), Names());
  EXPECT_EQ(log().writeFileHandle(), nullptr);
  logOneByOne(250);
  log().checkFileSize();
  log().synchronizeFile();
  log().saveLog();
  EXPECT_EQ(log().latestLogs(), std::nullopt);
  EXPECT_EQ(console.take(), Names());
  EXPECT_EQ(filesOnDisk(), Names());
}

TEST_F(QXFileLogTest, StampsAYearThatTheWeekBelongsTo) {
  platform.setNow(1'735'603'200s);  // 2024-12-31
  logOneByOne(1);
  EXPECT_EQ(contentsOf(folder + "/20241231000000_0.log"), "2025/12/31 00:00:00.000 - line\n");
}

TEST_F(QXFileLogTest, LosesLinesBeyondItsBoundAndSaysHowMany) {
  const std::string line(1'000'000, 'x');
  for (int i = 0; i < 100; ++i) log().logString(line);
  log().logString("next");
  platform.drainLog();
  const std::string text = contentsOf(*log().logFilePath());
  EXPECT_LE(text.size(), std::size_t{64} << 20);
  const auto lines = std::count(text.begin(), text.end(), '\n');
  EXPECT_EQ(lines, 67 + 2);
  EXPECT_NE(text.find(" - 33 log lines were lost here"), std::string::npos);
  EXPECT_TRUE(text.ends_with(" - next\n"));
}

}  // namespace
}  // namespace orv
