#include <orvnetwork/testing/SimulatedFileSystem.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <system_error>

namespace orv::testing::simulated_file_system_test {
namespace {

class SimulatedFileSystemTest : public ::testing::Test {
 protected:
  bool write(const std::string& path, std::string_view bytes, Durability durability = Durability::Plain) {
    return files.writeAtomically(path, bytes, durability, 0666, error);
  }
  bool makeFolder(const std::string& path, bool intermediates = false, unsigned mode = 0777) {
    return files.createDirectory(path, intermediates, mode, error);
  }
  std::vector<std::string> sortedList(const std::string& path) {
    auto names = files.list(path, error).value_or(std::vector<std::string>{"(none)"});
    std::ranges::sort(names);
    return names;
  }
  bool failedWith(std::errc reason) const { return error == std::make_error_code(reason); }

  SimulatedFileSystem files;
  std::error_code error;
};

TEST_F(SimulatedFileSystemTest, StartsWithAHomeAndATemporaryFolder) {
  EXPECT_EQ(files.folders(), (std::set<std::string>{"/", "/home/", "/home/user/", "/tmp/"}));
  EXPECT_TRUE(files.isDirectory("/home/user"));
  EXPECT_TRUE(files.isDirectory("//home//user/"));
  EXPECT_TRUE(files.exists("/tmp/../home/./user"));
  EXPECT_FALSE(files.exists("/home/nobody"));
  EXPECT_FALSE(files.exists(""));
  EXPECT_FALSE(files.exists("home"));
  EXPECT_TRUE(files.snapshot().empty());
}

TEST_F(SimulatedFileSystemTest, MakesFoldersWithoutIntermediates) {
  EXPECT_TRUE(makeFolder("/tmp/a"));
  EXPECT_FALSE(error);
  EXPECT_FALSE(makeFolder("/tmp/a"));
  EXPECT_TRUE(failedWith(std::errc::file_exists));
  EXPECT_FALSE(makeFolder("/tmp/b/c"));
  EXPECT_TRUE(failedWith(std::errc::no_such_file_or_directory));
  write("/tmp/file", "");
  EXPECT_FALSE(makeFolder("/tmp/file"));
  EXPECT_TRUE(failedWith(std::errc::file_exists));
}

TEST_F(SimulatedFileSystemTest, MakesFoldersWithIntermediates) {
  EXPECT_TRUE(makeFolder("/tmp/a/b/c/", true, 0700));
  EXPECT_TRUE(makeFolder("/tmp/a/b/c", true));
  EXPECT_EQ(files.mode("/tmp/a/b/c"), 0700U);
  EXPECT_EQ(files.mode("/tmp/a/b"), 0755U) << "parents are ordinary folders";
  write("/tmp/file", "");
  EXPECT_FALSE(makeFolder("/tmp/file", true));
  EXPECT_TRUE(failedWith(std::errc::file_exists));
  EXPECT_FALSE(makeFolder("/tmp/file/under", true));
  EXPECT_TRUE(failedWith(std::errc::not_a_directory));
}

TEST_F(SimulatedFileSystemTest, NarrowsModesByTheUmask) {
  write("/tmp/file", "");
  makeFolder("/tmp/folder");
  EXPECT_EQ(files.mode("/tmp/file"), 0644U);
  EXPECT_EQ(files.mode("/tmp/folder"), 0755U);
  files.setUmask(077);
  write("/tmp/file", "");
  EXPECT_EQ(files.mode("/tmp/file"), 0600U) << "a replaced file has the mode of the new one";
}

TEST_F(SimulatedFileSystemTest, WritesAndReadsWholeFiles) {
  EXPECT_TRUE(write("/tmp/file", std::string("a\0b", 3)));
  EXPECT_EQ(files.read("/tmp/file", error), std::string("a\0b", 3));
  EXPECT_EQ(files.fileSize("/tmp/file"), 3U);
  EXPECT_TRUE(write("/tmp/file", ""));
  EXPECT_EQ(files.read("/tmp/file", error), "");
  EXPECT_FALSE(error);
  EXPECT_FALSE(files.read("/tmp/none", error));
  EXPECT_TRUE(failedWith(std::errc::no_such_file_or_directory));
  EXPECT_FALSE(files.read("/tmp", error));
  EXPECT_TRUE(failedWith(std::errc::is_a_directory));
  EXPECT_FALSE(files.fileSize("/tmp/none"));
}

TEST_F(SimulatedFileSystemTest, RefusesToWriteWhereItCannot) {
  EXPECT_FALSE(write("/tmp/none/file", "x"));
  EXPECT_TRUE(failedWith(std::errc::no_such_file_or_directory));
  EXPECT_FALSE(write("/tmp", "x"));
  EXPECT_TRUE(failedWith(std::errc::is_a_directory));
  write("/tmp/file", "x");
  EXPECT_FALSE(write("/tmp/file/under", "x"));
  EXPECT_TRUE(failedWith(std::errc::not_a_directory));
  EXPECT_FALSE(write("/tmp/" + std::string(256, 'n'), "x"));
  EXPECT_TRUE(failedWith(std::errc::filename_too_long));
  EXPECT_FALSE(write(std::string("/tmp/a\0b", 8), "x"));
  EXPECT_TRUE(failedWith(std::errc::invalid_argument));
}

TEST_F(SimulatedFileSystemTest, ReplacesAFileByANewOne) {
  write("/tmp/file", "old");
  const auto inode = files.inode("/tmp/file");
  const auto handle = files.openForWriting("/tmp/file");
  ASSERT_NE(handle, nullptr);
  write("/tmp/file", "");
  EXPECT_NE(files.inode("/tmp/file"), inode);
  handle->seekToEnd();
  EXPECT_TRUE(handle->write(" and gone"));
  EXPECT_EQ(handle->offset(), 12U);
  EXPECT_EQ(files.contents("/tmp/file"), "");
}

TEST_F(SimulatedFileSystemTest, OpensExistingFilesAtTheirStart) {
  EXPECT_EQ(files.openForWriting("/tmp/none"), nullptr);
  EXPECT_EQ(files.openForWriting("/tmp"), nullptr);
  write("/tmp/file", "12345");
  const auto handle = files.openForWriting("/tmp/file");
  EXPECT_EQ(handle->offset(), 0U);
  EXPECT_TRUE(handle->write("ab"));
  EXPECT_EQ(files.contents("/tmp/file"), "ab345");
  EXPECT_EQ(handle->seekToEnd(), 5U);
  EXPECT_TRUE(handle->write("6789"));
  EXPECT_EQ(files.contents("/tmp/file"), "ab3456789");
  EXPECT_EQ(handle->offset(), 9U);
}

TEST_F(SimulatedFileSystemTest, RemovesFilesAndWholeFolders) {
  makeFolder("/tmp/a/b", true);
  write("/tmp/a/b/file", "x");
  const auto handle = files.openForWriting("/tmp/a/b/file");
  EXPECT_TRUE(files.remove("/tmp/a", error));
  EXPECT_FALSE(files.exists("/tmp/a/b/file"));
  EXPECT_TRUE(handle->write("still works"));
  EXPECT_FALSE(files.remove("/tmp/a", error));
  EXPECT_TRUE(failedWith(std::errc::no_such_file_or_directory));
  EXPECT_FALSE(files.remove("/", error));
}

TEST_F(SimulatedFileSystemTest, RenamesAndReplaces) {
  write("/tmp/a", "A");
  write("/tmp/b", "B");
  const auto inode = files.inode("/tmp/a");
  EXPECT_TRUE(files.rename("/tmp/a", "/tmp/b", error));
  EXPECT_EQ(files.contents("/tmp/b"), "A");
  EXPECT_EQ(files.inode("/tmp/b"), inode);
  EXPECT_FALSE(files.exists("/tmp/a"));
  EXPECT_TRUE(files.rename("/tmp/b", "/tmp/b", error));
  EXPECT_FALSE(files.rename("/tmp/none", "/tmp/b", error));
  EXPECT_TRUE(failedWith(std::errc::no_such_file_or_directory));
  EXPECT_FALSE(files.rename("/tmp/b", "/tmp/none/b", error));
  EXPECT_TRUE(failedWith(std::errc::no_such_file_or_directory));
  EXPECT_EQ(files.contents("/tmp/b"), "A");
}

TEST_F(SimulatedFileSystemTest, RenamesFoldersWithTheirContent) {
  makeFolder("/tmp/a/b", true);
  write("/tmp/a/b/file", "x");
  EXPECT_TRUE(files.rename("/tmp/a", "/home/user/moved", error));
  EXPECT_EQ(files.contents("/home/user/moved/b/file"), "x");
  EXPECT_EQ(files.contents("/home/user/moved/b/../../moved/b/file"), "x");
  EXPECT_FALSE(files.rename("/home/user/moved", "/home/user/moved/b/c", error));
  EXPECT_TRUE(failedWith(std::errc::invalid_argument));
  makeFolder("/tmp/full/inner", true);
  EXPECT_FALSE(files.rename("/home/user/moved", "/tmp/full", error));
  EXPECT_TRUE(failedWith(std::errc::directory_not_empty));
  EXPECT_TRUE(files.rename("/home/user/moved", "/tmp/full/inner", error));
  write("/tmp/file", "x");
  EXPECT_FALSE(files.rename("/tmp/file", "/tmp/full", error));
  EXPECT_TRUE(failedWith(std::errc::is_a_directory));
  EXPECT_FALSE(files.rename("/tmp/full", "/tmp/file", error));
  EXPECT_TRUE(failedWith(std::errc::not_a_directory));
}

TEST_F(SimulatedFileSystemTest, ListsNamesInAnOrderThatTheSeedDecides) {
  std::set<std::vector<std::string>> orders;
  for (std::uint64_t seed = 1; seed <= 20; ++seed) {
    SimulatedFileSystem first(seed);
    SimulatedFileSystem second(seed);
    for (const char* name : {"/tmp/1", "/tmp/2", "/tmp/3", "/tmp/4", "/tmp/.hidden"}) {
      first.put(name, "");
      second.put(name, "");
    }
    orders.insert(*first.list("/tmp", error));
    EXPECT_EQ(second.list("/tmp", error).value().size(), 5U);
  }
  EXPECT_GT(orders.size(), 10U);
  write("/tmp/b", "");
  makeFolder("/tmp/a");
  EXPECT_EQ(sortedList("/tmp"), (std::vector<std::string>{"a", "b"}));
  EXPECT_TRUE(sortedList("/tmp/a").empty());
  EXPECT_FALSE(files.list("/tmp/b", error));
  EXPECT_TRUE(failedWith(std::errc::not_a_directory));
  EXPECT_FALSE(files.list("/tmp/none", error));
  EXPECT_TRUE(failedWith(std::errc::no_such_file_or_directory));
}

TEST_F(SimulatedFileSystemTest, ChecksPermissions) {
  write("/tmp/file", "x");
  files.setMode("/tmp/file", 0);
  EXPECT_FALSE(files.read("/tmp/file", error));
  EXPECT_TRUE(failedWith(std::errc::permission_denied));
  EXPECT_EQ(files.openForWriting("/tmp/file"), nullptr);
  files.setMode("/tmp", 0500);
  EXPECT_FALSE(write("/tmp/other", "x"));
  EXPECT_TRUE(failedWith(std::errc::permission_denied));
  EXPECT_FALSE(makeFolder("/tmp/folder"));
  EXPECT_FALSE(files.remove("/tmp/file", error));
  EXPECT_FALSE(files.rename("/tmp/file", "/home/user/file", error));
  EXPECT_TRUE(files.exists("/tmp/file"));
}

TEST_F(SimulatedFileSystemTest, CountsCalls) {
  files.resetCounters();
  write("/tmp/file", "x");
  const auto handle = files.openForWriting("/tmp/file");
  handle->write("y");
  handle->write("z");
  handle->synchronize();
  files.contents("/tmp/file");
  EXPECT_EQ(files.calls(), 5U);
  EXPECT_EQ(files.calls(FileOperation::WriteAtomically), 1U);
  EXPECT_EQ(files.calls(FileOperation::HandleWrite), 2U);
  EXPECT_EQ(files.calls(FileOperation::Synchronize), 1U);
  EXPECT_EQ(files.calls(FileOperation::Read), 0U);
}

TEST_F(SimulatedFileSystemTest, FailsAtTheNthCall) {
  write("/tmp/file", "old");
  files.failAt(2, std::errc::no_space_on_device);
  EXPECT_TRUE(files.exists("/tmp/file"));
  EXPECT_FALSE(write("/tmp/file", "new"));
  EXPECT_TRUE(failedWith(std::errc::no_space_on_device));
  EXPECT_EQ(files.contents("/tmp/file"), "old");
  EXPECT_TRUE(write("/tmp/file", "new"));
  EXPECT_FALSE(error);
  EXPECT_EQ(files.failuresInjected(), 1U);
}

TEST_F(SimulatedFileSystemTest, FailsAtTheNthCallOfOneKind) {
  files.failAt(FileOperation::Remove, 2);
  write("/tmp/a", "");
  write("/tmp/b", "");
  EXPECT_TRUE(files.remove("/tmp/a", error));
  EXPECT_FALSE(files.remove("/tmp/b", error));
  EXPECT_TRUE(failedWith(std::errc::io_error));
  EXPECT_TRUE(files.remove("/tmp/b", error));
}

TEST_F(SimulatedFileSystemTest, FailsAlwaysUntilCleared) {
  write("/tmp/file", "12");
  const auto handle = files.openForWriting("/tmp/file");
  files.failAlways(std::errc::io_error);
  EXPECT_FALSE(files.exists("/tmp/file"));
  EXPECT_FALSE(files.isDirectory("/tmp"));
  EXPECT_FALSE(files.fileSize("/tmp/file"));
  EXPECT_FALSE(files.read("/tmp/file", error));
  EXPECT_FALSE(files.list("/tmp", error));
  EXPECT_FALSE(makeFolder("/tmp/folder"));
  EXPECT_FALSE(files.rename("/tmp/file", "/tmp/other", error));
  EXPECT_EQ(files.openForWriting("/tmp/file"), nullptr);
  EXPECT_FALSE(handle->synchronize());
  EXPECT_EQ(handle->seekToEnd(), 0U);
  files.clearFailures();
  EXPECT_EQ(handle->seekToEnd(), 2U);
  files.failAlways(FileOperation::HandleWrite, std::errc::io_error);
  EXPECT_FALSE(handle->write("abcd"));
  EXPECT_EQ(files.contents("/tmp/file"), "12ab") << "half of it was written";
  EXPECT_TRUE(files.exists("/tmp/file"));
}

TEST_F(SimulatedFileSystemTest, RunsOutOfSpace) {
  files.setCapacity(10);
  EXPECT_TRUE(write("/tmp/file", "123456"));
  EXPECT_EQ(files.usedBytes(), 6U);
  EXPECT_FALSE(write("/tmp/file", "12345")) << "old and new do not fit together";
  EXPECT_TRUE(failedWith(std::errc::no_space_on_device));
  EXPECT_EQ(files.contents("/tmp/file"), "123456");
  EXPECT_TRUE(write("/tmp/empty", ""));
  const auto handle = files.openForWriting("/tmp/file");
  EXPECT_TRUE(handle->write("abcdef")) << "in place it needs no room";
  EXPECT_FALSE(handle->write("ghijkl"));
  EXPECT_EQ(files.contents("/tmp/file"), "abcdefghij") << "what fits is written";
  EXPECT_EQ(handle->offset(), 10U);
  files.setCapacity(std::nullopt);
  EXPECT_TRUE(handle->write("kl"));
}

TEST_F(SimulatedFileSystemTest, AnOpenRemovedFileTakesSpaceUntilItIsClosed) {
  write("/tmp/file", "123456");
  auto handle = files.openForWriting("/tmp/file");
  files.remove("/tmp/file", error);
  EXPECT_EQ(files.usedBytes(), 6U);
  handle.reset();
  EXPECT_EQ(files.usedBytes(), 0U);
}

TEST_F(SimulatedFileSystemTest, AKilledProcessLosesNothingThatWasWritten) {
  write("/tmp/file", "plain");
  const auto handle = files.openForWriting("/tmp/file");
  handle->write("PLAIN");
  files.crash(Crash::Process);
  EXPECT_EQ(files.contents("/tmp/file"), "PLAIN");
  EXPECT_FALSE(handle->write("dead")) << "handles do not survive";
  EXPECT_FALSE(handle->synchronize());
  EXPECT_EQ(files.contents("/tmp/file"), "PLAIN");
}

TEST_F(SimulatedFileSystemTest, APowerCutLeavesWhatWasFlushed) {
  write("/tmp/user", "first", Durability::Durable);
  write("/tmp/user", "second");
  write("/tmp/plain", "never flushed");
  files.put("/tmp/log", "1\n");
  const auto handle = files.openForWriting("/tmp/log");
  handle->seekToEnd();
  handle->write("2\n");
  handle->synchronize();
  handle->write("3\n");
  const std::map<std::string, std::string> expected = {{"/tmp/user", "first"}, {"/tmp/log", "1\n2\n"}};
  EXPECT_EQ(files.filesAfter(Crash::PowerCut), expected);
  EXPECT_EQ(files.contents("/tmp/user"), "second") << "a look changes nothing";
  files.crash(Crash::PowerCut);
  EXPECT_EQ(files.snapshot(), expected);
  EXPECT_FALSE(handle->write("dead"));
}

TEST_F(SimulatedFileSystemTest, ATornPowerCutKeepsNamesAndLosesUnflushedBytes) {
  write("/tmp/durable", "kept", Durability::Durable);
  write("/tmp/durable2", "old", Durability::Durable);
  write("/tmp/durable2", "new");
  files.put("/tmp/gone", "x");
  files.remove("/tmp/gone", error);
  files.crash(Crash::PowerCutTorn);
  EXPECT_EQ(files.snapshot(),
            (std::map<std::string, std::string>{{"/tmp/durable", "kept"}, {"/tmp/durable2", ""}}));
}

TEST_F(SimulatedFileSystemTest, RemovalsAndRenamesComeBackAfterAPowerCutUntilTheFolderIsFlushed) {
  files.put("/tmp/a", "A");
  files.put("/tmp/b", "B");
  files.remove("/tmp/a", error);
  files.rename("/tmp/b", "/tmp/c", error);
  EXPECT_EQ(files.filesAfter(Crash::PowerCut),
            (std::map<std::string, std::string>{{"/tmp/a", "A"}, {"/tmp/b", "B"}}));
  write("/tmp/d", "D", Durability::Durable);
  EXPECT_EQ(files.filesAfter(Crash::PowerCut),
            (std::map<std::string, std::string>{{"/tmp/c", "B"}, {"/tmp/d", "D"}}));
}

TEST_F(SimulatedFileSystemTest, ADurableWriteMakesTheNewFoldersAboveItDurable) {
  makeFolder("/home/user/a/b/c", true);
  makeFolder("/home/user/other");
  write("/home/user/a/b/c/file", "x", Durability::Durable);
  write("/home/user/a/plain", "y");
  files.crash(Crash::PowerCut);
  EXPECT_EQ(files.snapshot(), (std::map<std::string, std::string>{{"/home/user/a/b/c/file", "x"}}));
  EXPECT_TRUE(files.isDirectory("/home/user"));
  EXPECT_TRUE(write("/home/user/a/b/c/file", "z", Durability::Durable)) << "the disk can be used again";
  EXPECT_EQ(files.filesAfter(Crash::PowerCut).at("/home/user/a/b/c/file"), "z");
}

TEST_F(SimulatedFileSystemTest, PutsFilesPastFaultsAndCounters) {
  files.resetCounters();
  files.failAlways();
  files.put("/home/user/Documents/x/file", "content", 0600);
  EXPECT_EQ(files.calls(), 0U);
  EXPECT_EQ(files.contents("/home/user/Documents/x/file"), "content");
  EXPECT_EQ(files.mode("/home/user/Documents/x/file"), 0600U);
  EXPECT_FALSE(files.contents("/home/user"));
  EXPECT_THROW(files.put("/home/user", "x"), std::invalid_argument);
}

}  // namespace
}  // namespace orv::testing::simulated_file_system_test
