#include "QXFileLogFixture.h"

#include <string>
#include <vector>

namespace orv::qx_file_log_test {
namespace {

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
  EXPECT_EQ(fs::status(fs::path(folder).parent_path()).permissions(), fs::perms::owner_all);
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

TEST_F(QXFileLogTest, LineFeedsInALoggedValueMakeNoLineThatLooksLikeAnother) {
  log().log("closed: %@", "x\n2024/01/31 08:45:10.000 - all is well\n    more");
  platform.drainLog();
  EXPECT_EQ(contentsOf(*log().logFilePath()),
            std::string(kStamp) + "closed: x\\n2024/01/31 08:45:10.000 - all is well\n    more\n");
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

}  // namespace
}  // namespace orv::qx_file_log_test
