#include <orvnetwork/course/detail/Collection.h>
#include <orvnetwork/data/PropertyList.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/PropertyListFile.h>
#include <orvnetwork/testing/SimulatedPlatform.h>

#include <gtest/gtest.h>

#include <optional>
#include <string_view>

namespace orv::collection_test {

namespace {

using testing::FileOperation;
using Keys = std::vector<std::string>;

constexpr auto kHere = "/home/user/Documents/base/here";
constexpr auto kServers = "/home/user/Documents/base/servers";
constexpr auto kMany = "/home/user/Documents/base/many";

class CollectionTest : public ::testing::Test {
 protected:
  CollectionTest() {
    Console::setSink([](std::string_view) {});
    for (Collection* kind : {&here, &servers, &many}) kind->open("base");
  }
  ~CollectionTest() override { Console::setSink(nullptr); }

  static Collection::Course makeCourse(std::int64_t room, const std::string& title = "课程") {
    auto course = std::make_shared<OrvCourseModel>();
    course->roomID = room;
    course->title = title;
    return course;
  }
  static std::string recordIn(const std::string& folder, const std::string& key) {
    return folder + "/" + key + ".plist";
  }
  void put(const std::string& folder, const Keys& keys) {
    for (const std::string& key : keys) {
      disk.put(recordIn(folder, key), writePropertyList(json::object{{"title", key}}).value());
    }
  }
  void putList(const char* folder, const json::array& stored) {
    disk.put(listIn(folder), writePropertyList(stored).value());
  }
  static std::string listIn(const std::string& folder) { return folder + "/list.plist"; }
  static std::optional<json::array> storedIn(const char* folder) { return readArrayFile(listIn(folder)); }
  bool isWritten(const char* folder, const std::string& key) const {
    return disk.contents(recordIn(folder, key)).has_value();
  }

  testing::SimulatedPlatform& platform = testing::SimulatedPlatform::install();
  testing::SimulatedFileSystem& disk = platform.files();
  Collection here{{"here", "list.plist", Durability::Durable}};
  Collection servers{{"servers", "list.plist"}};
  Collection many{{"many", "list.plist", Durability::Plain, 3}};
};

TEST_F(CollectionTest, FindsARecordInMemoryBeforeItsFile) {
  put(kServers, {"1", "2"});
  const auto course = makeCourse(1);
  servers.memory().set("1", course);
  EXPECT_EQ(servers.find("1"), course);
  EXPECT_EQ(servers.find("2")->title, "2");
  EXPECT_FALSE(servers.memory().contains("2")) << "finding one takes nothing into memory";
  EXPECT_EQ(servers.find("3"), nullptr);
}

TEST_F(CollectionTest, StoresInMemoryAndOnTheDisk) {
  const auto course = makeCourse(7, "one");
  here.store("7", course);
  EXPECT_EQ(here.memory().find("7"), course);
  EXPECT_EQ(readDictionaryFile(recordIn(kHere, "7"))->at("title"), "one");
  EXPECT_FALSE(here.contains("7")) << "the lists are left alone";
  EXPECT_FALSE(storedIn(kHere));
}

TEST_F(CollectionTest, DropsFromMemoryAndFromTheDisk) {
  servers.list().append("7");
  for (const auto* key : {"7", "8"}) servers.store(key, makeCourse(7));
  servers.drop("7");
  EXPECT_FALSE(servers.memory().contains("7"));
  EXPECT_FALSE(isWritten(kServers, "7"));
  EXPECT_TRUE(servers.memory().contains("8"));
  EXPECT_TRUE(isWritten(kServers, "8"));
  EXPECT_TRUE(servers.contains("7")) << "the lists are left alone";
}

TEST_F(CollectionTest, VanishedCourseIsDroppedUnderTheRoomThatItsRecordNames) {
  for (const auto* key : {"7", "8"}) servers.store(key, makeCourse(8));
  servers.dropVanished("7");
  servers.files().finish();
  EXPECT_TRUE(servers.memory().contains("7"));
  EXPECT_TRUE(isWritten(kServers, "7"));
  EXPECT_FALSE(servers.memory().contains("8"));
  EXPECT_FALSE(isWritten(kServers, "8"));
}

TEST_F(CollectionTest, VanishedCourseThatIsNotInMemoryKeepsItsFile) {
  put(kServers, {"0", "7"});
  servers.dropVanished("7");
  servers.files().finish();
  EXPECT_TRUE(isWritten(kServers, "7"));
  EXPECT_FALSE(isWritten(kServers, "0")) << "it is taken for room 0";
}

TEST_F(CollectionTest, RemovesAKeyFromEveryListWithItsRecord) {
  for (KeyList& list : many.lists()) list.assign({"1", "7"});
  many.list(2).append("7");
  many.store("7", makeCourse(7));
  many.remove("7");
  for (const KeyList& list : many.lists()) EXPECT_EQ(list.snapshot(), Keys{"1"});
  EXPECT_FALSE(many.memory().contains("7"));
  EXPECT_FALSE(isWritten(kMany, "7"));
  EXPECT_FALSE(storedIn(kMany)) << "the lists are written by their own operation";
}

TEST_F(CollectionTest, ListThatThereIsNotHoldsNothing) {
  many.list(2).assign({"1", "2"});
  EXPECT_EQ(many.size(2), 2u);
  EXPECT_TRUE(many.contains("1", 2));
  EXPECT_EQ(many.size(), 0u) << "the first list";
  EXPECT_FALSE(many.contains("1"));
  for (const std::uint64_t number : {std::uint64_t{3}, ~std::uint64_t{0}}) {
    EXPECT_EQ(many.size(number), 0u);
    EXPECT_FALSE(many.contains("1", number));
    EXPECT_EQ(many.visit(number, 0, 5,
                         [](const auto& key, const auto&) {
                           ADD_FAILURE() << key;
                           return true;
                         }),
              0);
  }
}

TEST_F(CollectionTest, ShowsTheRecordsOfARange) {
  many.list(1).assign({"1", "2", "3", "4", "5"});
  many.memory().set("2", makeCourse(2, "in memory"));
  put(kMany, {"2", "4", "5"});
  Keys shown;
  const auto note = [&](const std::string& key, const Collection::Course& course) {
    shown.push_back(key + " " + course->title.get().value());
    return key != "5";
  };
  EXPECT_EQ(many.visit(1, 1, 4, note), 2) << "3 has no record";
  EXPECT_EQ(shown, (Keys{"2 in memory", "4 4"}));
  EXPECT_EQ(many.visit(1, 4, 99, note), 1);
  put(kMany, {"6"});
  many.list(1).append("6");
  EXPECT_EQ(many.visit(1, 0, 99, note), 3) << "it has ended at 5, which counts";
  EXPECT_EQ(many.visit(1, 4, 3, note), 0);
  EXPECT_EQ(many.visit(1, 99, 100, note), 0);
}

TEST_F(CollectionTest, OneListIsWrittenAsItIsAndSeveralAsAnArrayOfLists) {
  servers.list().assign({"3", "1", "2"});
  servers.saveLists();
  EXPECT_EQ(storedIn(kServers), (json::array{"3", "1", "2"}));
  many.list(0).assign({"3", "1"});
  many.list(2).assign({"2"});
  many.saveLists();
  EXPECT_EQ(storedIn(kMany), (json::array{json::array{"3", "1"}, json::array(), json::array{"2"}}));
}

TEST_F(CollectionTest, WritesKeysThatAreNoNumbersToo) {
  servers.list().assign({"3", "a<b"});
  servers.saveLists();
  EXPECT_EQ(storedIn(kServers), (json::array{"3", "a<b"}));
  servers.list().assign({"3", std::string("a\0b", 3), "4"});
  servers.saveLists();
  EXPECT_EQ(storedIn(kServers), (json::array{"3", "4"})) << "what a property list cannot hold is left out";
}

TEST_F(CollectionTest, ListThatTheDiskHoldsIsLeftAlone) {
  servers.list().assign({"3", "1"});
  servers.saveLists();
  disk.resetCounters();
  EXPECT_TRUE(servers.saveLists());
  EXPECT_EQ(disk.calls(FileOperation::WriteAtomically), 0u);
  putList("/home/user/Documents/base/servers", {"3"});
  EXPECT_TRUE(servers.saveLists());
  EXPECT_EQ(storedIn(kServers), (json::array{"3", "1"})) << "somebody else had changed it";
}

TEST_F(CollectionTest, OpensAFolderThatIsClosedToOthers) {
  EXPECT_EQ(here.files().folder(), kHere);
  EXPECT_EQ(here.files().listFile(), listIn(kHere));
  EXPECT_EQ(disk.mode(kHere), 0700u);
}

TEST_F(CollectionTest, WithoutAFolderNothingIsKept) {
  disk.failAt(FileOperation::CreateDirectory, 1);
  servers.open("other");
  EXPECT_EQ(servers.files().folder(), std::nullopt);
  EXPECT_EQ(servers.files().listFile(), std::nullopt);
  const auto before = disk.snapshot();
  servers.store("1", makeCourse(1));
  servers.saveLists();
  servers.load();
  EXPECT_EQ(disk.snapshot(), before);
}

TEST_F(CollectionTest, LoadsWhatIsOnlyHereOnceEachWhateverItsRecords) {
  putList(kHere, {"3", "1", "3", 5, json::array(), "2", "1"});
  here.load();
  EXPECT_EQ(here.list().snapshot(), (Keys{"3", "1", "2"})) << "what is no text names no course";
  EXPECT_EQ(storedIn(kHere)->size(), 7u) << "the file stays as it is";
}

TEST_F(CollectionTest, LoadsOfTheServersWhatStillHasARecord) {
  put(kServers, {"1", "3"});
  putList(kServers, {"3", "2", "1", "3"});
  servers.load();
  EXPECT_EQ(servers.list().snapshot(), (Keys{"3", "1", "3"}));
  EXPECT_EQ(storedIn(kServers), (json::array{"3", "1", "3"}));
}

TEST_F(CollectionTest, LoadsEachOfSeveralLists) {
  put(kMany, {"1", "3", "4"});
  putList(kMany, {json::array{"3", "2"}, "no list", json::array{"1", "3"}, json::array{"4"}});
  many.load();
  EXPECT_EQ(many.list(0).snapshot(), Keys{"3"});
  EXPECT_EQ(many.list(1).snapshot(), Keys{});
  EXPECT_EQ(many.list(2).snapshot(), (Keys{"1", "3"}));
  EXPECT_EQ(storedIn(kMany), (json::array{json::array{"3"}, json::array(), json::array{"1", "3"}}));
}

TEST_F(CollectionTest, WritesNothingWhenNoRecordIsGone) {
  put(kMany, {"1"});
  putList(kMany, {json::array{"1"}, json::array()});
  const auto before = disk.snapshot();
  many.load();
  EXPECT_EQ(many.list().snapshot(), Keys{"1"});
  EXPECT_EQ(disk.snapshot(), before);
}

TEST_F(CollectionTest, LoadsNothingOfTheServersWhenTheFolderCannotBeListed) {
  put(kServers, {"1"});
  putList(kServers, {"1", "2"});
  const auto before = disk.snapshot();
  disk.failAt(FileOperation::List, 1);
  servers.load();
  EXPECT_EQ(servers.size(), 0u);
  EXPECT_EQ(disk.snapshot(), before);
}

TEST_F(CollectionTest, FollowsOneThatWasReadApart) {
  put(kServers, {"2"});
  putList(kServers, {"2"});
  Collection read{{"servers", "list.plist"}};
  read.open("base");
  read.load();
  Collection inUse{{"servers", "list.plist"}};
  inUse.list().append("1");
  const auto course = makeCourse(1);
  inUse.memory().set("1", course);
  inUse.follow(read);
  EXPECT_EQ(inUse.list().snapshot(), Keys{"2"});
  EXPECT_EQ(inUse.files().folder(), kServers);
  EXPECT_EQ(inUse.files().listFile(), listIn(kServers));
  EXPECT_EQ(inUse.memory().find("1"), course) << "what is in memory was put there since";
}

TEST_F(CollectionTest, ChangesKeysAndMemoryWithAnotherOneAndLeavesTheFiles) {
  for (KeyList& list : many.lists()) list.append("1");
  const auto course = makeCourse(1);
  many.store("1", course);
  many.saveLists();
  const auto before = disk.snapshot();
  Collection other{{"other", "list.plist", Durability::Plain, 3}};
  other.list(2).append("2");
  many.swapContents(other);
  for (const KeyList& list : other.lists()) EXPECT_EQ(list.snapshot(), Keys{"1"});
  EXPECT_EQ(many.list(0).size(), 0u);
  EXPECT_EQ(many.list(2).snapshot(), Keys{"2"});
  EXPECT_EQ(many.memory().size(), 0u);
  EXPECT_EQ(other.memory().find("1"), course);
  EXPECT_EQ(many.files().folder(), kMany);
  EXPECT_EQ(disk.snapshot(), before);
}

TEST_F(CollectionTest, KeysThatAreSavedLaterAreThoseOfTheMomentAtWhichTheyWereTaken) {
  servers.list().assign({"1"});
  const Collection::Keys keys = servers.keysToSave();
  servers.list().append("2");
  EXPECT_TRUE(servers.saveKeys(keys));
  EXPECT_EQ(storedIn(kServers), json::array{"1"});
}

TEST_F(CollectionTest, OlderKeysAreNotSavedOverNewerOnes) {
  for (Collection* kind : {&servers, &many}) {
    kind->list().assign({"1", "no number"});
    const Collection::Keys keys = kind->keysToSave();
    kind->list().append("2");
    EXPECT_TRUE(kind->saveLists());
    EXPECT_TRUE(kind->saveKeys(keys));
  }
  EXPECT_EQ(storedIn(kServers), (json::array{"1", "no number", "2"}));
  EXPECT_EQ(storedIn(kMany)->front(), (json::array{"1", "no number", "2"}));
}

TEST_F(CollectionTest, RecordsThatWereLeftForLaterAreWrittenBeforeTheKeys) {
  servers.list().assign({"1"});
  servers.files().writeLater("1", *makeCourse(1));
  disk.failAlways(FileOperation::WriteAtomically);
  servers.saveLists();
  EXPECT_EQ(disk.failuresInjected(), 2u) << "the record, and the list";
  disk.clearFailures();
  servers.files().writeLater("1", *makeCourse(1));
  disk.failAt(FileOperation::WriteAtomically, 1);
  EXPECT_TRUE(servers.saveLists());
  EXPECT_FALSE(isWritten(kServers, "1")) << "its turn came first";
}

TEST_F(CollectionTest, FileThatSomebodyHasOnlyLaidOutAnewChangesNothing) {
  here.list().assign({"1", "2"});
  here.saveLists();
  const std::string text = disk.contents(listIn(kHere)).value();
  disk.put(listIn(kHere), text + "\n");
  EXPECT_EQ(here.takeOverChanges(), std::nullopt);
  putList(kHere, {"1", "3"});
  EXPECT_EQ(here.takeOverChanges(), Keys{"2"});
  EXPECT_EQ(here.list().snapshot(), (Keys{"1", "3"}));
}

}  // namespace

}  // namespace orv::collection_test
