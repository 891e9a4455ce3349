#include <orvnetwork/data/PropertyList.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/PropertyListStore.h>
#include <orvnetwork/testing/Crash.h>
#include <orvnetwork/testing/SimulatedPlatform.h>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <limits>
#include <map>
#include <system_error>

namespace orv::property_list_file_test {
namespace {

using testing::Crash;
using testing::FileOperation;
using testing::SimulatedPlatform;

const std::string kFile = "/home/user/list.plist";
const std::string kAside = kFile + ".damaged";
const json::object kOld{{"name", "old"}};
const json::object kNew{{"name", "new"}, {"list", {1, 2.5, true}}};

class PropertyListFile : public ::testing::Test {
 protected:
  PropertyListFile() {
    Console::setSink([this](std::string_view line) { lines.emplace_back(line); });
  }
  ~PropertyListFile() override { Console::setSink({}); }

  /// Puts a file there that cannot be read as a list.
  void putDamaged(std::string_view bytes = "<plist><dict>") { files.put(kFile, bytes); }

  testing::SimulatedFileSystem& files = SimulatedPlatform::install().files();
  std::vector<std::string> lines;
};

TEST_F(PropertyListFile, GivesBackWhatWasWritten) {
  EXPECT_TRUE(writePropertyListFile(kFile, kNew, Durability::Plain));
  EXPECT_EQ(readDictionaryFile(kFile), kNew);
  EXPECT_EQ(PropertyListStore(kFile).readDictionary(), kNew);
  const json::array array{"a", 5};
  EXPECT_TRUE(writePropertyListFile(kFile, array, Durability::Plain));
  EXPECT_EQ(readArrayFile(kFile), array);
  EXPECT_EQ(PropertyListStore(kFile).readArray(), array);
  EXPECT_TRUE(writePropertyListFile(kFile, json::value(kOld), Durability::Plain));
  EXPECT_EQ(readDictionaryFile(kFile), kOld);
  EXPECT_EQ(lines, std::vector<std::string>());
  EXPECT_EQ(files.snapshot().size(), 1u);
}

TEST_F(PropertyListFile, WritesTheTextOfTheList) {
  EXPECT_TRUE(writePropertyListFile(kFile, kNew, Durability::Plain));
  EXPECT_EQ(files.contents(kFile), writePropertyList(kNew).value());
}

TEST_F(PropertyListFile, TakesAnEmptyDictionaryForADictionary) {
  EXPECT_TRUE(writePropertyListFile(kFile, json::object(), Durability::Plain));
  EXPECT_EQ(readDictionaryFile(kFile), json::object());
}

TEST_F(PropertyListFile, IsAbsentWithoutAWordWhenThereIsNoFileOrAnEmptyOne) {
  EXPECT_FALSE(readDictionaryFile(kFile));
  EXPECT_FALSE(PropertyListStore("/home/user/none/list.plist").readArray());
  files.put(kFile, "");
  EXPECT_FALSE(PropertyListStore(kFile).readDictionary());
  EXPECT_FALSE(readArrayFile(kFile));
  EXPECT_FALSE(readArrayFile(kFile + "/below a file"));
  EXPECT_EQ(lines, std::vector<std::string>());
  EXPECT_TRUE(files.exists(kFile));
  EXPECT_FALSE(files.exists(kAside));
}

TEST_F(PropertyListFile, ChangesNothingOnTheDiskByReadingAlone) {
  putDamaged();
  EXPECT_FALSE(readDictionaryFile(kFile));
  EXPECT_FALSE(readArrayFile(kFile));
  EXPECT_EQ(files.snapshot(), (std::map<std::string, std::string>{{kFile, "<plist><dict>"}}));
  EXPECT_EQ(lines, std::vector<std::string>(2, kFile + " is damaged: <dict> is not closed"));
}

TEST_F(PropertyListFile, SetsADamagedFileAside) {
  putDamaged();
  EXPECT_FALSE(PropertyListStore(kFile).readDictionary());
  EXPECT_EQ(files.snapshot(), (std::map<std::string, std::string>{{kAside, "<plist><dict>"}}));
  EXPECT_EQ(lines, std::vector<std::string>{kFile + " is damaged and now named " + kAside +
                                            ": <dict> is not closed"});
  EXPECT_TRUE(writePropertyListFile(kFile, kNew, Durability::Plain));
  EXPECT_EQ(PropertyListStore(kFile).readDictionary(), kNew);
  EXPECT_EQ(files.contents(kAside), "<plist><dict>");
}

TEST_F(PropertyListFile, KeepsOnlyTheLastDamagedFileOfAName) {
  for (const char* bytes : {"first", "second", "third"}) {
    putDamaged(bytes);
    EXPECT_FALSE(PropertyListStore(kFile).readArray());
  }
  EXPECT_EQ(files.snapshot(), (std::map<std::string, std::string>{{kAside, "third"}}));
}

TEST_F(PropertyListFile, SetsAFileWithAnotherRootAside) {
  ASSERT_TRUE(writePropertyListFile(kFile, kOld, Durability::Plain));
  EXPECT_FALSE(readArrayFile(kFile));
  EXPECT_TRUE(files.exists(kFile));
  EXPECT_FALSE(PropertyListStore(kFile).readArray());
  EXPECT_FALSE(files.exists(kFile));
  EXPECT_EQ(readDictionaryFile(kAside), kOld);
  EXPECT_EQ(lines.back(), kFile + " is damaged and now named " + kAside + ": it holds no array");
  ASSERT_TRUE(writePropertyListFile(kFile, json::array(), Durability::Plain));
  EXPECT_FALSE(PropertyListStore(kFile).readDictionary());
  EXPECT_EQ(lines.back(), kFile + " is damaged and now named " + kAside + ": it holds no dictionary");
}

TEST_F(PropertyListFile, LeavesAFileThatMerelyCannotBeReadWhereItIs) {
  putDamaged();
  for (const auto error :
       {std::errc::io_error, std::errc::permission_denied, std::errc::too_many_files_open}) {
    files.failAt(FileOperation::Read, 1, error);
    EXPECT_FALSE(PropertyListStore(kFile).readDictionary());
    EXPECT_EQ(lines.back(), kFile + " cannot be read: " + std::make_error_code(error).message());
  }
  EXPECT_TRUE(files.exists(kFile));
  EXPECT_FALSE(files.exists(kAside));
  EXPECT_EQ(lines.size(), 3u);
  EXPECT_FALSE(PropertyListStore("/home/user").readDictionary()) << "a folder";
  EXPECT_TRUE(files.isDirectory("/home/user"));
}

TEST_F(PropertyListFile, TellsWhenADamagedFileCannotBeSetAside) {
  putDamaged();
  files.failAt(FileOperation::Rename, 1, std::errc::permission_denied);
  EXPECT_FALSE(PropertyListStore(kFile).readDictionary());
  EXPECT_TRUE(files.exists(kFile));
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0], kFile + " is damaged (<dict> is not closed) and cannot be renamed: Permission denied");
}

TEST_F(PropertyListFile, LeavesTheOldFileWhenTheValueCannotBeStored) {
  ASSERT_TRUE(writePropertyListFile(kFile, kOld, Durability::Plain));
  const auto before = files.snapshot();
  EXPECT_FALSE(writePropertyListFile(kFile, json::object{{"data", {1, nullptr}}}, Durability::Durable));
  EXPECT_FALSE(writePropertyListFile(kFile, json::array{"\xFF"}, Durability::Plain));
  EXPECT_FALSE(writePropertyListFile("/home/user/new.plist", json::array{nullptr}, Durability::Plain));
  EXPECT_EQ(files.snapshot(), before);
  EXPECT_EQ(lines,
            (std::vector<std::string>{
                kFile + " cannot be written: data[1] is null, which a property list cannot hold",
                kFile + " cannot be written: [0] is not UTF-8",
                "/home/user/new.plist cannot be written: [0] is null, which a property list cannot hold"}));
}

TEST_F(PropertyListFile, IsTheOldOneOrTheNewOneWhicheverCallFails) {
  ASSERT_TRUE(writePropertyListFile(kFile, kOld, Durability::Durable));
  std::uint64_t n = 1;
  for (bool failed = true; failed; ++n) {
    const std::uint64_t before = files.failuresInjected();
    files.failAt(n);
    const bool stored = writePropertyListFile(kFile, kNew, Durability::Durable);
    failed = files.failuresInjected() > before;
    EXPECT_NE(stored, failed);
    files.clearFailures();
    EXPECT_EQ(readDictionaryFile(kFile), stored ? kNew : kOld);
    EXPECT_EQ(files.snapshot().size(), 1u);
  }
  EXPECT_GT(n, 2u);
  ASSERT_FALSE(lines.empty());
  EXPECT_TRUE(lines[0].starts_with(kFile + " cannot be written: ")) << lines[0];
}

TEST_F(PropertyListFile, KeepsADamagedFileWhicheverCallFails) {
  for (std::uint64_t n = 1; n <= 4; ++n) {
    putDamaged();
    files.failAt(n);
    EXPECT_FALSE(PropertyListStore(kFile).readDictionary());
    files.clearFailures();
    EXPECT_EQ(files.snapshot().size(), 1u);
    EXPECT_EQ(files.snapshot().begin()->second, "<plist><dict>");
    std::error_code error;
    files.remove(kAside, error);
  }
}

TEST_F(PropertyListFile, LeavesAFileAloneThatHoldsTheValueAlready) {
  const auto writings = [this] { return files.calls(FileOperation::WriteAtomically); };
  ASSERT_TRUE(writePropertyListFile(kFile, kOld, Durability::Plain));
  const std::uint64_t before = writings();
  EXPECT_TRUE(writePropertyListFile(kFile, kOld, Durability::Plain));
  EXPECT_EQ(writings(), before);
  EXPECT_TRUE(writePropertyListFile(kFile, kNew, Durability::Plain));
  EXPECT_EQ(writings(), before + 1);
  EXPECT_TRUE(writePropertyListFile(kFile, kNew, Durability::Durable))
      << "what is there need not be on the disk";
  EXPECT_EQ(writings(), before + 2);
}

TEST_F(PropertyListFile, LeavesTheOldFileOnAFullDisk) {
  ASSERT_TRUE(writePropertyListFile(kFile, kOld, Durability::Plain));
  files.setCapacity(files.usedBytes() + 10);
  EXPECT_FALSE(writePropertyListFile(kFile, kNew, Durability::Plain));
  EXPECT_EQ(readDictionaryFile(kFile), kOld);
}

TEST_F(PropertyListFile, OutlivesAPowerCutWhenItIsDurable) {
  ASSERT_TRUE(writePropertyListFile(kFile, kOld, Durability::Durable));
  EXPECT_EQ(files.filesAfter(Crash::PowerCut).count(kFile), 1u);
  const std::string plain = "/home/user/plain.plist";
  ASSERT_TRUE(writePropertyListFile(plain, kOld, Durability::Plain));
  EXPECT_EQ(files.filesAfter(Crash::PowerCut).count(plain), 0u) << "nothing was flushed that need not be";
}

TEST_F(PropertyListFile, HasThePermissionsThatWereAskedFor) {
  ASSERT_TRUE(writePropertyListFile(kFile, kOld, Durability::Plain, 0600));
  EXPECT_EQ(files.mode(kFile), 0600u);
  ASSERT_TRUE(writePropertyListFile(kFile, kNew, Durability::Plain));
  EXPECT_EQ(files.mode(kFile), 0644u) << "narrowed by the umask";
}

TEST_F(PropertyListFile, ReadsABinaryList) {
  using namespace std::string_literals;
  files.put(kFile,
            "bplist00\xD1\x01\x02\x51k\x09\x08\x0B\x0D\0\0\0\0\0\0\x01\x01\0\0\0\0\0\0\0\x03"
            "\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x0E"s);
  EXPECT_EQ(readDictionaryFile(kFile), (json::object{{"k", true}}));
}

TEST(PropertyListFileOnDisk, IsWrittenReadAndSetAside) {
  Console::setSink([](std::string_view) {});
  const std::string file = std::string(std::getenv("HOME")) + "/user.plist";
  ASSERT_TRUE(writePropertyListFile(file, kNew, Durability::Durable, 0600));
  EXPECT_EQ(PropertyListStore(file).readDictionary(), kNew);
  struct stat status {};
  ASSERT_EQ(::stat(file.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600u);
  std::ofstream(file) << "garbage";
  EXPECT_FALSE(readDictionaryFile(file));
  EXPECT_EQ(::access(file.c_str(), F_OK), 0);
  EXPECT_FALSE(PropertyListStore(file).readDictionary());
  EXPECT_NE(::access(file.c_str(), F_OK), 0);
  EXPECT_EQ(::access((file + ".damaged").c_str(), F_OK), 0);
}

}  // namespace
}  // namespace orv::property_list_file_test
