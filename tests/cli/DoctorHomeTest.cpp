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

/// Lets all users get to the home, which is among what belongs to the test alone otherwise.
void openTheWayHome() {
  const fs::path shared = fs::temp_directory_path();
  for (fs::path at = std::getenv("HOME"); at != shared && at != at.parent_path(); at = at.parent_path()) {
    fs::permissions(at, fs::perms(0755));
  }
}

/// What doctor says of the home, with another part of it closed or open.
Findings doctorWith(const std::string& folder, unsigned rights) {
  fs::permissions(folder, fs::perms(rights));
  return Findings{runOrv({"doctor"})};
}

TEST(DoctorOfAHome, ThatOthersCanRead) {
  openTheWayHome();
  const std::string user = documents() + "/userInfo";
  fs::create_directories(user);
  fs::permissions(documents(), fs::perms(0755));
  const Findings found = doctorWith(user, 0755);
  EXPECT_EQ(found.code("home"), "openForReading") << found.result.out;
  EXPECT_EQ(found.verdict("home"), "warn");
  EXPECT_NE(found.text("home").find(user), std::string::npos) << found.text("home");
  EXPECT_EQ(found.of("home").at("facts").at("readByOthers").as_array().size(), 1U);
  EXPECT_EQ(found.result.exitCode, 0);
  EXPECT_EQ(doctorWith(user, 0711).code("home"), "good");
  // A file is open where the folder lets others through.
  std::ofstream(user + "/userInfo.plist") << "<plist><dict/></plist>";
  EXPECT_EQ(doctorWith(user + "/userInfo.plist", 0604).code("home"), "openForReading");
  EXPECT_EQ(doctorWith(user, 0700).code("home"), "good");
  EXPECT_EQ(doctorWith(user, 0755).code("home"), "openForReading");
  EXPECT_EQ(doctorWith(documents(), 0700).code("home"), "good") << "nobody gets there";
}

TEST(DoctorOfAHome, ThatOthersCanWrite) {
  openTheWayHome();
  fs::create_directories(documents());
  const Findings found = doctorWith(documents(), 0757);
  EXPECT_EQ(found.code("home"), "openForWriting") << found.result.out;
  EXPECT_EQ(found.verdict("home"), "warn");
  EXPECT_NE(found.text("home").find(documents()), std::string::npos) << found.text("home");
  EXPECT_EQ(found.result.exitCode, 0);
  EXPECT_EQ(doctorWith(documents(), 01777).code("home"), "good") << "each changes what is theirs only";
  EXPECT_EQ(doctorWith(documents(), 0755).code("home"), "good");
  EXPECT_EQ(doctorWith(std::getenv("HOME"), 0757).code("home"), "openForWriting");
  EXPECT_EQ(doctorWith(std::getenv("HOME"), 0755).code("home"), "good");
}

TEST(DoctorOfAHome, ThatAGroupCanWrite) {
  constexpr gid_t kSomeGroup = 100;
  if (::geteuid() != 0) GTEST_SKIP() << "needs root to give a folder to another group";
  openTheWayHome();
  fs::create_directories(documents());
  EXPECT_EQ(doctorWith(documents(), 0775).code("home"), "good") << "the group of the owner alone";
  ASSERT_EQ(::chown(documents().c_str(), static_cast<uid_t>(-1), kSomeGroup), 0);
  EXPECT_EQ(doctorWith(documents(), 0775).code("home"), "openForWriting");
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
