#include <orvnetwork/data/PropertyList.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/session/detail/UserFile.h>
#include <orvnetwork/testing/SimulatedPlatform.h>

#include <gtest/gtest.h>

#include <system_error>

namespace orv::user_file_test {
namespace {

class UserFileTest : public ::testing::Test {
 protected:
  UserFileTest() {
    Console::setSink([](std::string_view) {});
  }
  ~UserFileTest() override { Console::setSink(nullptr); }

  static json::object named(const char* name) { return {{"nick", name}}; }
  std::string onDisk() const {
    const auto read = readPropertyList(platform.files().contents(path).value_or(""));
    const json::value* const name = read ? read->as_object().if_contains("nick") : nullptr;
    return name != nullptr ? std::string(name->get_string()) : "";
  }

  testing::SimulatedPlatform& platform = testing::SimulatedPlatform::install();
  const std::string path = "/home/user/user.plist";
  const std::shared_ptr<UserFile> file = UserFile::make(path);
};

TEST_F(UserFileTest, WritesBeforeItReturns) {
  file->write(file->takePlace(), named("Ann"));
  EXPECT_EQ(onDisk(), "Ann");
  EXPECT_EQ(file->read(), named("Ann"));
}

TEST_F(UserFileTest, WritesLaterOnTheWorkerPool) {
  file->writeLater(file->takePlace(), named("Ann"));
  EXPECT_EQ(onDisk(), "");
  platform.settle();
  EXPECT_EQ(onDisk(), "Ann");
}

TEST_F(UserFileTest, NeverPutsTheOlderOverTheNewer) {
  const auto first = file->takePlace();
  const auto second = file->takePlace();
  file->write(second, named("Bob"));
  file->write(first, named("Ann"));
  EXPECT_EQ(onDisk(), "Bob");
}

TEST_F(UserFileTest, LetsADirectWriteOvertakeOneThatWaits) {
  file->writeLater(file->takePlace(), named("Ann"));
  file->write(file->takePlace(), named("Bob"));
  EXPECT_EQ(onDisk(), "Bob");
  platform.settle();
  EXPECT_EQ(onDisk(), "Bob");
}

TEST_F(UserFileTest, WritesOnlyTheLatestOfWhatWaits) {
  const auto first = file->takePlace();
  const auto second = file->takePlace();
  file->writeLater(second, named("Bob"));
  file->writeLater(first, named("Ann"));
  file->writeLater(file->takePlace(), named("Cid"));
  platform.settle();
  EXPECT_EQ(onDisk(), "Cid");
  EXPECT_EQ(platform.files().calls(testing::FileOperation::WriteAtomically), 1u);
}

TEST_F(UserFileTest, KeepsTheNewestOfWhatWaitsWhenOlderOnesComeLast) {
  const auto first = file->takePlace();
  file->writeLater(file->takePlace(), named("Bob"));
  file->writeLater(first, named("Ann"));
  platform.settle();
  EXPECT_EQ(onDisk(), "Bob");
}

TEST_F(UserFileTest, WritesWhatWaitsBeforeItReads) {
  file->writeLater(file->takePlace(), named("Ann"));
  EXPECT_EQ(file->read(), named("Ann"));
  EXPECT_EQ(onDisk(), "Ann");
}

TEST_F(UserFileTest, CountsWhatTheDiskDidNotTakeAsHeld) {
  file->write(file->takePlace(), named("Ann"));
  platform.files().failAt(testing::FileOperation::WriteAtomically, 1);
  file->write(file->takePlace(), named("Bob"));
  EXPECT_EQ(onDisk(), "Ann");
  EXPECT_EQ(file->read(), named("Bob"));
  file->write(file->takePlace(), named("Cid"));
  EXPECT_EQ(file->read(), named("Cid"));
  EXPECT_EQ(onDisk(), "Cid");
}

TEST_F(UserFileTest, RemovesWhatKilledProcessesHaveLeftBesideIt) {
  const std::string left = "/home/user/.orv-0123456789abcdef.tmp";
  platform.files().put(left, "token");
  platform.files().put("/home/user/notes.tmp", "x");
  file->write(file->takePlace(), named("Ann"));
  file->tidyLater();
  EXPECT_TRUE(platform.files().contents(left)) << "by a worker";
  platform.settle();
  EXPECT_FALSE(platform.files().contents(left));
  EXPECT_TRUE(platform.files().contents("/home/user/notes.tmp"));
  EXPECT_EQ(onDisk(), "Ann");
}

TEST_F(UserFileTest, RemovesNoFolderThatIsInItsPlace) {
  std::error_code error;
  ASSERT_TRUE(platform.files().createDirectory(path, false, 0700, error));
  platform.files().put(path + "/precious", "x");
  file->write(file->takePlace(), json::object());
  EXPECT_EQ(platform.files().contents(path + "/precious"), "x");
  EXPECT_EQ(file->read(), json::object()) << "nobody, as was decided";
}

TEST_F(UserFileTest, MovesAFolderAwayThatWasInItsPlaceWhenItWasRead) {
  std::error_code error;
  ASSERT_TRUE(platform.files().createDirectory(path, false, 0700, error));
  platform.files().put(path + "/precious", "x");
  EXPECT_EQ(file->read(), std::nullopt);
  file->write(file->takePlace(), named("Ann"));
  EXPECT_EQ(onDisk(), "Ann");
  EXPECT_EQ(platform.files().contents(path + ".damaged/precious"), "x");
}

}  // namespace
}  // namespace orv::user_file_test
