// `log` with --since, --grep and --follow.

#include "Program.h"
#include <cli/LogFilter.h>
#include <cli/LogFollower.h>
#include <cli/LogTime.h>

#include <gtest/gtest.h>
#include <signal.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <thread>

namespace orv::test::log_test {
namespace {

namespace fs = std::filesystem;

fs::path logFolder() {
  return fs::path(std::getenv("HOME")) / "Documents/OrvLog/OrvCourse";
}

void append(const std::string& name, const std::string& text) {
  fs::create_directories(logFolder());
  std::ofstream(logFolder() / name, std::ios::binary | std::ios::app) << text;
}

std::string readAll(cli::LogFollower& log) {
  std::string all;
  for (std::string lines = log.read(); !lines.empty(); lines = log.read()) all += lines;
  return all;
}

std::string allOf(cli::LogFilter& filter, const std::string& lines) {
  std::string wanted = filter.take(lines);
  return wanted += filter.flush();
}

/// 2026-11-22 14:30:00 UTC.
constexpr std::time_t kNow = 1'795'357'800;

TEST(LogTime, IsASpanATimeOfTheDayOrADate) {
  ::setenv("TZ", "UTC", 1);
  ::tzset();
  const std::vector<std::pair<std::string, std::string>> good = {
      {"45s", "2026/11/22 14:29:15"},
      {"10m", "2026/11/22 14:20:00"},
      {"2h", "2026/11/22 12:30:00"},
      {"3d", "2026/11/19 14:30:00"},
      {"14:30", "2026/11/22 14:30:00"},
      {"14:31", "2026/11/21 14:31:00"},
      {"09:05:07", "2026/11/22 09:05:07"},
      {"2026-11-20", "2026/11/20 00:00:00"},
      {"2026-02-28 23:59", "2026/02/28 23:59:00"},
      {"2026-11-22T14:30:05", "2026/11/22 14:30:05"}};
  for (const auto& [text, stamp] : good) EXPECT_EQ(cli::logStamp(text, kNow), stamp) << text;
  for (const char* text : {"", "m", "10", "-1m", "1.5h", "25:00", "14:60", "1:30", "2026-02-30", "2026-13-01",
                           "2026-11-22 ", "2026-11-22 9:00", "soon", "2026/11/22", "99999999999m"}) {
    EXPECT_EQ(cli::logStamp(text, kNow), std::nullopt) << text;
  }
}

TEST(LogTime, GoesByTheZoneThatTheLogsOwnStampsGoBy) {
  // Nobody calls tzset().
  ::setenv("TZ", "XXX-5", 1);
  EXPECT_EQ(cli::logStamp("2h", kNow), "2026/11/22 17:30:00");
  EXPECT_EQ(cli::logStamp("19:30", kNow), "2026/11/22 19:30:00");
  EXPECT_EQ(cli::logStamp("19:31", kNow), "2026/11/21 19:31:00");
  ::setenv("TZ", "XXX10", 1);
  EXPECT_EQ(cli::logStamp("5h", kNow), "2026/11/21 23:30:00");
  EXPECT_EQ(cli::logStamp("04:31", kNow), "2026/11/21 04:31:00");
}

TEST(ConsoleLines, BeginWithTheLocalTime) {
  ::setenv("TZ", "XXX-13:30", 1);
  const std::time_t begin = std::time(nullptr);
  const Result result = runOrv({"call", "Dev.Echo"});
  const std::time_t end = std::time(nullptr);
  ASSERT_GE(result.err.size(), 8u) << result.err;
  const std::string shown = result.err.substr(0, 8);
  bool isOneOfThem = false;
  for (std::time_t moment = begin - 1; moment <= end; ++moment) {
    const std::time_t local = moment + (13 * 60 + 30) * 60;
    std::tm time{};
    ::gmtime_r(&local, &time);
    std::array<char, 16> text{};
    std::strftime(text.data(), text.size(), "%H:%M:%S", &time);
    isOneOfThem = isOneOfThem || shown == text.data();
  }
  EXPECT_TRUE(isOneOfThem) << shown;
}

TEST(ConsoleLines, TellOfAZoneThatCannotBeUsed) {
  ::setenv("TZ", "No/Where", 1);
  const Result result = runOrv({"local", "list"});
  EXPECT_NE(result.err.find("The time zone \"No/Where\" cannot be used"), std::string::npos) << result.err;
}

TEST(LogFilter, LetsWholeEntriesThrough) {
  const std::string lines =
      "the end of a line\n"
      "2026/11/22 14:00:00.000 - early\n"
      "2026/11/22 14:30:00.000 - Link is UP\n"
      "  with more\n"
      "2026/11/22 14:31:00.000 - other\n";
  cli::LogFilter all({}, {}), since("2026/11/22 14:30:00", {}), text({}, "up");
  EXPECT_EQ(allOf(all, lines), lines);
  EXPECT_EQ(allOf(since, lines), lines.substr(lines.find("2026/11/22 14:30")));
  EXPECT_EQ(allOf(text, lines), "2026/11/22 14:30:00.000 - Link is UP\n  with more\n");
}

TEST(LogFilter, KeepsNoMoreOfAnEntryThanHasABound) {
  cli::LogFilter all({}, {});
  const std::string line = std::string((std::size_t{1} << 20) - 1, 'x') + "\n";
  std::string shown = all.take("2026/11/22 14:30:00.000 - begins\n");
  for (int megabyte = 0; megabyte < 40; ++megabyte) shown += all.take(line);
  shown += all.flush();
  EXPECT_EQ(shown.size() >> 20, 8u);
  EXPECT_TRUE(shown.starts_with("2026/11/22 14:30:00.000 - begins\nxxx"));
  EXPECT_TRUE(shown.ends_with("x\n(the rest is left out: it is too long)\n"));
  EXPECT_EQ(allOf(all, "2026/11/22 14:30:01.000 - next\n"), "2026/11/22 14:30:01.000 - next\n");
}

TEST(LogFilter, SearchesWhatIsShownAndNotWhatIsHidden) {
  const std::string line = "2026/11/22 14:30:00.000 - {\"pwd\":\"rosebud\"}\n";
  cli::LogFilter any({}, "pwd"), secret({}, "rosebud");
  any.take(line);
  EXPECT_EQ(any.flush(), "2026/11/22 14:30:00.000 - {\"pwd\":\"***\"}\n");
  secret.take(line);
  EXPECT_EQ(secret.flush(), "");
}

TEST(LogFollower, GoesOnWithNewFilesAndAfterRemovalAndCutting) {
  cli::LogFollower log(logFolder(), cli::LogFollower::From::Newest);
  EXPECT_EQ(log.read(), "");
  append("1_0.log", "one\nha");
  EXPECT_EQ(log.read(), "one\n");
  append("1_0.log", "lf\n");
  EXPECT_EQ(log.read(), "half\n");
  // Rotation, twice between two looks.
  append("1_0.log", "last\n");
  append("2_0.log", "two\n");
  append("3_0.log", "three\n");
  EXPECT_EQ(readAll(log), "last\ntwo\nthree\n");
  EXPECT_EQ(log.read(), "");
  // The file is removed, and what is written to it is nobody's; a new one comes.
  fs::remove_all(logFolder());
  EXPECT_EQ(log.read(), "");
  append("4_0.log", "four\n");
  EXPECT_EQ(log.read(), "four\n");
  // Removed and made again under its name.
  fs::remove(logFolder() / "4_0.log");
  append("4_0.log", "again\n");
  EXPECT_EQ(log.read(), "again\n");
  // Cut short.
  fs::resize_file(logFolder() / "4_0.log", 0);
  append("4_0.log", "cut\n");
  EXPECT_EQ(log.read(), "cut\n");
}

TEST(LogFollower, LosesNoLineToAFileThatIsBegun) {
  constexpr int kFiles = 400;
  append("00000.log", "");
  cli::LogFollower log(logFolder(), cli::LogFollower::From::Oldest);
  std::string written;
  for (int i = 0; i < 2 * kFiles; ++i) written += std::to_string(i) + "\n";
  std::atomic<std::size_t> seen = 0;
  std::atomic<bool> isOver = false;
  // The second line of each file, and the next file, come while the reader looks for more.
  std::thread writer([&] {
    std::size_t size = 0;
    for (int file = 0; file < kFiles && !isOver; ++file) {
      const std::string number = std::to_string(file);
      const std::string name = std::string(5 - number.size(), '0') + number + ".log";
      const std::string first = std::to_string(2 * file) + "\n", second = std::to_string(2 * file + 1) + "\n";
      append(name, first);
      size += first.size();
      while (seen < size && !isOver) std::this_thread::yield();
      append(name, second);
      size += second.size();
    }
  });
  std::string all;
  while (all.size() < written.size() && written.starts_with(all)) {
    all += log.read();
    seen = all.size();
  }
  isOver = true;
  writer.join();
  EXPECT_EQ(all, written);
}

TEST(LogFollower, BeginsWithTheOldestWhereThatIsAskedFor) {
  append("1_0.log", "one\n");
  append("2_0.log", "two\n");
  append("notes.txt", "no log\n");
  cli::LogFollower oldest(logFolder(), cli::LogFollower::From::Oldest);
  EXPECT_EQ(readAll(oldest), "one\ntwo\n");
  cli::LogFollower newest(logFolder(), cli::LogFollower::From::Newest);
  EXPECT_EQ(readAll(newest), "two\n");
}

TEST(Log, SinceLooksIntoOlderFilesToo) {
  append("20240101000000_0.log",
         "2024/01/01 00:00:00.000 - first\n2024/01/01 00:00:05.000 - {\"pwd\":\"rosebud\"}\n");
  append("20240102000000_0.log", "2024/01/02 00:00:00.000 - second\n");
  const Result result = runOrv({"log", "--since", "2024-01-01 00:00:05"});
  EXPECT_EQ(result.exitCode, 0);
  ASSERT_EQ(result.lines().size(), 2U) << result.out;
  EXPECT_EQ(result.out.find("rosebud"), std::string::npos);
  EXPECT_EQ(runOrv({"log", "--since", "2024-01-01", "--grep", "SECOND"}).out,
            "2024/01/02 00:00:00.000 - second\n");
  EXPECT_EQ(runOrv({"log", "--grep", "first"}).out, "") << "the newest file only";
  EXPECT_EQ(runOrv({"log", "--since", "1m"}).exitCode, 0);
}

TEST(Log, FollowsUntilItIsInterrupted) {
  append("20240101000000_0.log", "2024/01/01 00:00:00.000 - first\n");
  Program program({"log", "--follow", "--grep", "st"});
  ASSERT_TRUE(program.waitForOutput("- first\n"));
  append("20240101000000_0.log", "2024/01/01 00:00:01.000 - second\n2024/01/01 00:00:02.000 - most\n");
  ASSERT_TRUE(program.waitForOutput("- most\n"));
  append("20240102000000_0.log", "2024/01/02 00:00:00.000 - in the next file, stout\n");
  ASSERT_TRUE(program.waitForOutput("stout\n"));
  program.signal(SIGINT);
  const Result result = program.wait();
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out.find("second"), std::string::npos);
  EXPECT_EQ(result.err, "");
}

TEST(Log, FollowingEndsWhenNobodyReads) {
  append("20240101000000_0.log", "2024/01/01 00:00:00.000 - first\n");
  Program program({"log", "-f"});
  ASSERT_TRUE(program.waitForOutput("- first\n"));
  program.closeOutput();
  EXPECT_EQ(program.wait().exitCode, 0);
}

TEST(Log, FollowingWaitsForALogThatIsNotThereYet) {
  Program program({"log", "--follow"});
  append("20240101000000_0.log", "2024/01/01 00:00:00.000 - first\n");
  EXPECT_TRUE(program.waitForOutput("- first\n"));
  program.signal(SIGTERM);
  EXPECT_EQ(program.wait().exitCode, 0);
}

}  // namespace
}  // namespace orv::test::log_test
