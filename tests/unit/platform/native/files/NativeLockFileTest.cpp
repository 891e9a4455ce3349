#include "orvnetwork/platform/native/files/NativeLockFile.h"

#include <orvnetwork/platform/native/files/NativeFileSystem.h>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>

namespace orv::native_lock_file_test {
namespace {

using Clock = std::chrono::steady_clock;

class NativeLockFileTest : public ::testing::Test {
 protected:
  /// Another object counts as another program.
  std::unique_ptr<LockFile> open() { return NativeFileSystem().openLockFile(path, 0600); }

  const std::string path = std::string(std::getenv("HOME")) + "/lock";
};

TEST_F(NativeLockFileTest, TheFileIsMadeClosedToOthersAndStays) {
  EXPECT_TRUE(open()->lock(Seconds(0)));
  struct stat status {};
  ASSERT_EQ(::stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600u);
  EXPECT_EQ(status.st_size, 0);
  EXPECT_EQ(NativeFileSystem().openLockFile(path + "/no/folder", 0600), nullptr);
}

TEST_F(NativeLockFileTest, OneHasTheLockUntilItIsGivenBack) {
  const auto one = open();
  const auto other = open();
  EXPECT_TRUE(one->lock(Seconds(1)));
  EXPECT_FALSE(other->lock(Seconds(0)));
  one->unlock();
  EXPECT_TRUE(other->lock(Seconds(0)));
}

TEST_F(NativeLockFileTest, WaitingHasALimit) {
  const auto one = open();
  ASSERT_TRUE(one->lock(Seconds(1)));
  const auto begin = Clock::now();
  EXPECT_FALSE(open()->lock(Seconds(0.05)));
  EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(50));
}

TEST_F(NativeLockFileTest, WhoWaitsGetsTheLockThoughTheOtherWantsItAgainAtOnce) {
  const auto busy = open();
  std::atomic<bool> done{false};
  std::thread greedy([&] {
    while (!done) {
      if (busy->lock(Seconds(60))) busy->unlock();
    }
  });
  const auto other = open();
  for (int i = 0; i < 20; ++i) {
    EXPECT_TRUE(other->lock(Seconds(60)));
    other->unlock();
  }
  done = true;
  greedy.join();
}

TEST_F(NativeLockFileTest, ANumberBelongsToOneUntilThatIsGone) {
  auto one = open();
  const auto other = open();
  EXPECT_TRUE(one->reserve(690702));
  EXPECT_TRUE(one->reserve(690702)) << "one's own";
  EXPECT_FALSE(other->reserve(690702));
  EXPECT_TRUE(other->reserve(690703));
  EXPECT_TRUE(other->lock(Seconds(0))) << "numbers and the lock have nothing to do with each other";
  one.reset();
  EXPECT_TRUE(other->reserve(690702));
}

TEST_F(NativeLockFileTest, AKilledProcessHoldsNothing) {
  int ready[2];
  ASSERT_EQ(::pipe(ready), 0);
  const pid_t child = ::fork();
  if (child == 0) {
    const auto lock = open();
    const bool taken = lock->lock(Seconds(1)) && lock->reserve(1);
    if (::write(ready[1], taken ? "y" : "n", 1) != 1) ::_exit(EXIT_FAILURE);
    ::pause();
  }
  char byte = 0;
  ASSERT_EQ(::read(ready[0], &byte, 1), 1);
  ASSERT_EQ(byte, 'y');
  const auto lock = open();
  EXPECT_FALSE(lock->lock(Seconds(0)));
  EXPECT_FALSE(lock->reserve(1));
  ::kill(child, SIGKILL);
  ::waitpid(child, nullptr, 0);
  EXPECT_TRUE(lock->lock(Seconds(0)));
  EXPECT_TRUE(lock->reserve(1));
}

}  // namespace
}  // namespace orv::native_lock_file_test
