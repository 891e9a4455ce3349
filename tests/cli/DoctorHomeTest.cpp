// `doctor`, with the real faults of the folder in which everything is kept, and of the disk that it lies on.

#include "DoctorRun.h"
#include "Mounts.h"
#include "Program.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace orv::test::doctor_home_test {
namespace {

namespace fs = std::filesystem;

std::string documents() {
  return std::string(std::getenv("HOME")) + "/Documents";
}

TEST(DoctorOfAHome, ThatCannotBeWritten) {
  fs::create_directories(documents() + "/userInfo");
  ownMounts();
  const std::string folder = documents() + "/userInfo";
  ASSERT_EQ(::mount(folder.c_str(), folder.c_str(), nullptr, MS_BIND, nullptr), 0);
  ASSERT_EQ(::mount(nullptr, folder.c_str(), nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr), 0);
  const Findings found{runOrv({"doctor"})};
  EXPECT_EQ(found.code("home"), "notWritable") << found.result.out;
  EXPECT_TRUE(found.text("home").starts_with(folder + " is not writable by ")) << found.text("home");
  EXPECT_EQ(found.result.exitCode, 1);
}

TEST(DoctorOfAHome, OnADiskThatIsFull) {
  fs::create_directories(documents());
  ownMounts();
  ASSERT_EQ(::mount("none", documents().c_str(), "tmpfs", 0, "size=40m"), 0);
  EXPECT_EQ(Findings{runOrv({"doctor"})}.code("home"), "littleRoom");
  {
    std::ofstream file(documents() + "/film", std::ios::binary);
    file << std::string(36u << 20, 'x');
  }
  const Findings full{runOrv({"doctor"})};
  EXPECT_EQ(full.code("home"), "full") << full.result.out;
  EXPECT_EQ(full.result.exitCode, 1);
}

TEST(DoctorOfAHome, WithFilesThatWereDamaged) {
  fs::create_directories(documents() + "/orv_course/1/2/local");
  fs::create_directories(documents() + "/userInfo");
  std::ofstream(documents() + "/userInfo/userInfo.plist.damaged") << "x";
  std::ofstream(documents() + "/orv_course/1/2/local/7.plist.damaged") << "x";
  const Findings found{runOrv({"doctor"})};
  EXPECT_EQ(found.code("home"), "setAside");
  EXPECT_EQ(found.text("home"),
            "2 damaged files were set aside: orv_course/1/2/local/7.plist.damaged, "
            "userInfo/userInfo.plist.damaged");
  EXPECT_EQ(found.result.exitCode, 0) << "a warning";
}

TEST(DoctorOfAHome, ThatAnotherProgramUses) {
  fs::create_directories(documents() + "/OrvLog/OrvCourse");
  const std::string path = documents() + "/OrvLog/OrvCourse/20240101000000_0.log";
  const int file = ::open(path.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
  const Findings found{runOrv({"doctor"})};
  EXPECT_EQ(found.code("home"), "usedByOthers") << found.result.out;
  EXPECT_EQ(found.text("home"), "used by process " + std::to_string(::getpid()) + " (test_cli)");
  ::close(file);
  EXPECT_EQ(Findings{runOrv({"doctor"})}.code("home"), "good");
}

TEST(DoctorOfALog, ThatIsLarge) {
  fs::create_directories(documents() + "/OrvLog/OrvCourse");
  const std::string path = documents() + "/OrvLog/OrvCourse/20240101000000_0.log";
  std::ofstream(path) << "2024/01/01 00:00:00.000 - first\n";
  EXPECT_EQ(Findings{runOrv({"doctor"})}.code("log"), "good");
  fs::resize_file(path, 50u << 20);
  const Findings found{runOrv({"doctor"})};
  EXPECT_EQ(found.code("log"), "large");
  EXPECT_TRUE(found.text("log").starts_with("50 MB in 1 file")) << found.text("log");
}

/// With a disk that never answers at one of the folders.
class DoctorOfASilentDisk : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!SilentDisk::isPossible()) GTEST_SKIP() << "needs file systems in user space (/dev/fuse)";
    fs::create_directories(documents() + "/OrvLog/OrvCourse");
    ownMounts();
    // Who looks for leaks at the end of a program stops its threads, and one that waits for a disk cannot be stopped.
    const char* const options = std::getenv("ASAN_OPTIONS");
    ::setenv("ASAN_OPTIONS",
             ((options != nullptr ? std::string(options) + ":" : "") + "detect_leaks=0").c_str(), 1);
  }
};

TEST_F(DoctorOfASilentDisk, ThatHoldsTheHome) {
  const SilentDisk disk(documents());
  const Findings found{runOrv({"--server", "ws://127.0.0.1:1", "doctor"})};
  EXPECT_EQ(found.failures(), (Names{"connect", "home"})) << found.result.out;
  EXPECT_EQ(found.code("home"), "noAnswer");
  EXPECT_EQ(found.text("session"), "because home failed") << "who is signed in is written there";
  EXPECT_EQ(found.text("log"), "because home failed");
  EXPECT_EQ(found.code("connect"), "refused") << "the way to the server is looked at all the same";
  EXPECT_NE(found.text("home", "do"), "");
  EXPECT_LT(found.result.seconds, 15);
}

TEST_F(DoctorOfASilentDisk, ThatHoldsTheLogOnly) {
  const SilentDisk disk(documents() + "/OrvLog/OrvCourse");
  const Findings found{runOrv({"doctor"})};
  EXPECT_EQ(found.failures(), Names{"log"}) << found.result.out;
  EXPECT_EQ(found.code("log"), "noAnswer");
  EXPECT_EQ(found.code("home"), "good");
  EXPECT_EQ(found.result.exitCode, 1);
}

}  // namespace
}  // namespace orv::test::doctor_home_test
