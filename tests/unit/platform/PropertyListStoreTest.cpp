#include <orvnetwork/data/PropertyList.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/PropertyListStore.h>
#include <orvnetwork/testing/Crash.h>
#include <orvnetwork/testing/SimulatedPlatform.h>

#include <gtest/gtest.h>

#include <map>
#include <system_error>

namespace orv::property_list_store_test {
namespace {

using testing::Crash;
using testing::FileOperation;
using testing::SimulatedPlatform;

using Files = std::map<std::string, std::string>;
using Lines = std::vector<std::string>;

const std::string kFile = "/home/user/list.plist";
const std::string kAside = kFile + ".damaged";
const json::object kOld{{"name", "old"}};
const json::object kNew{{"name", "new"}, {"list", {1, 2.5, true}}};

std::string textOf(const json::object& dictionary) {
  return writePropertyList(dictionary).value();
}

class PropertyListStoreTest : public ::testing::Test {
 protected:
  PropertyListStoreTest() {
    Console::setSink([this](std::string_view line) { lines.emplace_back(line); });
  }
  ~PropertyListStoreTest() override { Console::setSink({}); }

  /// Lets the store find a file that it cannot read this time.
  void findUnreadable(PropertyListStore& which, std::string_view bytes = "precious") {
    files.put(kFile, bytes);
    files.failAt(FileOperation::Read, 1, std::errc::io_error);
    EXPECT_FALSE(which.readDictionary());
    files.clearFailures();
  }

  testing::SimulatedFileSystem& files = SimulatedPlatform::install().files();
  Lines lines;
  Lines setAside;
  PropertyListStore store{kFile,
                          {.onSetAside = [this](const std::string& path) { setAside.push_back(path); }}};
};

TEST_F(PropertyListStoreTest, GivesBackWhatWasWritten) {
  EXPECT_EQ(store.path(), kFile);
  EXPECT_FALSE(store.readDictionary());
  EXPECT_TRUE(store.write(kNew));
  EXPECT_EQ(store.readDictionary(), kNew);
  EXPECT_TRUE(store.write(json::array{"a", 5}));
  EXPECT_EQ(store.readArray(), (json::array{"a", 5}));
  EXPECT_EQ(files.snapshot().size(), 1u);
  EXPECT_EQ(lines, Lines());
  EXPECT_EQ(setAside, Lines());
}

TEST_F(PropertyListStoreTest, WritesATextAsItIs) {
  findUnreadable(store);
  EXPECT_TRUE(store.writeText(textOf(kNew)));
  EXPECT_EQ(store.readDictionary(), kNew);
  EXPECT_EQ(files.contents(kAside), "precious") << "what could not be read is set aside here too";
  EXPECT_EQ(setAside, Lines{kFile});
  EXPECT_EQ(files.filesAfter(Crash::PowerCut).count(kFile), 1u);
  files.failAt(FileOperation::WriteAtomically, 1);
  EXPECT_FALSE(store.writeText(textOf(kOld)));
  EXPECT_EQ(store.readDictionary(), kNew);
}

TEST_F(PropertyListStoreTest, LongFileOfAnotherSizeIsWrittenOverUnread) {
  PropertyListStore plain(kFile, {.durability = Durability::Plain});
  const auto write = [&](std::size_t size) {
    files.resetCounters();
    EXPECT_TRUE(plain.write(json::object{{"text", std::string(size, 'a')}}));
  };
  write(50'000);
  write(50'001);
  EXPECT_EQ(files.calls(FileOperation::Read), 0u);
  EXPECT_EQ(files.calls(FileOperation::WriteAtomically), 1u);
  write(50'001);
  EXPECT_EQ(files.calls(FileOperation::Read), 1u);
  EXPECT_EQ(files.calls(FileOperation::WriteAtomically), 0u);
}

TEST_F(PropertyListStoreTest, WritesDurablyAndForTheUserAloneUnlessAskedOtherwise) {
  ASSERT_TRUE(store.write(kOld));
  EXPECT_EQ(files.mode(kFile), 0600u);
  EXPECT_EQ(files.filesAfter(Crash::PowerCut).count(kFile), 1u);
  PropertyListStore other("/home/user/other.plist",
                          {.durability = Durability::Plain, .mode = kOrdinaryFileMode});
  ASSERT_TRUE(other.write(kOld));
  EXPECT_EQ(files.mode(other.path()), 0644u) << "narrowed by the umask";
  EXPECT_EQ(files.filesAfter(Crash::PowerCut).count(other.path()), 0u);
}

TEST_F(PropertyListStoreTest, EmptyFileIsNothingAndIsWrittenOver) {
  files.put(kFile, "");
  EXPECT_FALSE(store.readDictionary());
  EXPECT_FALSE(store.isSomethingInTheWay());
  EXPECT_TRUE(store.write(kNew));
  EXPECT_EQ(files.snapshot(), (Files{{kFile, textOf(kNew)}}));
  EXPECT_EQ(lines, Lines());
}

TEST_F(PropertyListStoreTest, ReadingSetsADamagedFileAside) {
  files.put(kFile, "<plist><dict>");
  EXPECT_FALSE(store.readDictionary());
  EXPECT_EQ(files.snapshot(), (Files{{kAside, "<plist><dict>"}}));
  EXPECT_EQ(lines, Lines{kFile + " is damaged and now named " + kAside + ": <dict> is not closed"});
  EXPECT_EQ(setAside, Lines{kFile});
  EXPECT_FALSE(store.isSomethingInTheWay());
  EXPECT_TRUE(store.write(kNew));
  EXPECT_EQ(store.readDictionary(), kNew);
  EXPECT_EQ(files.contents(kAside), "<plist><dict>");
}

TEST_F(PropertyListStoreTest, ReadingSetsAFileWithAnotherRootAside) {
  ASSERT_TRUE(store.write(kOld));
  EXPECT_FALSE(store.readArray());
  EXPECT_EQ(files.snapshot(), (Files{{kAside, textOf(kOld)}}));
  EXPECT_EQ(lines, Lines{kFile + " is damaged and now named " + kAside + ": it holds no array"});
}

TEST_F(PropertyListStoreTest, WhatCannotBeReadIsSetAsideByTheNextWriting) {
  findUnreadable(store);
  EXPECT_TRUE(store.isSomethingInTheWay());
  EXPECT_EQ(files.contents(kFile), "precious");
  EXPECT_EQ(setAside, Lines());
  EXPECT_TRUE(store.write(kNew));
  EXPECT_FALSE(store.isSomethingInTheWay());
  EXPECT_EQ(files.snapshot(), (Files{{kAside, "precious"}, {kFile, textOf(kNew)}}));
  EXPECT_EQ(setAside, Lines{kFile});
  EXPECT_EQ(lines, (Lines{kFile + " cannot be read: " + std::make_error_code(std::errc::io_error).message(),
                          kFile + " could not be read and is now named " + kAside}));
  EXPECT_TRUE(store.write(kOld));
  EXPECT_EQ(files.contents(kAside), "precious") << "it is set aside once";
}

TEST_F(PropertyListStoreTest, WhatCanBeReadTheNextTimeIsNotInTheWay) {
  findUnreadable(store, textOf(kOld));
  EXPECT_EQ(store.readDictionary(), kOld);
  EXPECT_FALSE(store.isSomethingInTheWay());
  EXPECT_TRUE(store.write(kNew));
  EXPECT_FALSE(files.exists(kAside));
}

TEST_F(PropertyListStoreTest, NothingIsWrittenAsLongAsSomethingIsInTheWay) {
  findUnreadable(store);
  lines.clear();
  files.failAlways(FileOperation::Rename, std::errc::permission_denied);
  for (int attempt = 0; attempt < 2; ++attempt) EXPECT_FALSE(store.write(kNew));
  EXPECT_TRUE(store.isSomethingInTheWay());
  EXPECT_EQ(files.snapshot(), (Files{{kFile, "precious"}}));
  EXPECT_EQ(
      lines,
      Lines(2, kFile + " could not be read and cannot be renamed, so it is in the way: Permission denied"));
  files.clearFailures();
  EXPECT_TRUE(store.write(kNew));
  EXPECT_EQ(files.contents(kAside), "precious");
}

TEST_F(PropertyListStoreTest, WhatCouldNotBeReadComesBackWhenNothingCanBeWrittenInItsPlace) {
  findUnreadable(store, textOf(kOld));
  files.failAt(FileOperation::WriteAtomically, 1, std::errc::no_space_on_device);
  EXPECT_FALSE(store.write(kNew));
  EXPECT_EQ(files.snapshot(), (Files{{kFile, textOf(kOld)}}));
  EXPECT_TRUE(store.isSomethingInTheWay());
  EXPECT_EQ(setAside, Lines());
  EXPECT_EQ(lines.size(), 2u) << "that it cannot be read, and that nothing can be written";
  EXPECT_TRUE(store.write(kNew));
  EXPECT_EQ(files.snapshot(), (Files{{kAside, textOf(kOld)}, {kFile, textOf(kNew)}}));
  EXPECT_EQ(setAside, Lines{kFile});
}

TEST_F(PropertyListStoreTest, WhatCouldNotBeReadDoesNotComeBackInPlaceOfWhatIsNewer) {
  findUnreadable(store);
  files.failAt(FileOperation::WriteAtomically, 1, std::errc::no_space_on_device);
  Console::setSink([&](std::string_view line) {
    if (line.find("cannot be written") != std::string_view::npos) files.put(kFile, textOf(kNew));
  });
  EXPECT_FALSE(store.write(kOld));
  EXPECT_EQ(files.snapshot(), (Files{{kAside, "precious"}, {kFile, textOf(kNew)}}));
  EXPECT_EQ(setAside, Lines{kFile});
}

TEST_F(PropertyListStoreTest, DamagedFileThatCannotBeRenamedIsInTheWay) {
  files.put(kFile, "damaged");
  files.failAt(FileOperation::Rename, 1, std::errc::permission_denied);
  EXPECT_FALSE(store.readDictionary());
  EXPECT_TRUE(store.isSomethingInTheWay());
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_NE(lines[0].find(" and cannot be renamed: Permission denied"), std::string::npos) << lines[0];
  EXPECT_TRUE(store.write(kNew));
  EXPECT_EQ(files.contents(kAside), "damaged");
}

TEST_F(PropertyListStoreTest, FolderInTheFilesPlaceIsMovedWithAllThatIsInIt) {
  std::error_code error;
  ASSERT_TRUE(files.createDirectory(kFile, false, 0700, error));
  files.put(kFile + "/inside", "x");
  EXPECT_FALSE(store.readArray());
  EXPECT_TRUE(store.write(json::array{1}));
  EXPECT_EQ(files.contents(kAside + "/inside"), "x");
  EXPECT_EQ(store.readArray(), json::array{1});
}

TEST_F(PropertyListStoreTest, WhatHasGoneMeanwhileIsNotInTheWay) {
  findUnreadable(store);
  std::error_code error;
  ASSERT_TRUE(files.remove(kFile, error));
  lines.clear();
  EXPECT_TRUE(store.write(kNew));
  EXPECT_EQ(files.snapshot(), (Files{{kFile, textOf(kNew)}}));
  EXPECT_EQ(lines, Lines());
  EXPECT_EQ(setAside, Lines());
}

TEST_F(PropertyListStoreTest, WhatCanBeMadeAnewIsWrittenOverWhenItMerelyCannotBeRead) {
  PropertyListStore plain(kFile, {.durability = Durability::Plain});
  findUnreadable(plain);
  EXPECT_FALSE(plain.isSomethingInTheWay());
  EXPECT_TRUE(plain.write(kNew));
  EXPECT_EQ(files.snapshot(), (Files{{kFile, textOf(kNew)}}));
  files.put(kFile, "damaged");
  EXPECT_FALSE(plain.readDictionary());
  EXPECT_EQ(files.contents(kAside), "damaged") << "damage is set aside all the same";
}

TEST_F(PropertyListStoreTest, HostThatWritesWhileItIsToldLosesNothing) {
  files.put(kFile, "damaged");
  Console::setSink([&](std::string_view) {
    if (!files.exists(kFile)) store.write(kNew);
  });
  EXPECT_FALSE(store.readDictionary());
  EXPECT_FALSE(store.isSomethingInTheWay()) << "what the host has written";
  EXPECT_EQ(files.snapshot(), (Files{{kAside, "damaged"}, {kFile, textOf(kNew)}}));

  findUnreadable(store);
  Console::setSink([&](std::string_view line) {
    if (line.find("is now named") != std::string_view::npos) store.write(kNew);
  });
  EXPECT_TRUE(store.write(kOld));
  EXPECT_EQ(store.readDictionary(), kNew) << "written later";
}

TEST_F(PropertyListStoreTest, LosesNothingWhicheverCallFails) {
  for (const std::string& there : {std::string("damaged"), textOf(kOld)}) {
    std::uint64_t n = 1;
    for (bool failed = true; failed; ++n) {
      std::error_code ignored;
      files.remove(kAside, ignored);
      files.put(kFile, there);
      const std::uint64_t before = files.failuresInjected();
      files.failAt(n);
      const auto read = store.readDictionary();
      const bool written = store.write(kNew);
      failed = files.failuresInjected() > before;
      files.clearFailures();
      EXPECT_TRUE(!written || files.contents(kFile) == textOf(kNew)) << n;
      const bool isThere = files.contents(kFile) == there || files.contents(kAside) == there;
      EXPECT_TRUE(isThere || (read && written)) << n;
    }
    EXPECT_GT(n, 2u);
  }
}

}  // namespace
}  // namespace orv::property_list_store_test
