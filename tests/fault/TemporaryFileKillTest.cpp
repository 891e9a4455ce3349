// Temporary files of processes that are killed while they write.

#include <orvnetwork/platform/native/files/NativeFileSystem.h>

#include <tests/support/Environment.h>

#include <gtest/gtest.h>
#include <sys/select.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <iostream>
#include <random>
#include <string>
#include <system_error>

namespace orv::temporary_file_kill_test {
namespace {

/// ORV_KILLS=n kills more often.
const int kKills = static_cast<int>(test::numberFromEnvironment("ORV_KILLS", 75));

std::string contentOf(int version) {
  return std::string(20'000, static_cast<char>('a' + version % 26));
}

[[noreturn]] void writeForever(const std::string& path, Durability durability) {
  NativeFileSystem files;
  std::error_code error;
  for (int version = 0;; ++version) {
    if (!files.writeAtomically(path, contentOf(version), durability, 0600, error)) ::_exit(EXIT_FAILURE);
  }
}

void killAtSomeMoment(pid_t child, std::mt19937& random) {
  // The moment is what is random here, not a wait for something.
  timespec moment{0, static_cast<long>(random() % 20'000) * 1000L};
  ::sigset_t none;
  ::sigemptyset(&none);
  ::pselect(0, nullptr, nullptr, nullptr, &moment, &none);
  ::kill(child, SIGKILL);
}

std::size_t incompleteIn(const std::string& folder) {
  std::size_t count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    count += entry.path().extension() == ".tmp" ? 1 : 0;
  }
  return count;
}

TEST(TemporaryFileKill, LeavesNothingForGoodWheneverTheProcessIsKilled) {
  const std::string folder = std::string(std::getenv("HOME")) + "/folder";
  const std::string path = folder + "/file";
  std::filesystem::create_directory(folder);
  NativeFileSystem files;
  std::error_code error;
  std::mt19937 random(7);
  std::size_t found = 0;
  for (int round = 0; round < kKills; ++round) {
    // Another process that lives and writes: what it is writing stays.
    const pid_t living = ::fork();
    ASSERT_GE(living, 0);
    if (living == 0) writeForever(folder + "/other", Durability::Plain);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) writeForever(path, round % 2 == 0 ? Durability::Plain : Durability::Durable);
    killAtSomeMoment(child, random);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status)) << "a writing failed";
    found += incompleteIn(folder);
    files.removeLeftovers(folder);
    ::kill(living, SIGKILL);
    ASSERT_EQ(::waitpid(living, &status, 0), living);
    ASSERT_TRUE(WIFSIGNALED(status)) << "the other process was disturbed";
    files.removeLeftovers(folder);
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
      const std::string name = entry.path().filename();
      EXPECT_TRUE(name == "file" || name == "other") << name << " was left in round " << round;
      const std::string content = files.read(entry.path(), error).value_or("");
      EXPECT_EQ(content.size(), 20'000u) << name;
    }
  }
  std::cout << kKills << " kills, " << found << " incomplete files found" << std::endl;
}

}  // namespace
}  // namespace orv::temporary_file_kill_test
