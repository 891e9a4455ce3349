#include <orvnetwork/course/detail/Trash.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/TemporaryName.h>
#include <orvnetwork/testing/SimulatedPlatform.h>

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace orv::trash_test {
namespace {

using testing::FileOperation;
using testing::SimulatedPlatform;
using Strings = std::vector<std::string>;

const std::string kCourse = "/home/user/course";
const std::string kTrash = "/home/user/trash";

class TrashTest : public ::testing::Test {
 protected:
  TrashTest() {
    Console::setSink([this](std::string_view line) { lines.emplace_back(line); });
    platform.files().put(kCourse + "/mp4/1.mp4", "film");
    platform.files().put(kTrash + "/kept.plist", "list");
  }
  ~TrashTest() override { Console::setSink({}); }

  void throwCourseAway(const OptionalString& trash = kTrash) {
    throwAway(kCourse, trash, platform.globalQueue());
  }
  Strings paths() {
    Strings all;
    for (const auto& [path, bytes] : platform.files().snapshot()) all.push_back(path);
    return all;
  }

  SimulatedPlatform& platform = SimulatedPlatform::install();
  Strings lines;
};

TEST_F(TrashTest, TakesAFolderAwayAtOnceAndRemovesItOnAWorker) {
  platform.holdGlobalQueue(true);
  throwCourseAway();
  platform.settle();
  EXPECT_FALSE(platform.files().exists(kCourse));
  ASSERT_EQ(paths().size(), 2u) << "it is still somewhere";
  EXPECT_EQ(platform.files().calls(FileOperation::Remove), 0u);
  platform.holdGlobalQueue(false);
  platform.settle();
  EXPECT_EQ(paths(), Strings{kTrash + "/kept.plist"});
  EXPECT_EQ(platform.files().folders().count(kTrash + "/"), 1u);
}

TEST_F(TrashTest, RemovesBeforeItReturnsWhatCannotBeRenamed) {
  platform.holdGlobalQueue(true);
  platform.files().failAlways(FileOperation::Rename, std::errc::cross_device_link);
  throwCourseAway();
  EXPECT_EQ(paths(), Strings{kTrash + "/kept.plist"});
  platform.files().clearFailures();
  platform.files().put(kCourse + "/mp4/1.mp4", "film");
  throwCourseAway(std::nullopt);
  EXPECT_EQ(paths(), Strings{kTrash + "/kept.plist"});
}

TEST_F(TrashTest, TellsTheConsoleOfWhatCannotBeRemoved) {
  throwCourseAway();
  platform.files().failAlways(FileOperation::Remove);
  platform.settle();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_TRUE(lines[0].starts_with("-[QXPathManager removeFolderOrFile:]")) << lines[0];
}

TEST_F(TrashTest, MissesNothingThatIsNotThere) {
  platform.files().resetCounters();
  throwAway("/home/user/none", kTrash, platform.globalQueue());
  throwAway(std::nullopt, kTrash, platform.globalQueue());
  platform.settle();
  EXPECT_EQ(platform.files().calls(FileOperation::Rename), 0u);
  EXPECT_EQ(lines, Strings{});
}

TEST_F(TrashTest, IsEmptiedOfWhatWasThrownAwayAndOfNothingElse) {
  platform.files().put(kTrash + "/.orv-0123456789abcdef.deleted/mp4/1.mp4", "film");
  platform.files().put(kTrash + "/.orv-0123456789abcdeX.deleted/mp4/1.mp4", "the host's");
  platform.files().put(kTrash + "/.orv-0123456789abcdef.tmp", "being written");
  emptyTrash(kTrash);
  EXPECT_EQ(paths(), (Strings{kCourse + "/mp4/1.mp4", kTrash + "/.orv-0123456789abcdeX.deleted/mp4/1.mp4",
                              kTrash + "/.orv-0123456789abcdef.tmp", kTrash + "/kept.plist"}));
  emptyTrash("/home/user/none");
  emptyTrash(std::nullopt);
  EXPECT_EQ(lines, Strings{});
}

TEST(TemporaryName, IsKnownAgain) {
  EXPECT_EQ(temporaryName(0x12ab, 0xffffffff, kIncompleteEnding), ".orv-000012abffffffff.tmp");
  EXPECT_TRUE(isTemporaryName(".orv-000012abffffffff.tmp", kIncompleteEnding));
  EXPECT_TRUE(isTemporaryName(temporaryName(0, 1, kDeletedEnding), kDeletedEnding));
  for (const char* name :
       {".orv-000012abffffffff.deleted", ".orv-000012abffffffff", ".orv-000012abfffffff.tmp",
        ".orv-000012abffffffff0.tmp", "orv-0000012abffffffff.tmp", ".orv-000012ABffffffff.tmp",
        ".orv-000012abffff/fff.tmp", ".tmp", "1.plist", ""}) {
    EXPECT_FALSE(isTemporaryName(name, kIncompleteEnding)) << name;
  }
}

}  // namespace
}  // namespace orv::trash_test
