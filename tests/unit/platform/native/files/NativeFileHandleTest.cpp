#include "orvnetwork/platform/native/files/NativeFileHandle.h"

#include <orvnetwork/platform/native/files/NativeFileSystem.h>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace orv::native_file_handle_test {
namespace {

namespace fs = std::filesystem;

class AppendingHandle : public ::testing::Test {
 protected:
  std::string contents() const {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  const std::string file = std::string(std::getenv("HOME")) + "/file";
  NativeFileSystem files;
};

TEST_F(AppendingHandle, MakesAMissingFileAndLeavesAnotherAsItIs) {
  umask(022);
  ASSERT_NE(files.openForAppending(file, 0600), nullptr);
  struct stat status {};
  ASSERT_EQ(::stat(file.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600u);
  std::ofstream(file) << "old";
  fs::permissions(file, fs::perms(0640));
  EXPECT_TRUE(files.openForAppending(file, 0600)->write(" and new"));
  EXPECT_EQ(contents(), "old and new");
  EXPECT_EQ(fs::status(file).permissions(), fs::perms(0640));
}

TEST_F(AppendingHandle, NeedsAFolderThatIsThereAndAFile) {
  EXPECT_EQ(files.openForAppending(file + "/no/file", 0600), nullptr);
  EXPECT_EQ(files.openForAppending(fs::path(file).parent_path(), 0600), nullptr);
  EXPECT_EQ(files.openForAppending(file + std::string("\0x", 2), 0600), nullptr);
}

TEST_F(AppendingHandle, WritesToTheEndWhateverOthersHaveWritten) {
  const auto handle = files.openForAppending(file, 0600);
  EXPECT_TRUE(handle->write("one\n"));
  EXPECT_EQ(handle->offset(), 4u);
  std::ofstream(file, std::ios::app) << "another program\n";
  EXPECT_EQ(handle->offset(), 4u);
  EXPECT_TRUE(handle->write("two\n"));
  EXPECT_EQ(handle->offset(), 24u) << "where the end is now";
  EXPECT_EQ(contents(), "one\nanother program\ntwo\n");
}

TEST_F(AppendingHandle, DoesNotReplaceAFileThatIsBeingWritten) {
  const auto one = files.openForAppending(file, 0600);
  const auto other = files.openForAppending(file, 0600);
  one->write("a");
  other->write("b");
  one->write("c");
  EXPECT_EQ(contents(), "abc");
}

}  // namespace
}  // namespace orv::native_file_handle_test
