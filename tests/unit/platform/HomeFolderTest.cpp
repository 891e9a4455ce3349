#include <orvnetwork/platform/Directories.h>
#include <orvnetwork/platform/HomeFolder.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/testing/SimulatedPlatform.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

namespace orv::home_folder_test {
namespace {

void expectFoldersIn(const std::string& home) {
  auto& folders = Platform::current().directories();
  EXPECT_EQ(folders.home(), home);
  EXPECT_EQ(folders.searchPath(kDocumentDirectoryCode), home + "/Documents");
  EXPECT_EQ(folders.searchPath(kLibraryDirectoryCode), home + "/.local/share");
  EXPECT_EQ(folders.searchPath(kCachesDirectoryCode), home + "/.cache");
}

TEST(HomeFolder, TakesThePlaceOfTheUsersHome) {
  const std::string own = std::getenv("HOME");
  expectFoldersIn(own);
  const std::string temporary = Platform::current().directories().temporary();
  ::setenv("XDG_DATA_HOME", "/elsewhere/data", 1);
  ::setenv("XDG_CACHE_HOME", "/elsewhere/cache", 1);
  ::setenv("XDG_CONFIG_HOME", "/elsewhere/config", 1);
  HomeFolder::choose(own + "/kiosk");
  EXPECT_EQ(HomeFolder::chosen(), own + "/kiosk");
  expectFoldersIn(own + "/kiosk");
  EXPECT_EQ(Platform::current().directories().temporary(), temporary);
  HomeFolder::choose(std::nullopt);
  EXPECT_EQ(Platform::current().directories().home(), own);
  EXPECT_EQ(Platform::current().directories().searchPath(kLibraryDirectoryCode), "/elsewhere/data");
}

TEST(HomeFolder, HasSettingsOfItsOwn) {
  const std::string home = std::string(std::getenv("HOME")) + "/kiosk";
  std::filesystem::create_directories(home + "/.config");
  std::ofstream(home + "/.config/user-dirs.dirs") << "XDG_DOCUMENTS_DIR=\"$HOME/Papers\"\n";
  HomeFolder::choose(home);
  EXPECT_EQ(Platform::current().directories().searchPath(kDocumentDirectoryCode), home + "/Papers");
}

TEST(HomeFolder, CountsOnTheSimulatedPlatformToo) {
  auto& platform = testing::SimulatedPlatform::install();
  expectFoldersIn("/home/user");
  HomeFolder::choose("/srv/kiosk");
  expectFoldersIn("/srv/kiosk");
  platform.directories().setSearchPath(kCachesDirectoryCode, "/var/cache");
  EXPECT_EQ(platform.directories().searchPath(kCachesDirectoryCode), "/var/cache")
      << "what the test sets stays";
  HomeFolder::choose(std::nullopt);
  EXPECT_EQ(platform.directories().home(), "/home/user");
}

}  // namespace
}  // namespace orv::home_folder_test
