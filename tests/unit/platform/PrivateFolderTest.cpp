#include <orvnetwork/platform/PrivateFolder.h>
#include <orvnetwork/testing/SimulatedPlatform.h>

#include <gtest/gtest.h>

#include <system_error>

namespace orv::private_folder_test {
namespace {

using testing::FileOperation;

class PrivateFolderTest : public ::testing::Test {
 protected:
  PrivateFolderTest() { files.setUmask(0); }

  static constexpr const char* kRoot = "/home/user/Documents";
  bool make(const std::string& path) { return makePrivateFolder(files, kRoot, path, error); }

  testing::SimulatedFileSystem& files = testing::SimulatedPlatform::install().files();
  std::error_code error;
};

TEST_F(PrivateFolderTest, EveryFolderBelowTheRootIsClosedToOthers) {
  EXPECT_TRUE(make("/home/user/Documents/a/b/c"));
  EXPECT_FALSE(error);
  for (const char* name : {"/a", "/a/b", "/a/b/c"}) {
    EXPECT_EQ(files.mode(std::string(kRoot) + name), 0700u) << name;
  }
  EXPECT_EQ(files.mode(kRoot), 0777u) << "the user's own affair";
}

TEST_F(PrivateFolderTest, FoldersThatExistKeepTheirPermissions) {
  ASSERT_TRUE(files.createDirectory("/home/user/Documents/a/b", true, 0755, error));
  files.setMode("/home/user/Documents/a", 0750);
  EXPECT_TRUE(make("/home/user/Documents/a/b"));
  EXPECT_TRUE(make("/home/user/Documents/a/b/c"));
  EXPECT_EQ(files.mode("/home/user/Documents/a"), 0750u);
  EXPECT_EQ(files.mode("/home/user/Documents/a/b"), 0755u);
  EXPECT_EQ(files.mode("/home/user/Documents/a/b/c"), 0700u);
}

TEST_F(PrivateFolderTest, OutsideTheRootOnlyTheFolderItselfIsClosed) {
  for (const char* parent : {"/home/user/x", "/home/user/DocumentsToo/x"}) {
    EXPECT_TRUE(make(std::string(parent) + "/y"));
    EXPECT_EQ(files.mode(parent), 0777u);
    EXPECT_EQ(files.mode(std::string(parent) + "/y"), 0700u);
  }
}

TEST_F(PrivateFolderTest, WhatIsInTheWayIsTold) {
  files.put("/home/user/Documents/file", "x");
  EXPECT_FALSE(make("/home/user/Documents/file"));
  EXPECT_EQ(error, std::errc::file_exists);
  EXPECT_FALSE(make("/home/user/Documents/file/a"));
  EXPECT_EQ(error, std::errc::not_a_directory);
  EXPECT_EQ(files.contents("/home/user/Documents/file"), "x");
}

TEST_F(PrivateFolderTest, NothingDeeperIsMadeWhenALevelCannotBe) {
  files.failAt(FileOperation::CreateDirectory, 1, std::errc::no_space_on_device);
  EXPECT_FALSE(make("/home/user/Documents/a/b"));
  EXPECT_EQ(error, std::errc::no_space_on_device);
  EXPECT_FALSE(files.exists("/home/user/Documents/a"));
}

}  // namespace
}  // namespace orv::private_folder_test
