// The log on the real platform: what whole programs find in their files.

#include <orvnetwork/platform/Console.h>
#include <orvnetwork/support/QXFileLog.h>

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <latch>
#include <thread>

namespace orv::qx_file_log_process_test {
namespace {

namespace fs = std::filesystem;

std::string logFolder() {
  return std::string(std::getenv("HOME")) + "/Documents/OrvLog/OrvCourse";
}

/// The messages in all log files, oldest file first.
std::vector<std::string> loggedMessages() {
  std::vector<fs::path> paths;
  for (const auto& entry : fs::directory_iterator(logFolder())) paths.push_back(entry.path());
  std::sort(paths.begin(), paths.end());
  std::vector<std::string> messages;
  for (const auto& path : paths) {
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) messages.push_back(line.substr(line.find(" - ") + 3));
  }
  return messages;
}

/// Runs a function in a program of its own and returns that program's exit status.
template <typename Function>
int runProgram(Function function) {
  const pid_t child = fork();
  if (child == 0) {
    Console::setSink([](std::string_view) {});
    std::exit(function());
  }
  int status = -1;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  return status;
}

/// Waits until every line that was queued before is in the file.
void waitForLog() {
  std::latch written(1);
  QXFileLog::standard().opQueue().post([&] { written.count_down(); });
  written.wait();
}

TEST(QXFileLogProcess, LinesThatAreQueuedWhenTheProgramEndsAreWritten) {
  EXPECT_EQ(runProgram([] {
              for (int i = 0; i < 1000; ++i) QXFileLog::standard().log("line %d", i);
              return 0;
            }),
            0);
  const auto messages = loggedMessages();
  ASSERT_EQ(messages.size(), 1000U);
  for (std::size_t i = 0; i < messages.size(); ++i) ASSERT_EQ(messages[i], "line " + std::to_string(i));
}

TEST(QXFileLogProcess, AProgramMayEndFromATaskOnTheLogsQueue) {
  EXPECT_EQ(runProgram([] {
              QXFileLog::standard().logString("before");
              QXFileLog::standard().opQueue().post([] { std::exit(0); });
              pause();
              return 1;
            }),
            0);
  EXPECT_EQ(loggedMessages(), std::vector<std::string>{"before"});
}

// The address sanitizer looks for leaks at the child's end and waits for a lock of its own, which another thread may have
// held when the child was forked.
#if !defined(__SANITIZE_ADDRESS__)
TEST(QXFileLogProcess, AForkedChildDoesNotWriteItsParentsLinesAgain) {
  EXPECT_EQ(runProgram([] {
              for (int i = 0; i < 100; ++i) QXFileLog::standard().logString("line");
              if (fork() == 0) std::exit(0);
              wait(nullptr);
              return 0;
            }),
            0);
  EXPECT_EQ(loggedMessages().size(), 100U);
}
#endif

TEST(QXFileLogProcess, LinesOfEachThreadKeepTheirOrder) {
  Console::setSink([](std::string_view) {});
  constexpr int kThreads = 4;
  constexpr int kLines = 5000;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([t] {
      for (int i = 0; i < kLines; ++i) QXFileLog::standard().log("%d %d", t, i);
    });
  }
  // At the same time, what the callers of the other operations do.
  for (int i = 0; i < 200; ++i) {
    QXFileLog& log = QXFileLog::standard();
    log.synchronizeFile();
    log.latestLogs();
    log.setConsoleLog(i % 20 == 0);
    EXPECT_TRUE(log.logFilePath().has_value());
    EXPECT_FALSE(log.logFiles().empty());
    EXPECT_LE(log.logTimes(), 101);
    log.checkFileSize();
    if (const auto handle = log.writeFileHandle()) handle->offset();
  }
  for (auto& thread : threads) thread.join();
  waitForLog();
  std::vector<int> next(kThreads);
  for (const std::string& message : loggedMessages()) {
    ASSERT_EQ(std::stoi(message.substr(2)), next.at(static_cast<std::size_t>(message[0] - '0'))++);
  }
  EXPECT_EQ(next, std::vector<int>(kThreads, kLines));
}

TEST(QXFileLogProcess, ReopeningWhileLinesAreWrittenDoesNoHarm) {
  Console::setSink([](std::string_view) {});
  QXFileLog& log = QXFileLog::standard();
  std::thread writer([&] {
    for (int i = 0; i < 20'000; ++i) log.log("line %d", i);
  });
  for (int i = 0; i < 100; ++i) {
    log.saveLog();
    log.openNewLogFile();
  }
  writer.join();
  waitForLog();
  log.logString("the end");
  waitForLog();
  ASSERT_FALSE(loggedMessages().empty());
  EXPECT_EQ(loggedMessages().back(), "the end");
}

TEST(QXFileLogProcess, TwoProgramsWriteOneFileAndEachLineStaysWhole) {
  constexpr int kPrograms = 3;
  constexpr int kLines = 20'000;
  // A line says whose it is, which, and how long its rest is.
  const auto line = [](int program, int number) {
    const int length = number * 31 % 300;
    return std::to_string(program) + " " + std::to_string(number) + " " + std::to_string(length) + " " +
           std::string(static_cast<std::size_t>(length), static_cast<char>('a' + program));
  };
  std::vector<pid_t> children;
  for (int program = 0; program < kPrograms; ++program) {
    const pid_t child = fork();
    if (child == 0) {
      Console::setSink([](std::string_view) {});
      for (int i = 0; i < kLines; ++i) QXFileLog::standard().logString(line(program, i));
      std::exit(0);
    }
    children.push_back(child);
  }
  for (const pid_t child : children) {
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_EQ(status, 0);
  }
  std::vector<int> next(kPrograms);
  int torn = 0;
  for (const std::string& message : loggedMessages()) {
    const auto program = static_cast<std::size_t>(message[0] - '0');
    if (program >= next.size() || message != line(static_cast<int>(program), next[program])) {
      ++torn;
    } else {
      ++next[program];
    }
  }
  EXPECT_EQ(torn, 0) << "lines that are torn, or not the next ones of their program";
  EXPECT_EQ(next, std::vector<int>(kPrograms, kLines));
}

TEST(QXFileLogProcess, LinesOfAProgramWhoseFileAnotherOneHasRemovedAreNotLost) {
  EXPECT_EQ(runProgram([] {
              QXFileLog& log = QXFileLog::standard();
              log.logString("before");
              waitForLog();
              fs::remove(*log.logFilePath());
              log.logString("after");
              waitForLog();
              return fs::exists(*log.logFilePath()) ? 0 : 1;
            }),
            0);
  EXPECT_EQ(loggedMessages(), std::vector<std::string>{"after"});
}

TEST(QXFileLogProcess, ALineThatWasTornByAFullDiskDoesNotTearTheNextOne) {
  const int status = runProgram([] {
    signal(SIGXFSZ, SIG_IGN);
    QXFileLog::standard().logString("before");
    waitForLog();
    const rlimit small{.rlim_cur = 100, .rlim_max = RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &small);
    QXFileLog::standard().logString(std::string(500, 'x'));
    waitForLog();
    const rlimit large{.rlim_cur = RLIM_INFINITY, .rlim_max = RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &large);
    QXFileLog::standard().logString("there is room again");
    return 0;
  });
  EXPECT_EQ(status, 0);
  const auto messages = loggedMessages();
  ASSERT_EQ(messages.size(), 3U);
  EXPECT_EQ(messages.front(), "before");
  EXPECT_EQ(messages.back(), "there is room again");
}

TEST(QXFileLogProcess, AFileThatMayNotGrowStopsNobody) {
  const int status = runProgram([] {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit small{.rlim_cur = 10'000, .rlim_max = RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &small);
    for (int i = 0; i < 1000; ++i) QXFileLog::standard().log("line %d", i);
    waitForLog();
    const rlimit large{.rlim_cur = 20'000, .rlim_max = RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &large);
    QXFileLog::standard().logString("there is room again");
    return 0;
  });
  EXPECT_EQ(status, 0);
  const auto messages = loggedMessages();
  ASSERT_FALSE(messages.empty());
  EXPECT_EQ(messages.front(), "line 0");
  EXPECT_TRUE(messages.back().ends_with("there is room again")) << messages.back();
  EXPECT_LT(messages.size(), 500U);
}

TEST(QXFileLogProcess, AFullDiskStopsNobody) {
  fs::create_directories(logFolder());
  if (mount("none", logFolder().c_str(), "tmpfs", 0, "size=64k") != 0) {
    GTEST_SKIP() << "mounting a small disk needs more rights than this user's";
  }
  const int status = runProgram([] {
    for (int i = 0; i < 20'000; ++i) QXFileLog::standard().log("line %d", i);
    return 0;
  });
  EXPECT_EQ(status, 0);
  const auto messages = loggedMessages();
  umount(logFolder().c_str());
  ASSERT_FALSE(messages.empty());
  EXPECT_EQ(messages.front(), "line 0");
  EXPECT_LT(messages.size(), 2000U);
}

}  // namespace
}  // namespace orv::qx_file_log_process_test
