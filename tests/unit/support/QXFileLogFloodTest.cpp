// Lines that come faster than files may be begun, and files that cannot be opened.

#include "QXFileLogFixture.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <string>

namespace orv::qx_file_log_flood_test {
namespace {

constexpr std::uint64_t kMiB = std::uint64_t{1} << 20;
/// A file takes as much as may wait in memory, 64 MiB, and the rest of a block.
constexpr std::uint64_t kMostInFile = 66 * kMiB;
constexpr std::uint64_t kMostInFolder = 150 * kMiB;

class QXFileLogFlood : public QXFileLogTest {
 protected:
  std::uint64_t bytesOnDisk() const {
    std::uint64_t sum = 0;
    for (const auto& entry : fs::directory_iterator(folder)) sum += entry.file_size();
    return sum;
  }
  /// Lines of a megabyte, in portions that fit into memory.
  void flood(int megabytes) {
    const std::string line(1'000'000, 'x');
    for (int i = 0; i < megabytes; ++i) {
      log().logString(line);
      if (i % 40 == 39) platform.drainLog();
    }
    platform.drainLog();
  }
  void setSecond(int second) {
    now_ = std::chrono::seconds(1'706'690'710 + second);
    platform.setNow(now_);
  }
  std::string runningFile() { return contentsOf(*log().logFilePath()); }

 private:
  std::chrono::nanoseconds now_{};
};

TEST_F(QXFileLogFlood, AFileHasABoundAndALineTellsHowManyWereLost) {
  setSecond(0);
  const std::string first = log().logFilePath().value();
  flood(200);
  EXPECT_EQ(log().logFilePath(), first) << "no other file may begin within this second";
  EXPECT_LE(fs::file_size(first), kMostInFile);
  const auto kept = static_cast<int>(fs::file_size(first) / 1'000'000);
  setSecond(1);
  log().logString("next");
  platform.drainLog();
  const std::string end = "2024/01/31 08:45:11.000 - " + std::to_string(200 - kept) +
                          " log lines were lost here: they came faster than log files may grow\n"
                          "2024/01/31 08:45:11.000 - next\n";
  const std::string text = runningFile();
  EXPECT_EQ(text.substr(text.size() - std::min(text.size(), end.size())), end);
}

TEST_F(QXFileLogFlood, LinesThatWereLostLastAreToldWhenTheProgramEnds) {
  const auto child = fork();
  if (child == 0) {
    setSecond(0);
    flood(100);
    std::exit(0);
  }
  int status = -1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  const std::string text = contentsOf(folder + "/20240131084510_0.log");
  EXPECT_TRUE(text.ends_with(" - 33 log lines were lost here: they came faster than log files may grow\n"))
      << text.substr(text.size() - std::min<std::size_t>(text.size(), 100));
}

TEST_F(QXFileLogFlood, TheFolderHasABoundHoweverLongTheFloodLasts) {
  for (int second = 0; second < 6; ++second) {
    setSecond(second);
    flood(80);
    EXPECT_LE(bytesOnDisk(), kMostInFolder) << "second " << second;
  }
  for (const std::string& name : log().logFiles()) EXPECT_TRUE(fs::exists(folder + "/" + name)) << name;
}

TEST_F(QXFileLogFlood, ALineThatIsLongerThanAFileIsUsuallyIsWrittenWhereThereIsLittle) {
  log().logString("short");
  platform.drainLog();
  log().logString(std::string(66'000'000, 'x'));
  log().logString("after");
  platform.drainLog();
  EXPECT_GT(fs::file_size(*log().logFilePath()), 66'000'000u);
}

TEST_F(QXFileLogFlood, TheListHoldsNoRemovedNameAfterTwoRotationsInOneSecond) {
  for (int i = 10; i < 19; ++i) makeFile(folder + "/202301" + std::to_string(i) + "000000_0.log");
  log();
  fillTo(kRotateAbove + 1);
  setSecond(0);
  logOneByOne(101);
  const Names once = log().logFiles();
  EXPECT_EQ(once.size(), 11u);
  EXPECT_EQ(once.front(), "20230110000000_0.log")
      << "the first rotation leaves the name of what it has removed";
  EXPECT_FALSE(fs::exists(folder + "/" + once.front()));
  fillTo(kRotateAbove + 1);
  logOneByOne(101);
  for (const std::string& name : log().logFiles()) EXPECT_TRUE(fs::exists(folder + "/" + name)) << name;
  EXPECT_EQ(log().logFiles().size(), 10u);
}

TEST_F(QXFileLogFlood, FilesAreClosedToOtherUsers) {
  log().logString("a token");
  platform.drainLog();
  EXPECT_EQ(fs::status(*log().logFilePath()).permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(QXFileLogFlood, AFileThatCouldNotBeOpenedIsTriedAgainWithTheNextLookAtTheSize) {
  platform.control().refuseOpening = true;
  log();
  EXPECT_EQ(log().writeFileHandle(), nullptr);
  logOneByOne(150);
  EXPECT_EQ(filesOnDisk(), Names());
  platform.control().refuseOpening = false;
  logOneByOne(52);
  logOneByOne(1, "there is a file again");
  EXPECT_TRUE(runningFile().ends_with("there is a file again\n"));
}

TEST_F(QXFileLogFlood, AFileThatTheHostHasClosedIsNotOpenedAgain) {
  logOneByOne(1);
  log().saveLog();
  logOneByOne(300);
  EXPECT_EQ(log().writeFileHandle(), nullptr);
}

}  // namespace
}  // namespace orv::qx_file_log_flood_test
