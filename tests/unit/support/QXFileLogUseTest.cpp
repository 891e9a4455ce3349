#include <orvnetwork/platform/Console.h>

#include "QXFileLogFixture.h"

#include <optional>
#include <string>
#include <string_view>

namespace orv::qx_file_log_use_test {
namespace {

class QXFileLogUse : public QXFileLogTest {};

TEST_F(QXFileLogUse, LatestLogsIsEmptyForAFileAndAbsentWithoutOne) {
  logOneByOne(3);
  EXPECT_EQ(log().latestLogs(), "");
  fs::remove(*log().logFilePath());
  EXPECT_EQ(log().latestLogs(), std::nullopt);
}

TEST_F(QXFileLogUse, ShowLogPrintsAnEmptyLine) {
  logOneByOne(1);
  ConsoleLines console;
  log().showLog();
  EXPECT_EQ(console.take(), Names{""});
}

TEST_F(QXFileLogUse, FileUploadLogDoesNothing) {
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

TEST_F(QXFileLogUse, LogFileSizeOfWhatCannotBeLookedAtIsZero) {
  makeFile(home() + "/file", "12345");
  EXPECT_EQ(log().logFileSize(home() + "/file"), 5U);
  EXPECT_EQ(log().logFileSize(home() + "/missing"), 0U);
  EXPECT_EQ(log().logFileSize(std::nullopt), 0U);
}

TEST_F(QXFileLogUse, SaveLogLosesLinesUntilAFileIsOpenedAgain) {
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

TEST_F(QXFileLogUse, SynchronizeFileFlushesAtOnce) {
  log();
  const int before = platform.control().synchronized;
  log().synchronizeFile();
  EXPECT_EQ(platform.control().synchronized, before + 1);
}

TEST_F(QXFileLogUse, EchoesLinesToTheConsoleWhileAskedTo) {
  logOneByOne(1, "silent");
  ConsoleLines console;
  log().setConsoleLog(true);
  EXPECT_TRUE(log().consoleLog());
  logOneByOne(1, "loud %@");
  log().setConsoleLog(false);
  logOneByOne(1, "silent again");
  EXPECT_EQ(console.take(), Names{"loud %@"});
}

TEST_F(QXFileLogUse, AConsoleSinkMayUseTheLog) {
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

TEST_F(QXFileLogUse, AFullDiskIsSilentAndLaterLinesAreTriedAgain) {
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

TEST_F(QXFileLogUse, WithoutAFolderLinesAreDroppedAndNothingBreaks) {
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

TEST_F(QXFileLogUse, StampsAYearThatTheWeekBelongsTo) {
  platform.setNow(1'735'603'200s);  // 2024-12-31
  logOneByOne(1);
  EXPECT_EQ(contentsOf(folder + "/20241231000000_0.log"), "2025/12/31 00:00:00.000 - line\n");
}

TEST_F(QXFileLogUse, LosesLinesBeyondItsBoundAndSaysHowMany) {
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
}  // namespace orv::qx_file_log_use_test
