#include <orvnetwork/support/QXPathManager.h>

#include "FilesTestPlatform.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <limits>

namespace orv::qx_path_manager_test {
namespace {

namespace fs = std::filesystem;
using test::ConsoleLines;
using test::FilesTestPlatform;
using test::home;
using test::makeFile;
using Names = std::vector<std::string>;

class QXPathManagerTest : public ::testing::Test {
 protected:
  QXPathManagerTest() { fs::create_directory(home() + "/Documents"); }

  FilesTestPlatform& platform = FilesTestPlatform::install();
  QXPathManager& manager = QXPathManager::sharedManager();
  ConsoleLines console;
};

TEST_F(QXPathManagerTest, IsOneInstance) {
  EXPECT_EQ(&QXPathManager::sharedManager(), &manager);
  EXPECT_EQ(&manager.defaultMgr(), &platform.files());
}

TEST_F(QXPathManagerTest, KnowsTheStandardFolders) {
  EXPECT_EQ(manager.homeDirectory(), home());
  EXPECT_EQ(manager.documentDirectory(), home() + "/Documents");
  EXPECT_EQ(manager.libraryDirectory(), home() + "/.local/share");
  EXPECT_EQ(manager.cacheDirectory(), home() + "/.cache");
  EXPECT_EQ(manager.tempDirectory(), platform.directories().temporary());
}

TEST_F(QXPathManagerTest, ResolvesItsFoldersOnce) {
  const std::string before = home();
  setenv("HOME", "/elsewhere", 1);
  EXPECT_EQ(manager.documentDirectory(), before + "/Documents");
  EXPECT_EQ(manager.homeDirectory(), before);
  EXPECT_EQ(manager.searchPath(9), "/elsewhere/Documents");
  setenv("HOME", before.c_str(), 1);
}

TEST_F(QXPathManagerTest, DirectoryPathTakesAnyOtherKindForTheTemporaryFolder) {
  EXPECT_EQ(manager.directoryPath(0), manager.homeDirectory());
  EXPECT_EQ(manager.directoryPath(1), manager.documentDirectory());
  EXPECT_EQ(manager.directoryPath(2), manager.libraryDirectory());
  EXPECT_EQ(manager.directoryPath(3), manager.cacheDirectory());
  EXPECT_EQ(manager.directoryPath(4), manager.tempDirectory());
  EXPECT_EQ(manager.directoryPath(5), manager.tempDirectory());
  EXPECT_EQ(manager.directoryPath(std::numeric_limits<std::uint64_t>::max()), manager.tempDirectory());
}

TEST_F(QXPathManagerTest, SearchPathOfAnUnknownCodeIsAbsent) {
  EXPECT_EQ(manager.searchPath(9), manager.documentDirectory());
  EXPECT_EQ(manager.searchPath(5), manager.libraryDirectory());
  EXPECT_EQ(manager.searchPath(13), manager.cacheDirectory());
  EXPECT_EQ(manager.searchPath(14), std::nullopt);
  EXPECT_EQ(manager.searchPath(-1), std::nullopt);
}

TEST_F(QXPathManagerTest, StorePathGluesItsPiecesAndMakesTheFolder) {
  fs::create_directory(manager.cacheDirectory());
  EXPECT_EQ(manager.storePathWithRelativePath_fileName("abc", "x.log"), home() + "/.cacheabcx.log");
  EXPECT_TRUE(fs::is_directory(home() + "/.cacheabc"));
  EXPECT_EQ(manager.storePathWithRelativePath_fileName("/sub/", "x.log"), home() + "/.cache/sub/x.log");
  EXPECT_TRUE(fs::is_directory(home() + "/.cache/sub"));
}

TEST_F(QXPathManagerTest, StorePathOfAFolderWithoutParentIsReturnedAllTheSame) {
  EXPECT_EQ(manager.storePathWithRelativePath_fileName("/no/such/", "x"), home() + "/.cache/no/such/x");
  EXPECT_FALSE(fs::exists(home() + "/.cache"));
  EXPECT_EQ(console.take(), Names());
}

TEST_F(QXPathManagerTest, CheckShouldCreateIsTrueOnlyForAFolderThatItMakes) {
  const std::string folder = home() + "/new";
  EXPECT_TRUE(manager.checkShouldCreateDirectoryWithPath(folder));
  EXPECT_TRUE(fs::is_directory(folder));
  makeFile(folder + "/kept");
  EXPECT_FALSE(manager.checkShouldCreateDirectoryWithPath(folder));
  EXPECT_TRUE(fs::exists(folder + "/kept"));
  EXPECT_FALSE(manager.checkShouldCreateDirectoryWithPath(folder + "/kept"));
  EXPECT_TRUE(fs::is_regular_file(folder + "/kept"));
  EXPECT_FALSE(manager.checkShouldCreateDirectoryWithPath(home() + "/no/parent"));
  EXPECT_FALSE(manager.checkShouldCreateDirectoryWithPath(std::nullopt));
  EXPECT_EQ(console.take(), Names());
}

TEST_F(QXPathManagerTest, TellsFoldersFromFiles) {
  makeFile(home() + "/file");
  EXPECT_TRUE(manager.isFolderExist(home()));
  EXPECT_FALSE(manager.isFileExist(home()));
  EXPECT_FALSE(manager.isFolderExist(home() + "/file"));
  EXPECT_TRUE(manager.isFileExist(home() + "/file"));
  EXPECT_FALSE(manager.isFolderExist(home() + "/missing"));
  EXPECT_FALSE(manager.isFileExist(home() + "/missing"));
  EXPECT_FALSE(manager.isFolderExist(std::nullopt));
  EXPECT_FALSE(manager.isFileExist(std::nullopt));
}

TEST_F(QXPathManagerTest, FolderTestGluesTheSuffixAndFileTestAppendsIt) {
  fs::create_directory(home() + "/DocumentsFoo");
  makeFile(home() + "/Documents/Foo");
  EXPECT_TRUE(manager.isFolderExistWithSuffix("Foo"));
  EXPECT_TRUE(manager.isFileExistWithSuffix("Foo"));
  fs::remove(home() + "/DocumentsFoo");
  fs::remove(home() + "/Documents/Foo");
  fs::create_directory(home() + "/Documents/Foo");
  makeFile(home() + "/DocumentsFoo");
  EXPECT_FALSE(manager.isFolderExistWithSuffix("Foo"));
  EXPECT_FALSE(manager.isFileExistWithSuffix("Foo"));
  EXPECT_TRUE(manager.isFolderExistWithSuffix("/Foo"));
}

TEST_F(QXPathManagerTest, SuffixTestsTakeASearchPathCode) {
  fs::create_directories(home() + "/.cache/folder");
  makeFile(home() + "/.cache/file");
  EXPECT_TRUE(manager.isFolderExistWithSuffix_domain("/folder", 13));
  EXPECT_TRUE(manager.isFileExistWithSuffix_domain("file", 13));
  EXPECT_FALSE(manager.isFolderExistWithSuffix_domain("/folder", 9));
  EXPECT_FALSE(manager.isFileExistWithSuffix_domain("file", 9));
  EXPECT_FALSE(manager.isFolderExistWithSuffix_domain("/folder", 77));
  EXPECT_FALSE(manager.isFileExistWithSuffix_domain("file", 77));
  EXPECT_EQ(console.take(), Names());
}

TEST_F(QXPathManagerTest, CreateFolderWithSuffixMakesFoldersAboveAndAcceptsExistingOnes) {
  umask(0);
  const std::string path = home() + "/Documents/a/b";
  EXPECT_EQ(manager.createFolderWithSuffix("a/b"), path);
  EXPECT_TRUE(fs::is_directory(path));
  EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_all);
  EXPECT_EQ(fs::status(home() + "/Documents/a").permissions(), fs::perms::owner_all);
  EXPECT_EQ(manager.createFolderWithSuffix("/a/b/"), path);
  EXPECT_EQ(manager.createFolderWithSuffix_domain("a", 13), home() + "/.cache/a");
  EXPECT_EQ(manager.createFolderWithSuffix_domain("a", 77), std::nullopt);
  EXPECT_EQ(console.take(), Names());
}

TEST_F(QXPathManagerTest, CreateFolderFailuresAreToldOnTheConsole) {
  makeFile(home() + "/Documents/file");
  EXPECT_EQ(manager.createFolderWithSuffix("file/x"), std::nullopt);
  EXPECT_EQ(manager.createFolderWithSuffix("file"), std::nullopt);
  EXPECT_FALSE(manager.createFolderWithPath(home() + "/Documents/file"));
  EXPECT_FALSE(manager.createFolderWithPath(std::nullopt));
  EXPECT_EQ(console.take(), (Names{"-[QXPathManager createFolderWithSuffix:domain:] 165, Not a directory",
                                   "-[QXPathManager createFolderWithSuffix:domain:] 165, File exists",
                                   "-[QXPathManager createFolderWithPath:] 176, File exists",
                                   "-[QXPathManager createFolderWithPath:] 176, Invalid argument"}));
}

TEST_F(QXPathManagerTest, CreateFolderWithPathMakesFoldersAbove) {
  EXPECT_TRUE(manager.createFolderWithPath(home() + "/x/y/z"));
  EXPECT_TRUE(manager.createFolderWithPath(home() + "/x/y/z"));
  EXPECT_TRUE(fs::is_directory(home() + "/x/y/z"));
}

TEST_F(QXPathManagerTest, CreateFileReplacesAnExistingFileByANewEmptyOne) {
  const std::string path = home() + "/file";
  makeFile(path, "old");
  fs::create_hard_link(path, home() + "/other");
  EXPECT_TRUE(manager.createFile(path));
  EXPECT_EQ(fs::file_size(path), 0U);
  EXPECT_EQ(test::contentsOf(home() + "/other"), "old");
}

TEST_F(QXPathManagerTest, CreateFileFailuresPrintTheMarkOfAnAbsentError) {
  EXPECT_FALSE(manager.createFile(home() + "/no/parent"));
  EXPECT_FALSE(manager.createFile(home()));
  EXPECT_FALSE(manager.createFile(std::nullopt));
  EXPECT_EQ(console.take(), Names(3, "-[QXPathManager createFile:] 187, (null)"));
}

TEST_F(QXPathManagerTest, RemovesFilesAndWholeFolders) {
  fs::create_directories(home() + "/tree/a/b");
  makeFile(home() + "/tree/a/b/file");
  EXPECT_TRUE(manager.removeFolderOrFile(home() + "/tree/a/b/file"));
  EXPECT_TRUE(fs::exists(home() + "/tree/a/b"));
  EXPECT_TRUE(manager.removeFolderOrFile(home() + "/tree"));
  EXPECT_FALSE(fs::exists(home() + "/tree"));
}

TEST_F(QXPathManagerTest, RemovingWhatIsMissingSucceedsSilently) {
  EXPECT_TRUE(manager.removeFolderOrFile(home() + "/missing"));
  EXPECT_TRUE(manager.removeFolderOrFile(std::nullopt));
  fs::create_symlink("nowhere", home() + "/dangling");
  EXPECT_TRUE(manager.removeFolderOrFile(home() + "/dangling"));
  EXPECT_TRUE(fs::is_symlink(home() + "/dangling"));
  EXPECT_EQ(console.take(), Names());
}

TEST_F(QXPathManagerTest, ARemovalThatFailsIsToldOnTheConsole) {
  EXPECT_FALSE(manager.removeFolderOrFile("/proc/self/status"));
  const Names lines = console.take();
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_TRUE(lines[0].starts_with("-[QXPathManager removeFolderOrFile:] 199, ")) << lines[0];
}

TEST_F(QXPathManagerTest, ListsFilesSortedWithHiddenOnesAndWithoutFolders) {
  const std::string folder = home() + "/list";
  fs::create_directories(folder + "/sub.log");
  makeFile(folder + "/sub.log/inner.log");
  for (const char* name : {"b.log", "a.log", ".hidden", "B.log", "a.txt", "x.LOG"}) {
    makeFile(folder + "/" + name);
  }
  EXPECT_EQ(manager.filesAtPath(folder), (Names{".hidden", "B.log", "a.log", "a.txt", "b.log", "x.LOG"}));
  EXPECT_EQ(manager.filesAtPath_hasSuffix(folder, ".log"), (Names{"B.log", "a.log", "b.log"}));
  EXPECT_EQ(manager.filesAtPath_hasSuffix(folder, std::nullopt), manager.filesAtPath(folder));
  EXPECT_EQ(manager.filesAtPath_hasSuffix(folder, ".none"), Names());
}

TEST_F(QXPathManagerTest, ListsByUtf16CodeUnits) {
  const std::string folder = home() + "/list";
  fs::create_directory(folder);
  makeFile(folder + "/\xEF\xBC\xA1");      // U+FF21
  makeFile(folder + "/\xF0\x9F\x98\x80");  // U+1F600
  EXPECT_EQ(manager.filesAtPath(folder), (Names{"\xF0\x9F\x98\x80", "\xEF\xBC\xA1"}));
}

TEST_F(QXPathManagerTest, ListingWhatIsNoFolderIsAbsentAndAnEmptyFolderEmpty) {
  makeFile(home() + "/file");
  fs::create_directory(home() + "/empty");
  EXPECT_EQ(manager.filesAtPath(home() + "/missing"), std::nullopt);
  EXPECT_EQ(manager.filesAtPath(home() + "/file"), std::nullopt);
  EXPECT_EQ(manager.filesAtPath(std::nullopt), std::nullopt);
  EXPECT_EQ(manager.filesAtPath_hasSuffix(std::nullopt, ".log"), std::nullopt);
  EXPECT_EQ(manager.filesAtPath(home() + "/empty"), Names());
  EXPECT_EQ(console.take(), Names());
}

TEST_F(QXPathManagerTest, AFolderThatCannotBeListedIsToldOnTheConsole) {
  platform.control().refuseListing = true;
  EXPECT_EQ(manager.filesAtPath_hasSuffix(home(), ".log"), std::nullopt);
  EXPECT_EQ(manager.filesAtPath(home()), std::nullopt);
  EXPECT_EQ(console.take(), (Names{"-[QXPathManager filesAtPath:hasSuffix:] 210, Permission denied",
                                   "-[QXPathManager filesAtPath:] 231, Permission denied"}));
}

}  // namespace
}  // namespace orv::qx_path_manager_test
