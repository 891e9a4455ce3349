#include <orvnetwork/client/detail/InstallationFile.h>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <fstream>
#include <set>
#include <string>

namespace orv::installation_file_test {
namespace {

std::string homePath(const std::string& name) {
  return std::string(std::getenv("HOME")) + "/" + name;
}

std::string bytesOf(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

// On the real platform: what is looked at is the file system's.
TEST(InstallationFile, ProgramsThatStartAtOnceAgree) {
  constexpr int kPrograms = 12;
  const std::string path = homePath("kept/identifier");
  std::array<int, 2> pipe{};
  ASSERT_EQ(::pipe(pipe.data()), 0);
  std::array<int, 2> gate{};
  ASSERT_EQ(::pipe(gate.data()), 0);
  for (int i = 0; i < kPrograms; ++i) {
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child > 0) continue;
    // All of them begin when the gate is closed.
    ::close(gate[1]);
    char none = 0;
    if (::read(gate[0], &none, 1) != 0) ::_exit(2);
    const std::string line = installationIn(path) + "\n";
    ::_exit(::write(pipe[1], line.data(), line.size()) == static_cast<ssize_t>(line.size()) ? 0 : 1);
  }
  ::close(gate[0]);
  ::close(gate[1]);
  ::close(pipe[1]);
  std::string all;
  std::array<char, 4096> part{};
  for (ssize_t size = 0; (size = ::read(pipe[0], part.data(), part.size())) > 0;) {
    all.append(part.data(), static_cast<std::size_t>(size));
  }
  for (int i = 0; i < kPrograms; ++i) {
    int status = 0;
    ASSERT_GT(::wait(&status), 0);
    EXPECT_EQ(status, 0);
  }
  std::string expected;
  for (int i = 0; i < kPrograms; ++i) expected += bytesOf(path);
  EXPECT_EQ(bytesOf(path).size(), 37u);
  EXPECT_EQ(all, expected);
}

TEST(InstallationFile, IsForItsOwnersEyesOnly) {
  const std::string path = homePath("kept/identifier");
  installationIn(path);
  struct stat file {};
  ASSERT_EQ(::stat(path.c_str(), &file), 0);
  EXPECT_EQ(file.st_mode & 0777U, 0600U);
  ASSERT_EQ(::stat(homePath("kept").c_str(), &file), 0);
  EXPECT_EQ(file.st_mode & 0077U, 0U);
}

TEST(InstallationFile, IdentifiersDiffer) {
  std::set<std::string> all;
  for (int i = 0; i < 1000; ++i) all.insert(randomIdentifier());
  EXPECT_EQ(all.size(), 1000u);
}

}  // namespace
}  // namespace orv::installation_file_test
