#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/MainBundle.h>
#include <orvnetwork/testing/SimulatedPlatform.h>

#include <gtest/gtest.h>

#include <system_error>

namespace orv::main_bundle_test {
namespace {

class MainBundleTest : public ::testing::Test {
 protected:
  MainBundleTest() {
    Console::setSink([this](std::string_view line) { console.emplace_back(line); });
  }
  ~MainBundleTest() override { Console::setSink(nullptr); }

  void placeInfoFile(std::string_view text) {
    std::error_code error;
    platform.directories().setExecutableFolder("/opt/app");
    platform.files().createDirectory("/opt/app", true, 0755, error);
    ASSERT_TRUE(
        platform.files().writeAtomically("/opt/app/Info.plist", text, Durability::Plain, 0644, error));
  }

  testing::SimulatedPlatform& platform = testing::SimulatedPlatform::install();
  std::vector<std::string> console;
};

TEST_F(MainBundleTest, HasNoVersionsByItself) {
  EXPECT_EQ(MainBundle::shortVersion(), std::nullopt);
  EXPECT_EQ(MainBundle::version(), std::nullopt);
  EXPECT_TRUE(console.empty());
}

TEST_F(MainBundleTest, ReadsTheFileBesideTheProgram) {
  placeInfoFile(
      "<plist><dict><key>CFBundleShortVersionString</key><string>2.3.1</string>"
      "<key>CFBundleVersion</key><integer>57</integer></dict></plist>");
  EXPECT_EQ(MainBundle::shortVersion(), "2.3.1");
  EXPECT_EQ(MainBundle::version(), "57") << "a number has its text form";
  EXPECT_TRUE(console.empty());
}

TEST_F(MainBundleTest, TakesTheHostsVersionsFirst) {
  placeInfoFile("<plist><dict><key>CFBundleVersion</key><string>57</string></dict></plist>");
  MainBundle::setVersions("3.0", std::nullopt);
  EXPECT_EQ(MainBundle::shortVersion(), "3.0");
  EXPECT_EQ(MainBundle::version(), "57");
  MainBundle::setVersions("3.0", "58");
  EXPECT_EQ(MainBundle::version(), "58");
}

TEST_F(MainBundleTest, TellsOfADamagedFileOnceAndDoesWithoutIt) {
  placeInfoFile("<plist><dict><key>CFBundleVersion</key><date>2024</date></dict></plist>");
  EXPECT_EQ(MainBundle::version(), std::nullopt);
  EXPECT_EQ(MainBundle::shortVersion(), std::nullopt);
  EXPECT_EQ(console,
            std::vector<std::string>{"/opt/app/Info.plist is damaged: <date> is no element that is taken"});
}

TEST_F(MainBundleTest, TakesNothingFromAFileThatHoldsAnotherKind) {
  placeInfoFile("<plist><array/></plist>");
  EXPECT_EQ(MainBundle::version(), std::nullopt);
  EXPECT_EQ(console, std::vector<std::string>{"/opt/app/Info.plist is damaged: it is not a dictionary"});
}

TEST_F(MainBundleTest, TakesNoValueThatIsNeitherTextNorANumber) {
  placeInfoFile("<plist><dict><key>CFBundleVersion</key><array/></dict></plist>");
  EXPECT_EQ(MainBundle::version(), std::nullopt);
}

}  // namespace
}  // namespace orv::main_bundle_test
