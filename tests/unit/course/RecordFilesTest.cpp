#include <orvnetwork/course/detail/RecordFiles.h>
#include <orvnetwork/data/PropertyList.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/PropertyListFile.h>
#include <orvnetwork/testing/Crash.h>
#include <orvnetwork/testing/SimulatedPlatform.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

namespace orv::record_files_test {

namespace {

using testing::Crash;
using testing::FileOperation;

class RecordFilesTest : public ::testing::Test {
 protected:
  RecordFilesTest() {
    Console::setSink([this](std::string_view line) { console.emplace_back(line); });
    std::error_code error;
    disk.createDirectory("/home/user/c", true, 0700, error);
    for (RecordFiles* files : {&durable, &plain}) {
      files->setFolder("/home/user/c");
      files->setListFile("/home/user/c/list.plist");
    }
  }
  ~RecordFilesTest() override { Console::setSink(nullptr); }

  static OrvCourseModel& fill(OrvCourseModel& course, std::int64_t room) {
    course.roomID = room;
    course.title = "课程 " + std::to_string(room);
    return course;
  }

  static bool has(const RecordFiles& files, std::string_view key) {
    return RecordFiles::isIn(files.names().value(), key);
  }

  testing::SimulatedPlatform& platform = testing::SimulatedPlatform::install();
  testing::SimulatedFileSystem& disk = platform.files();
  RecordFiles durable{Durability::Durable};
  RecordFiles plain{Durability::Plain};
  OrvCourseModel course;
  std::vector<std::string> console;
};

TEST_F(RecordFilesTest, GivesBackWhatWasWritten) {
  fill(course, 7);
  EXPECT_TRUE(durable.write("7", course));
  EXPECT_TRUE(has(durable, "7"));
  const auto read = durable.read("7");
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(read->jsonObject(), course.jsonObject());
  EXPECT_EQ(disk.contents("/home/user/c/7.plist"), writePropertyList(course.jsonObject()).value());
  EXPECT_EQ(disk.mode("/home/user/c/7.plist"), 0600u);
  durable.remove("7");
  durable.remove("7");
  EXPECT_FALSE(has(durable, "7"));
  EXPECT_EQ(durable.read("7"), nullptr);
  EXPECT_TRUE(console.empty());
}

TEST_F(RecordFilesTest, OnlyDurableFilesSurviveAPowerCut) {
  disk.put("/home/user/p/there", "");
  plain.setFolder("/home/user/p");
  plain.setListFile("/home/user/p/list.plist");
  fill(course, 7);
  for (RecordFiles* files : {&durable, &plain}) {
    EXPECT_TRUE(files->write("7", course));
    EXPECT_TRUE(files->writeList(json::array{"7"}));
  }
  EXPECT_TRUE(has(plain, "7"));
  disk.crash(Crash::PowerCut);
  EXPECT_TRUE(has(durable, "7"));
  EXPECT_EQ(durable.readList(), json::array{"7"});
  EXPECT_FALSE(has(plain, "7"));
  EXPECT_EQ(plain.readList(), std::nullopt);
}

TEST_F(RecordFilesTest, NothingIsFoundOrWrittenWithoutAFolder) {
  durable.setFolder(std::nullopt);
  durable.setListFile(std::nullopt);
  const auto calls = disk.calls();
  EXPECT_FALSE(durable.write("7", course));
  EXPECT_FALSE(durable.writeList(json::array{"7"}));
  EXPECT_EQ(durable.read("7"), nullptr);
  EXPECT_EQ(durable.readList(), std::nullopt);
  EXPECT_EQ(durable.names(), std::nullopt);
  durable.remove("7");
  EXPECT_EQ(disk.calls(), calls);
}

TEST_F(RecordFilesTest, EmptyDictionaryIsNoRecord) {
  writePropertyListFile("/home/user/c/7.plist", json::object(), Durability::Plain);
  disk.put("/home/user/c/8.plist", "");
  EXPECT_EQ(durable.read("7"), nullptr);
  EXPECT_EQ(durable.read("8"), nullptr);
  EXPECT_TRUE(has(durable, "7"));
  writePropertyListFile("/home/user/c/7.plist", json::object{{"unknown", 1}}, Durability::Plain);
  EXPECT_NE(durable.read("7"), nullptr);
}

TEST_F(RecordFilesTest, OnlyWhatIsDurableIsSetAsideWhenItIsDamaged) {
  disk.put("/home/user/c/7.plist", "damaged");
  EXPECT_EQ(plain.read("7"), nullptr);
  EXPECT_TRUE(disk.contents("/home/user/c/7.plist"));
  EXPECT_TRUE(plain.write("7", fill(course, 7)));
  EXPECT_FALSE(disk.contents("/home/user/c/7.plist.damaged"));
  disk.put("/home/user/c/7.plist", "damaged");
  EXPECT_EQ(durable.read("7"), nullptr);
  EXPECT_EQ(disk.contents("/home/user/c/7.plist.damaged"), "damaged");
  disk.put("/home/user/c/7.plist", "damaged again");
  EXPECT_TRUE(durable.write("7", course));
  EXPECT_EQ(disk.contents("/home/user/c/7.plist.damaged"), "damaged again");
  EXPECT_NE(durable.read("7"), nullptr);
}

TEST_F(RecordFilesTest, RecordThatCannotBeReadIsSetAsideBeforeItIsWrittenOver) {
  for (const bool isDurable : {false, true}) {
    disk.put("/home/user/c/7.plist", "precious");
    disk.failAt(FileOperation::Read, 1);
    RecordFiles& files = isDurable ? durable : plain;
    EXPECT_TRUE(files.write("7", fill(course, 7)));
    EXPECT_NE(files.read("7"), nullptr);
    EXPECT_EQ(disk.contents("/home/user/c/7.plist.damaged").has_value(), isDurable);
  }
  EXPECT_EQ(disk.contents("/home/user/c/7.plist.damaged"), "precious");
  disk.put("/home/user/c/7.plist", "precious too");
  disk.failAt(FileOperation::Read, 1);
  disk.failAt(FileOperation::Rename, 1);
  EXPECT_FALSE(durable.write("7", course));
  EXPECT_EQ(disk.contents("/home/user/c/7.plist"), "precious too");
}

TEST_F(RecordFilesTest, FailedWriteLeavesTheOldFile) {
  durable.write("7", fill(course, 7));
  const auto before = disk.snapshot();
  disk.failAt(FileOperation::WriteAtomically, 1);
  course.title = "new";
  EXPECT_FALSE(durable.write("7", course));
  disk.failAt(FileOperation::WriteAtomically, 1);
  EXPECT_FALSE(durable.writeList(json::array{"7"}));
  EXPECT_EQ(disk.snapshot(), before);
  EXPECT_EQ(console.size(), 2u);
}

TEST_F(RecordFilesTest, NoKeyLeadsOutOfTheFolderOrToTheList) {
  disk.put("/home/user/x.plist", "stays");
  durable.writeList(json::array{"1"});
  fill(course, 1);
  for (const auto* key : {"../x", "..", ".", "", "/", "/home/user/x", "a/b"}) {
    EXPECT_TRUE(durable.write(key, course)) << key;
    EXPECT_NE(durable.read(key), nullptr) << key;
    EXPECT_TRUE(has(durable, key)) << key;
    durable.remove(key);
    EXPECT_FALSE(has(durable, key)) << key;
  }
  EXPECT_FALSE(durable.write("list", course));
  EXPECT_EQ(durable.read("list"), nullptr);
  durable.remove("list");
  EXPECT_EQ(durable.readList(), json::array{"1"});
  EXPECT_EQ(disk.contents("/home/user/x.plist"), "stays");
  EXPECT_FALSE(durable.write(std::string(300, 'k'), course));
}

TEST_F(RecordFilesTest, NamesAreThoseInTheFolder) {
  durable.write("1", fill(course, 1));
  durable.write("a/b", course);
  const auto names = durable.names();
  ASSERT_TRUE(names);
  EXPECT_EQ(*names, (RecordFiles::Names{"1.plist", "a%2Fb.plist"}));
  EXPECT_TRUE(RecordFiles::isIn(*names, "1"));
  EXPECT_FALSE(RecordFiles::isIn(*names, "2"));
  disk.failAt(FileOperation::List, 1);
  EXPECT_EQ(durable.names(), std::nullopt);
}

TEST_F(RecordFilesTest, ListIsWrittenAndReadInOrder) {
  EXPECT_EQ(durable.readList(), std::nullopt);
  EXPECT_TRUE(durable.writeList(json::array{"3", "1", "2"}));
  EXPECT_EQ(durable.readList(), (json::array{"3", "1", "2"}));
  EXPECT_TRUE(durable.writeList(json::array{json::array{"1"}, json::array()}));
  EXPECT_EQ(durable.readList(), (json::array{json::array{"1"}, json::array()}));
  EXPECT_EQ(disk.mode("/home/user/c/list.plist"), 0600u);
}

TEST_F(RecordFilesTest, DamagedListIsSetAside) {
  disk.put("/home/user/c/list.plist", "damaged");
  EXPECT_EQ(durable.readList(), std::nullopt);
  EXPECT_EQ(disk.contents("/home/user/c/list.plist.damaged"), "damaged");
  EXPECT_TRUE(durable.writeList(json::array{"1"}));
  EXPECT_EQ(disk.contents("/home/user/c/list.plist.damaged"), "damaged");
}

TEST_F(RecordFilesTest, ListThatCouldNotBeReadIsSetAsideByTheFirstWrite) {
  disk.put("/home/user/c/list.plist", "old");
  for (const bool isDurable : {false, true}) {
    disk.put("/home/user/c/list.plist", "old");
    RecordFiles& files = isDurable ? durable : plain;
    disk.failAt(FileOperation::Read, 1);
    EXPECT_EQ(files.readList(), std::nullopt);
    EXPECT_TRUE(files.writeList(json::array{"1"}));
    EXPECT_EQ(disk.contents("/home/user/c/list.plist.damaged").has_value(), isDurable);
  }
}

TEST_F(RecordFilesTest, AnotherListFileIsNotSetAsideForTheOld) {
  disk.put("/home/user/c/list.plist", "old");
  disk.failAt(FileOperation::Read, 1);
  durable.readList();
  durable.writeList(json::array{});
  disk.put("/home/user/c/list.plist", "old");
  disk.failAt(FileOperation::Read, 1);
  durable.readList();
  disk.put("/home/user/c/other.plist", "other");
  durable.setListFile("/home/user/c/other.plist");
  EXPECT_TRUE(durable.writeList(json::array{"1"}));
  EXPECT_FALSE(disk.contents("/home/user/c/other.plist.damaged"));
}

TEST_F(RecordFilesTest, WhatIsWrittenLaterIsThereAtOnceForWhoAsks) {
  plain.writeLater("7", fill(course, 7));
  EXPECT_FALSE(disk.contents("/home/user/c/7.plist"));
  EXPECT_TRUE(plain.has("7"));
  ASSERT_NE(plain.read("7"), nullptr);
  EXPECT_EQ(plain.read("7")->jsonObject(), course.jsonObject());
  EXPECT_NE(plain.read("7"), plain.read("7")) << "as from a file, each who asks has one of their own";
  course.title = "later still";
  EXPECT_EQ(plain.read("7")->title, "课程 7") << "it is as it was when it was written";
  plain.finish();
  EXPECT_EQ(plain.read("7")->title, "课程 7");
  EXPECT_TRUE(disk.contents("/home/user/c/7.plist"));
  EXPECT_EQ(disk.mode("/home/user/c/7.plist"), 0600u);
}

TEST_F(RecordFilesTest, WhatIsRemovedLaterIsGoneAtOnceForWhoAsks) {
  plain.write("7", fill(course, 7));
  plain.removeLater("7");
  EXPECT_TRUE(disk.contents("/home/user/c/7.plist"));
  EXPECT_FALSE(plain.has("7"));
  EXPECT_EQ(plain.read("7"), nullptr);
  plain.finish();
  EXPECT_FALSE(disk.contents("/home/user/c/7.plist"));
  EXPECT_FALSE(plain.has("7"));
}

TEST_F(RecordFilesTest, WhatIsDoneAtOnceIsNotUndoneByWhatWasLeftForLater) {
  plain.writeLater("7", fill(course, 7));
  plain.writeLater("8", fill(course, 8));
  plain.removeLater("9");
  course.title = "at once";
  plain.write("7", course);
  plain.remove("8");
  plain.write("9", course);
  EXPECT_EQ(plain.read("7")->title, "at once");
  EXPECT_EQ(plain.read("8"), nullptr);
  plain.finish();
  EXPECT_EQ(plain.read("7")->title, "at once");
  EXPECT_FALSE(has(plain, "8"));
  EXPECT_TRUE(has(plain, "9"));
}

TEST_F(RecordFilesTest, WhatWasLeftForLaterGoesWhereItBelongedThen) {
  plain.writeLater("7", fill(course, 7));
  plain.setFolder("/home/user/p");
  EXPECT_EQ(plain.read("7"), nullptr) << "this folder has none";
  plain.finish();
  EXPECT_TRUE(disk.contents("/home/user/c/7.plist"));
  EXPECT_FALSE(disk.contents("/home/user/p/7.plist"));
}

TEST_F(RecordFilesTest, WhatTheDiskRefusesLaterIsLoggedAndLeavesTheOldFile) {
  plain.write("7", fill(course, 7));
  course.title = "new";
  plain.writeLater("7", course);
  disk.failAlways(FileOperation::WriteAtomically);
  plain.finish();
  disk.clearFailures();
  EXPECT_EQ(console.size(), 1u);
  EXPECT_EQ(plain.read("7")->title, "课程 7");
}

TEST_F(RecordFilesTest, RevisionTellsOfEachChange) {
  std::uint64_t last = plain.revision();
  const auto isAnother = [&] { return std::exchange(last, plain.revision()) != last; };
  plain.read("7");
  plain.writeList(json::array{"7"});
  EXPECT_FALSE(isAnother());
  plain.write("7", fill(course, 7));
  EXPECT_TRUE(isAnother());
  plain.remove("7");
  EXPECT_TRUE(isAnother());
  plain.writeLater("7", course);
  EXPECT_TRUE(isAnother());
  plain.removeLater("7");
  EXPECT_TRUE(isAnother());
  plain.setFolder("/home/user/p");
  EXPECT_TRUE(isAnother());
  plain.follow(durable);
  EXPECT_TRUE(isAnother());
}

}  // namespace

}  // namespace orv::record_files_test
