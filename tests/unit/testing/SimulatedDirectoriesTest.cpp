#include <orvnetwork/testing/SimulatedDirectories.h>

#include <gtest/gtest.h>

#include <optional>

namespace orv::testing::simulated_directories_test {
namespace {

TEST(SimulatedDirectories, NamesTheUsualFoldersUnderTheHome) {
  SimulatedDirectories directories;
  EXPECT_EQ(directories.home(), "/home/user");
  EXPECT_EQ(directories.temporary(), "/tmp/");
  EXPECT_EQ(directories.searchPath(kLibraryDirectoryCode), "/home/user/.local/share");
  EXPECT_EQ(directories.searchPath(kDocumentDirectoryCode), "/home/user/Documents");
  EXPECT_EQ(directories.searchPath(kCachesDirectoryCode), "/home/user/.cache");
  EXPECT_FALSE(directories.searchPath(1));
}

TEST(SimulatedDirectories, CanBeMoved) {
  SimulatedDirectories directories;
  directories.setHome("/home/ann");
  directories.setTemporary("/var/tmp/");
  directories.setSearchPath(kCachesDirectoryCode, std::nullopt);
  directories.setSearchPath(kLibraryDirectoryCode, "/data");
  EXPECT_EQ(directories.searchPath(kDocumentDirectoryCode), "/home/ann/Documents");
  EXPECT_EQ(directories.searchPath(kLibraryDirectoryCode), "/data");
  EXPECT_FALSE(directories.searchPath(kCachesDirectoryCode));
  EXPECT_EQ(directories.temporary(), "/var/tmp/");
}

}  // namespace
}  // namespace orv::testing::simulated_directories_test
