// The user file of a process that is killed while it stores, and of one whose disk fails.

#include <orvnetwork/data/PropertyList.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/session/QXUserInfoMgr.h>
#include <orvnetwork/testing/SimulatedPlatform.h>

#include <tests/support/Environment.h>
#include <tests/support/ForkedRun.h>
#include <tests/support/PumpedExecutor.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <iterator>
#include <random>
#include <string_view>

namespace orv::user_file_kill_test {
namespace {

/// ORV_KILLS=n kills more often.
const int kKills = static_cast<int>(test::numberFromEnvironment("ORV_KILLS", 75));

std::string folderOfUser() {
  return std::string(std::getenv("HOME")) + "/Documents/userInfo";
}

std::string plistPath() {
  return folderOfUser() + "/userInfo.plist";
}

std::string readAll(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// Whether the file system has files without names. A write goes to one where it has, and a kill between its naming
/// and its renaming is rare.
bool canHideFiles() {
  const int file = ::open(folderOfUser().c_str(), O_WRONLY | O_TMPFILE | O_CLOEXEC, 0600);
  if (file >= 0) ::close(file);
  return file >= 0;
}

/// How many files lie beside the user's.
int leftovers() {
  const std::filesystem::directory_iterator begin(folderOfUser());
  return static_cast<int>(std::distance(begin, std::filesystem::directory_iterator())) - 1;
}

/// A user whose fields all follow from one number, so that a mix of two is seen.
json::object userNumber(std::int64_t number) {
  const std::string text = std::to_string(number);
  return {{"uID", text},
          {"token", std::string(static_cast<std::size_t>(number % 5000), 'x') + text},
          {"bio", std::string(static_cast<std::size_t>(number * 7 % 20000), 'y') + text},
          {"role", number},
          {"classroominfo", {{"id", text}, {"title", text}}}};
}

/// What is wrong with the file; empty when it is a whole user, of this number or a later one, or nobody.
std::string problemWith(const std::string& bytes, std::int64_t first = 1) {
  const Result<json::value> read = readPropertyList(bytes);
  if (!read || !read->is_object()) return "not a whole file of " + std::to_string(bytes.size()) + " bytes";
  if (read->get_object().empty()) return {};
  const auto user = makeRecord<OrvUserInfoModel>(read->get_object());
  if (user->role < first) return "an old user";
  const auto expected = makeRecord<OrvUserInfoModel>(userNumber(user->role));
  return user->jsonObject() == expected->jsonObject() ? "" : "a mix of two users";
}

/// Stores users, and now and then nobody, until it is killed. Says with a byte that it is at work.
[[noreturn]] void storeForever(std::int64_t first, int ready) {
  Console::setSink([](std::string_view) {});
  MainQueue::instance().claim();
  auto& users = QXUserInfoMgr::getInstance();
  for (std::int64_t number = first;; ++number) {
    users.setUserInfo(number % 9 == 0 ? nullptr : makeRecord<OrvUserInfoModel>(userNumber(number)));
    if (number == first && ::write(ready, "x", 1) != 1) ::_exit(EXIT_FAILURE);
  }
}

TEST(UserFileKill, FileIsAWholeOldOrNewOneWheneverTheProcessIsKilled) {
  std::mt19937 random(20240131);
  std::uniform_int_distribution<int> microseconds(0, 20'000);
  for (int round = 0; round < kKills; ++round) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    const std::int64_t first = 1 + round * 100'000LL;
    if (child == 0) storeForever(first, ends[1]);
    ::close(ends[1]);
    char byte = 0;
    ASSERT_EQ(::read(ends[0], &byte, 1), 1);
    ::close(ends[0]);
    // The moment is what is random here, not a wait for something.
    timespec moment{0, microseconds(random) * 1000L};
    ::sigset_t none;
    ::sigemptyset(&none);
    ::pselect(0, nullptr, nullptr, nullptr, &moment, &none);
    ::kill(child, SIGKILL);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);

    ASSERT_EQ(problemWith(readAll(plistPath()), first), "") << "round " << round;
    struct stat status2 {};
    ASSERT_EQ(::stat(plistPath().c_str(), &status2), 0);
    ASSERT_EQ(status2.st_mode & 0777, 0600u);
    ASSERT_FALSE(std::filesystem::exists(plistPath() + ".damaged")) << "the next start set something aside";
  }
  EXPECT_LT(leftovers(), canHideFiles() ? kKills / 5 : kKills + 1);
}

TEST(UserFileKill, TheNextStartRemovesWhatWasLeftAndNothingOfAProgramThatLives) {
  const std::string dead = folderOfUser() + "/.orv-0123456789abcdef.tmp";
  const std::string living = folderOfUser() + "/.orv-fedcba9876543210.tmp";
  std::filesystem::create_directories(folderOfUser());
  // What a writing in another program holds a lock on.
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    const int file = ::open(living.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    if (::flock(file, LOCK_EX) != 0 || ::write(ends[1], "x", 1) != 1) ::_exit(EXIT_FAILURE);
    for (;;) ::pause();
  }
  ::close(ends[1]);
  char byte = 0;
  ASSERT_EQ(::read(ends[0], &byte, 1), 1);
  ::close(ends[0]);
  Console::setSink([](std::string_view) {});
  MainQueue::instance().claim();
  const auto startRemoves = [](const std::string& left) {
    QXUserInfoMgr::getInstance().init();
    return test::PumpedExecutor().pumpUntil([&] { return !std::filesystem::exists(left); });
  };
  // The second time says that the first has come to its end.
  for (int time = 0; time < 2; ++time) {
    std::ofstream(dead) << "token";
    EXPECT_TRUE(startRemoves(dead));
  }
  EXPECT_TRUE(std::filesystem::exists(living));
  ::kill(child, SIGKILL);
  ASSERT_EQ(::waitpid(child, nullptr, 0), child);
  EXPECT_TRUE(startRemoves(living));
}

TEST(UserFileKill, AStartAfterAKillFindsTheUserWhoWasStoredLast) {
  const std::string told = test::runForked([]() -> std::string {
    Console::setSink([](std::string_view) {});
    MainQueue::instance().claim();
    QXUserInfoMgr::getInstance().setUserInfo(makeRecord<OrvUserInfoModel>(userNumber(7)));
    ::kill(::getpid(), SIGKILL);
    return "not killed";
  });
  EXPECT_EQ(told.rfind("died: ", 0), 0u) << told;
  Console::setSink([](std::string_view) {});
  MainQueue::instance().claim();
  ASSERT_TRUE(QXUserInfoMgr::getInstance().isLogined());
  EXPECT_EQ(QXUserInfoMgr::getInstance().userInfo()->uID.get(), "7");
}

const std::string kSimulatedPlist = "/home/user/Documents/userInfo/userInfo.plist";

/// Runs `body(platform)` with the first file operation failing, then the second … each in a fresh process, until none
/// fails any more. What it returns is a complaint.
void failEachCall(const std::function<std::string(testing::SimulatedPlatform&)>& body) {
  std::uint64_t n = 1;
  for (; n <= 500; ++n) {
    const std::string told = test::runForked([&]() -> std::string {
      auto& platform = testing::SimulatedPlatform::install();
      Console::setSink([](std::string_view) {});
      platform.files().put(kSimulatedPlist, writePropertyList(userNumber(1)).value(), 0600);
      platform.files().failAt(n);
      const std::string complaint = body(platform);
      return complaint.empty() && platform.files().failuresInjected() == 0 ? "nothing failed" : complaint;
    });
    if (told == "nothing failed") break;
    EXPECT_EQ(told, "") << "call " << n;
  }
  EXPECT_GT(n, 5u);
  EXPECT_LE(n, 500u);
  std::cout << "user's file: " << n - 1 << " calls failed in turn" << std::endl;
}

TEST(UserFileFailAtNth, FileIsAlwaysWholeAndTheMemoryIsRight) {
  failEachCall([](testing::SimulatedPlatform& platform) -> std::string {
    auto& users = QXUserInfoMgr::getInstance();
    for (std::int64_t number = 2; number < 5; ++number) {
      const auto user = makeRecord<OrvUserInfoModel>(userNumber(number));
      users.setUserInfo(user);
      platform.settle();
      if (users.userInfo() != user) return "the memory holds another user";
      for (const auto crash :
           {testing::Crash::Process, testing::Crash::PowerCut, testing::Crash::PowerCutTorn}) {
        const auto files = platform.files().filesAfter(crash);
        if (!files.contains(kSimulatedPlist)) {
          // A file that could not be read was set aside before it was written over.
          if (!files.contains(kSimulatedPlist + ".damaged")) return "no file is left";
          continue;
        }
        if (const auto problem = problemWith(files.at(kSimulatedPlist)); !problem.empty()) return problem;
      }
    }
    platform.files().clearFailures();
    const auto last = makeRecord<OrvUserInfoModel>(userNumber(9));
    users.setUserInfo(last);
    const auto bytes = platform.files().contents(kSimulatedPlist).value_or("");
    if (bytes != writePropertyList(last->jsonObject()).value()) {
      return "the disk works again and the user is not on it";
    }
    if (platform.files().mode(kSimulatedPlist) != 0600u) return "others may read the file";
    return {};
  });
}

TEST(UserFileFailAtNth, NobodyComesBackAfterALogOut) {
  failEachCall([](testing::SimulatedPlatform& platform) -> std::string {
    auto& users = QXUserInfoMgr::getInstance();
    users.setUserInfo(nullptr);
    platform.settle();
    if (users.isLogined()) return "logged in after a log-out";
    platform.files().clearFailures();
    users.init();
    return users.isLogined() ? "a second construction brought the user back" : "";
  });
}

}  // namespace
}  // namespace orv::user_file_kill_test
