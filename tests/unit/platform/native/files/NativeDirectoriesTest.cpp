#include <orvnetwork/platform/native/files/NativeDirectories.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>

namespace orv::native_directories_test {
namespace {

class NativeDirectoriesTest : public ::testing::Test {
 protected:
  const std::string home = std::getenv("HOME");
  NativeDirectories directories;
};

TEST_F(NativeDirectoriesTest, HomeIsTheVariableWithoutASlashAtTheEnd) {
  EXPECT_EQ(directories.home(), home);
  setenv("HOME", "/some/where//", 1);
  EXPECT_EQ(directories.home(), "/some/where");
  setenv("HOME", "/", 1);
  EXPECT_EQ(directories.home(), "/");
}

TEST_F(NativeDirectoriesTest, HomeComesFromThePasswordDatabaseWithoutAUsableVariable) {
  unsetenv("HOME");
  const std::string fromDatabase = directories.home();
  EXPECT_TRUE(fromDatabase.starts_with('/'));
  for (const char* value : {"", "relative"}) {
    setenv("HOME", value, 1);
    EXPECT_EQ(directories.home(), fromDatabase);
  }
}

TEST_F(NativeDirectoriesTest, ExecutableFolderHoldsTheProgram) {
  const auto folder = directories.executableFolder();
  ASSERT_TRUE(folder);
  EXPECT_EQ(*folder, std::filesystem::read_symlink("/proc/self/exe").parent_path().string());
}

TEST_F(NativeDirectoriesTest, TemporaryEndsInOneSlash) {
  unsetenv("TMPDIR");
  EXPECT_EQ(directories.temporary(), "/tmp/");
  setenv("TMPDIR", "/var/tmp", 1);
  EXPECT_EQ(directories.temporary(), "/var/tmp/");
  setenv("TMPDIR", "/var/tmp/", 1);
  EXPECT_EQ(directories.temporary(), "/var/tmp/");
  for (const char* value : {"", "relative"}) {
    setenv("TMPDIR", value, 1);
    EXPECT_EQ(directories.temporary(), "/tmp/");
  }
}

TEST_F(NativeDirectoriesTest, SearchPathsLieUnderHomeByDefault) {
  EXPECT_EQ(directories.searchPath(kLibraryDirectoryCode), home + "/.local/share");
  EXPECT_EQ(directories.searchPath(kCachesDirectoryCode), home + "/.cache");
  EXPECT_EQ(directories.searchPath(kDocumentDirectoryCode), home + "/Documents");
  for (const int code : {-1, 0, 1, 4, 14, 100}) EXPECT_EQ(directories.searchPath(code), std::nullopt);
}

TEST_F(NativeDirectoriesTest, VariablesMoveSearchPathsWhenTheyAreAbsolute) {
  setenv("XDG_DATA_HOME", "/data/", 1);
  setenv("XDG_CACHE_HOME", "relative", 1);
  EXPECT_EQ(directories.searchPath(kLibraryDirectoryCode), "/data");
  EXPECT_EQ(directories.searchPath(kCachesDirectoryCode), home + "/.cache");
  setenv("XDG_CACHE_HOME", "/cache", 1);
  EXPECT_EQ(directories.searchPath(kCachesDirectoryCode), "/cache");
}

TEST_F(NativeDirectoriesTest, DocumentsAreWhatTheUserDirsFileSays) {
  std::filesystem::create_directory(home + "/.config");
  std::ofstream(home + "/.config/user-dirs.dirs") << "XDG_DOCUMENTS_DIR=\"$HOME/Dokumente\"\n";
  EXPECT_EQ(directories.searchPath(kDocumentDirectoryCode), home + "/Dokumente");
  std::filesystem::create_directory(home + "/elsewhere");
  std::ofstream(home + "/elsewhere/user-dirs.dirs") << "XDG_DOCUMENTS_DIR=\"/docs\"\n";
  setenv("XDG_CONFIG_HOME", (home + "/elsewhere").c_str(), 1);
  EXPECT_EQ(directories.searchPath(kDocumentDirectoryCode), "/docs");
  setenv("XDG_CONFIG_HOME", (home + "/missing").c_str(), 1);
  EXPECT_EQ(directories.searchPath(kDocumentDirectoryCode), home + "/Documents");
}

TEST_F(NativeDirectoriesTest, TheDocumentsVariableItselfDoesNotCount) {
  setenv("XDG_DOCUMENTS_DIR", "/not/this", 1);
  EXPECT_EQ(directories.searchPath(kDocumentDirectoryCode), home + "/Documents");
}

}  // namespace
}  // namespace orv::native_directories_test
