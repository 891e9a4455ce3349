// What the simulated files offer to programs that share them: handles that append, and locks.

#include <orvnetwork/testing/SimulatedFileSystem.h>

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace orv::testing::simulated_file_sharing_test {
namespace {

TEST(SimulatedFileSharing, AHandleAppendsWhereTheEndIs) {
  SimulatedFileSystem files;
  const auto one = files.openForAppending("/tmp/file", 0600);
  const auto other = files.openForAppending("/tmp/file", 0600);
  ASSERT_NE(one, nullptr);
  EXPECT_EQ(files.mode("/tmp/file"), 0600u);
  EXPECT_TRUE(one->write("one "));
  EXPECT_TRUE(other->write("two "));
  EXPECT_TRUE(one->write("three"));
  EXPECT_EQ(one->offset(), 13u);
  EXPECT_EQ(files.contents("/tmp/file"), "one two three");
  EXPECT_EQ(files.calls(FileOperation::OpenForAppending), 2u);
}

TEST(SimulatedFileSharing, AppendingNeedsAFolderAndPermission) {
  SimulatedFileSystem files;
  EXPECT_EQ(files.openForAppending("/tmp/no/file", 0600), nullptr);
  EXPECT_EQ(files.openForAppending("/tmp", 0600), nullptr);
  files.setMode("/tmp", 0500);
  EXPECT_EQ(files.openForAppending("/tmp/file", 0600), nullptr);
  files.setMode("/tmp", 0700);
  files.failAt(FileOperation::OpenForAppending, 1);
  EXPECT_EQ(files.openForAppending("/tmp/file", 0600), nullptr);
  EXPECT_NE(files.openForAppending("/tmp/file", 0600), nullptr);
}

TEST(SimulatedFileSharing, LocksAreFreeUntilAFailureIsOrdered) {
  SimulatedFileSystem files;
  const auto lock = files.openLockFile("/tmp/lock", 0600);
  ASSERT_NE(lock, nullptr);
  EXPECT_FALSE(files.contents("/tmp/lock").has_value()) << "it is not to be seen";
  EXPECT_TRUE(lock->lock(Seconds(1)));
  lock->unlock();
  EXPECT_TRUE(lock->reserve(1));
  files.failAt(FileOperation::Lock, 1);
  EXPECT_FALSE(lock->lock(Seconds(1)));
  EXPECT_TRUE(lock->lock(Seconds(1)));
  files.failAlways(FileOperation::Reserve);
  EXPECT_FALSE(lock->reserve(1));
  EXPECT_EQ(files.openLockFile("/tmp/no/lock", 0600), nullptr);
}

TEST(SimulatedFileSharing, LeftoversGoAndNothingElse) {
  SimulatedFileSystem files;
  files.put("/tmp/.orv-0123456789abcdef.tmp", "half");
  files.put("/tmp/.orv-0123456789abcdef.deleted/film", "film");
  files.put("/tmp/own.tmp", "somebody's");
  files.resetCounters();
  files.removeLeftovers("/tmp");
  files.removeLeftovers("/tmp/none");
  EXPECT_EQ(files.snapshot(),
            (std::map<std::string, std::string>{{"/tmp/.orv-0123456789abcdef.deleted/film", "film"},
                                                {"/tmp/own.tmp", "somebody's"}}));
  EXPECT_EQ(files.calls(), 0u);
}

}  // namespace
}  // namespace orv::testing::simulated_file_sharing_test
