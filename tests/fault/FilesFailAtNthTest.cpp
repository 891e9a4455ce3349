// The rolling log and the path manager on a disk on which the first call fails, then the second, and so on until
// there is nothing left to fail.

#include <orvnetwork/platform/Console.h>
#include <orvnetwork/support/QXFileLog.h>
#include <orvnetwork/support/QXPathManager.h>
#include <orvnetwork/testing/SimulatedPlatform.h>

#include <tests/support/ForkedRun.h>

#include <gtest/gtest.h>

#include <functional>
#include <iostream>
#include <optional>
#include <string_view>
#include <system_error>

namespace orv::files_fail_at_nth_test {
namespace {

using testing::FileOperation;
using testing::SimulatedPlatform;

constexpr std::uint64_t kMost = 500;

/// Runs `body(platform, n)` for n = 1, 2, 3 … in a fresh process each, until no failure was injected. What it
/// returns is a complaint.
void failEachCall(const char* store,
                  const std::function<std::string(SimulatedPlatform&, std::uint64_t n)>& body) {
  std::uint64_t n = 1;
  for (; n <= kMost; ++n) {
    const std::string told = test::runForked([&]() -> std::string {
      auto& platform = SimulatedPlatform::install();
      Console::setSink([](std::string_view) {});
      const std::string complaint = body(platform, n);
      return complaint.empty() && platform.files().failuresInjected() == 0 ? "nothing failed" : complaint;
    });
    if (told == "nothing failed") break;
    EXPECT_EQ(told, "") << "call " << n;
  }
  EXPECT_GT(n, 5u);
  EXPECT_LE(n, kMost);
  std::cout << store << ": " << n - 1 << " calls failed in turn" << std::endl;
}

void logLines(SimulatedPlatform& platform, const std::string& text, int count) {
  for (int i = 0; i < count; ++i) QXFileLog::standard().log("%@ %ld.", text, std::int64_t{i});
  platform.settle();
}

/// All that stands in the log folder.
std::string logged(SimulatedPlatform& platform) {
  std::string all;
  for (const auto& [path, text] : platform.files().snapshot()) {
    if (path.ends_with(".log")) all += text;
  }
  return all;
}

/// Empty when all lines are there, in order.
std::string missing(const std::string& text, const std::string& line, int count) {
  std::size_t at = 0;
  for (int i = 0; i < count; ++i) {
    at = text.find(" - " + line + " " + std::to_string(i) + ".", at);
    if (at == std::string::npos) return line + " " + std::to_string(i) + " is not in the log";
  }
  return {};
}

TEST(FilesFailAtNth, LogGoesOnWhicheverCallFails) {
  failEachCall("log", [](SimulatedPlatform& platform, std::uint64_t n) -> std::string {
    platform.files().put("/home/user/Documents/OrvLog/OrvCourse/old.log", "of an older kind");
    for (int i = 10; i < 22; ++i) {
      platform.files().put(
          "/home/user/Documents/OrvLog/OrvCourse/202301" + std::to_string(i) + "000000_0.log", "old");
    }
    platform.files().failAt(n);
    for (int round = 0; round < 12; ++round) logLines(platform, "early" + std::to_string(round), 11);
    auto& log = QXFileLog::standard();
    log.checkFileSize();
    log.synchronizeFile();
    platform.files().clearFailures();

    // A log whose folder could not be made stays silent. Any other opens a file by itself, with its next look at the
    // size at the latest, and opening one mends everything at once.
    if (!log.logDirPath()) return {};
    logLines(platform, "between", 101);
    logLines(platform, "by itself", 25);
    const std::string complaint = missing(logged(platform), "by itself", 25);
    if (!complaint.empty()) return complaint;
    if (!log.openNewLogFile()) return "openNewLogFile is always true";
    logLines(platform, "late", 25);
    return missing(logged(platform), "late", 25);
  });
}

TEST(FilesFailAtNth, LogGoesOnByItselfAfterTheDiskDidNotTakeLinesForAWhile) {
  const std::string told = test::runForked([]() -> std::string {
    auto& platform = SimulatedPlatform::install();
    Console::setSink([](std::string_view) {});
    logLines(platform, "early", 10);
    platform.files().failAlways(FileOperation::HandleWrite, std::errc::no_space_on_device);
    for (int i = 0; i < 30; ++i) logLines(platform, "lost", 10);
    platform.files().clearFailures();
    logLines(platform, "late", 25);
    const std::string text = logged(platform);
    return missing(text, "early", 10) + missing(text, "late", 25);
  });
  EXPECT_EQ(told, "");
}

TEST(FilesFailAtNth, LogOfAFullDiskGoesOnOnceThereIsRoom) {
  const std::string told = test::runForked([]() -> std::string {
    auto& platform = SimulatedPlatform::install();
    Console::setSink([](std::string_view) {});
    platform.files().setCapacity(4096);
    for (int i = 0; i < 30; ++i) logLines(platform, "early", 10);
    if (platform.files().usedBytes() > 4096) return "more than there is room for";
    platform.files().setCapacity(std::nullopt);
    logLines(platform, "late", 25);
    return missing(logged(platform), "late", 25);
  });
  EXPECT_EQ(told, "");
}

/// One of each operation that changes the disk. Complains about results that are not true.
std::string usePaths(SimulatedPlatform& platform, bool mayFail) {
  auto& paths = QXPathManager::sharedManager();
  auto& files = platform.files();
  const std::string folder = "/home/user/Documents/a/b";
  std::string complaints;
  const auto isFolder = [&](const std::string& path) { return files.folders().contains(path + "/"); };
  const auto isFile = [&](const std::string& path) { return files.contents(path).has_value(); };
  // The truth is looked at after the operation, so it comes as a function.
  const auto claim = [&](bool told, const char* what, const std::function<bool()>& isTrue) {
    if (told && !isTrue()) complaints += std::string(what) + " is told but not so\n";
    if (!told && !mayFail) complaints += std::string(what) + " fails\n";
  };
  const std::string file = folder + "/one.txt";
  claim(paths.createFolderWithSuffix("a/b").has_value(), "a folder made", [&] { return isFolder(folder); });
  claim(paths.createFolderWithPath(folder + "/c"), "a folder by its path",
        [&] { return isFolder(folder + "/c"); });
  claim(paths.createFile(file), "a file made", [&] { return isFile(file); });
  claim(paths.isFileExist(file), "a file found", [&] { return isFile(file); });
  claim(paths.isFolderExist(folder), "a folder found", [&] { return isFolder(folder); });
  const auto names = paths.filesAtPath_hasSuffix(folder, ".txt");
  // A look at an item that fails may leave it out.
  claim(names.has_value(), "a list", [&] { return mayFail || names->size() == 1; });
  // A look that fails says that nothing is there, and then nothing has to be removed.
  const auto removals = files.calls(FileOperation::Remove);
  claim(paths.removeFolderOrFile(folder), "a folder removed",
        [&] { return !isFolder(folder) || files.calls(FileOperation::Remove) == removals; });
  return complaints;
}

TEST(FilesFailAtNth, PathManagerClaimsNothingThatIsNotSo) {
  failEachCall("folders", [](SimulatedPlatform& platform, std::uint64_t n) {
    platform.files().failAt(n);
    std::string complaints = usePaths(platform, true);
    platform.files().clearFailures();
    return complaints + usePaths(platform, false);
  });
}

}  // namespace
}  // namespace orv::files_fail_at_nth_test
