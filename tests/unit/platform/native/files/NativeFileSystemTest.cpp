#include <orvnetwork/platform/native/files/NativeFileSystem.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string_view>
#include <thread>

namespace orv::native_file_system_test {
namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

class NativeFileSystemTest : public ::testing::Test {
 protected:
  NativeFileSystemTest() { umask(022); }

  bool write(const std::string& path, std::string_view bytes, Durability durability = Durability::Plain,
             unsigned mode = 0666) {
    return files.writeAtomically(path, bytes, durability, mode, error);
  }
  std::string contents(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }
  void make(const std::string& path, std::string_view bytes = "") {
    std::ofstream(path, std::ios::binary) << bytes;
  }
  Names listed(const std::string& path) {
    auto names = files.list(path, error).value_or(Names{"<absent>"});
    std::sort(names.begin(), names.end());
    return names;
  }
  unsigned modeOf(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0);
    return status.st_mode & 07777U;
  }

  const std::string folder = std::getenv("HOME");
  const std::string file = folder + "/file";
  NativeFileSystem files;
  std::error_code error = std::make_error_code(std::errc::io_error);
};

TEST_F(NativeFileSystemTest, TestsFollowLinksAndTakeADanglingOneForMissing) {
  make(file);
  fs::create_symlink("file", folder + "/link");
  fs::create_symlink(".", folder + "/folderLink");
  fs::create_symlink("nowhere", folder + "/dangling");
  EXPECT_TRUE(files.exists(file));
  EXPECT_TRUE(files.exists(folder + "/link"));
  EXPECT_FALSE(files.isDirectory(folder + "/link"));
  EXPECT_TRUE(files.isDirectory(folder + "/folderLink"));
  EXPECT_FALSE(files.exists(folder + "/dangling"));
  EXPECT_FALSE(files.isDirectory(folder + "/dangling"));
  EXPECT_FALSE(files.exists(""));
}

TEST_F(NativeFileSystemTest, CreatesAFolderWhoseParentExists) {
  EXPECT_TRUE(files.createDirectory(folder + "/a", false, 0777, error));
  EXPECT_FALSE(error);
  EXPECT_EQ(modeOf(folder + "/a"), 0755U);
  EXPECT_FALSE(files.createDirectory(folder + "/a", false, 0777, error));
  EXPECT_EQ(error, std::errc::file_exists);
  EXPECT_FALSE(files.createDirectory(folder + "/no/parent", false, 0777, error));
  EXPECT_EQ(error, std::errc::no_such_file_or_directory);
}

TEST_F(NativeFileSystemTest, CreatesFoldersAboveAndAcceptsAnExistingFolder) {
  EXPECT_TRUE(files.createDirectory(folder + "/a/b//c/", true, 0700, error));
  EXPECT_FALSE(error);
  EXPECT_EQ(modeOf(folder + "/a/b/c"), 0700U);
  EXPECT_EQ(modeOf(folder + "/a/b"), modeOf(folder + "/a"));
  EXPECT_EQ(modeOf(folder + "/a") & 0700U, 0700U) << "a parent gets an ordinary folder's mode";
  EXPECT_TRUE(files.createDirectory(folder + "/a/b/c", true, 0700, error));
  fs::create_symlink("a", folder + "/link");
  EXPECT_TRUE(files.createDirectory(folder + "/link", true, 0700, error));
  EXPECT_TRUE(files.createDirectory("/", true, 0700, error));
}

TEST_F(NativeFileSystemTest, DoesNotTakeAFileForAFolder) {
  make(file);
  EXPECT_FALSE(files.createDirectory(file, true, 0777, error));
  EXPECT_EQ(error, std::errc::file_exists);
  EXPECT_FALSE(files.createDirectory(file + "/below", true, 0777, error));
  EXPECT_EQ(error, std::errc::not_a_directory);
  EXPECT_FALSE(files.createDirectory("", true, 0777, error));
  fs::create_symlink("nowhere", folder + "/dangling");
  EXPECT_FALSE(files.createDirectory(folder + "/dangling", true, 0777, error));
}

TEST_F(NativeFileSystemTest, WritesAWholeFileAndLeavesNothingElse) {
  for (const auto durability : {Durability::Plain, Durability::Durable}) {
    const std::string bytes = std::string(3'000'000, 'x') + std::string("\0y", 2);
    ASSERT_TRUE(write(file, bytes, durability));
    EXPECT_FALSE(error);
    EXPECT_EQ(contents(file), bytes);
    ASSERT_TRUE(write(file, "", durability));
    EXPECT_EQ(contents(file), "");
    EXPECT_EQ(listed(folder), Names{"file"});
  }
}

TEST_F(NativeFileSystemTest, AWrittenFileHasItsModeNarrowedByTheMask) {
  ASSERT_TRUE(write(file, "x"));
  EXPECT_EQ(modeOf(file), 0644U);
  ASSERT_TRUE(write(file, "x", Durability::Durable, 0600));
  EXPECT_EQ(modeOf(file), 0600U);
}

TEST_F(NativeFileSystemTest, ReplacesALinkAndNotItsTarget) {
  make(folder + "/target", "old");
  fs::create_symlink("target", folder + "/link");
  ASSERT_TRUE(write(folder + "/link", "new"));
  EXPECT_FALSE(fs::is_symlink(folder + "/link"));
  EXPECT_EQ(contents(folder + "/link"), "new");
  EXPECT_EQ(contents(folder + "/target"), "old");
}

TEST_F(NativeFileSystemTest, AnOpenHandleKeepsTheReplacedFile) {
  make(file, "old");
  const auto handle = files.openForWriting(file);
  ASSERT_TRUE(write(file, ""));
  handle->write("to the old one");
  EXPECT_EQ(contents(file), "");
}

TEST_F(NativeFileSystemTest, AFailedWriteLeavesTheOldFileAndNoTemporaryOne) {
  EXPECT_FALSE(write(folder + "/no/parent", "x"));
  EXPECT_EQ(error, std::errc::no_such_file_or_directory);
  fs::create_directory(folder + "/directory");
  EXPECT_FALSE(write(folder + "/directory", "x"));
  EXPECT_EQ(error, std::errc::is_a_directory);
  EXPECT_EQ(listed(folder), Names{"directory"});
}

TEST_F(NativeFileSystemTest, AWriteThatRunsOutOfRoomLeavesTheOldFile) {
  signal(SIGXFSZ, SIG_IGN);
  make(file, "old");
  const rlimit small{.rlim_cur = 4096, .rlim_max = RLIM_INFINITY};
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  EXPECT_FALSE(write(file, std::string(100'000, 'x')));
  EXPECT_EQ(error, std::errc::file_too_large);
  EXPECT_EQ(contents(file), "old");
  EXPECT_EQ(listed(folder), Names{"file"});
  EXPECT_TRUE(write(file, "small enough"));
}

TEST_F(NativeFileSystemTest, AReaderSeesTheOldFileOrTheNewOneWhileItIsReplaced) {
  const std::string a(100'000, 'a');
  const std::string b(50'000, 'b');
  ASSERT_TRUE(write(file, a));
  std::thread writer([&] {
    NativeFileSystem own;
    std::error_code ignored;
    for (int i = 0; i < 200; ++i) {
      own.writeAtomically(file, i % 2 == 0 ? b : a, Durability::Plain, 0600, ignored);
    }
  });
  for (int i = 0; i < 200; ++i) {
    const auto bytes = files.read(file, error);
    EXPECT_TRUE(bytes == a || bytes == b);
  }
  writer.join();
}

TEST_F(NativeFileSystemTest, ReadsWholeFilesAndSaysWhyItCannot) {
  make(file, std::string("a\0b", 3));
  EXPECT_EQ(files.read(file, error), std::string("a\0b", 3));
  EXPECT_FALSE(error);
  make(file);
  EXPECT_EQ(files.read(file, error), "");
  EXPECT_EQ(files.read(folder + "/missing", error), std::nullopt);
  EXPECT_EQ(error, std::errc::no_such_file_or_directory);
  EXPECT_EQ(files.read(folder, error), std::nullopt);
  EXPECT_EQ(error, std::errc::is_a_directory);
  ASSERT_TRUE(files.read("/proc/self/stat", error).has_value());  // its size is told as 0
  EXPECT_NE(files.read("/proc/self/stat", error), "");
}

TEST_F(NativeFileSystemTest, DoesNotWaitForTheOtherEndOfAPipe) {
  const std::string pipe = folder + "/pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_EQ(files.read(pipe, error), std::nullopt);
  EXPECT_EQ(files.openForWriting(pipe), nullptr);
}

TEST_F(NativeFileSystemTest, RemovesATreeWithoutFollowingLinks) {
  fs::create_directories(folder + "/kept");
  make(folder + "/kept/file");
  fs::create_directories(folder + "/tree/a/b");
  make(folder + "/tree/a/b/file");
  fs::create_symlink("../../kept", folder + "/tree/a/link");
  EXPECT_TRUE(files.remove(folder + "/tree", error));
  EXPECT_FALSE(error);
  EXPECT_EQ(listed(folder), Names{"kept"});
  EXPECT_EQ(listed(folder + "/kept"), Names{"file"});
}

TEST_F(NativeFileSystemTest, RemovesALinkAndNotWhatItPointsTo) {
  fs::create_directories(folder + "/kept");
  make(folder + "/kept/file");
  for (const char* name : {"/link", "/link/"}) {
    fs::create_symlink("kept", folder + "/link");
    EXPECT_TRUE(files.remove(folder + name, error)) << name;
    EXPECT_EQ(listed(folder), Names{"kept"});
    EXPECT_EQ(listed(folder + "/kept"), Names{"file"});
  }
  fs::create_symlink("nowhere", folder + "/dangling");
  EXPECT_TRUE(files.remove(folder + "/dangling", error));
  EXPECT_FALSE(files.remove(folder + "/dangling", error));
  EXPECT_EQ(error, std::errc::no_such_file_or_directory);
}

TEST_F(NativeFileSystemTest, RenamesOverAFile) {
  make(file, "new");
  make(folder + "/other", "old");
  EXPECT_TRUE(files.rename(file, folder + "/other", error));
  EXPECT_FALSE(error);
  EXPECT_EQ(contents(folder + "/other"), "new");
  EXPECT_FALSE(files.rename(file, folder + "/other", error));
  EXPECT_EQ(error, std::errc::no_such_file_or_directory);
}

TEST_F(NativeFileSystemTest, ListsNamesWithHiddenOnes) {
  EXPECT_EQ(files.list(folder, error), Names());
  make(file);
  make(folder + "/.hidden");
  fs::create_directory(folder + "/sub");
  make(folder + "/sub/inner");
  EXPECT_EQ(listed(folder), (Names{".hidden", "file", "sub"}));
  EXPECT_EQ(files.list(file, error), std::nullopt);
  EXPECT_EQ(error, std::errc::not_a_directory);
  EXPECT_EQ(files.list(folder + "/missing", error), std::nullopt);
}

TEST_F(NativeFileSystemTest, TellsAFilesSize) {
  make(file, "12345");
  fs::create_symlink("file", folder + "/link");
  EXPECT_EQ(files.fileSize(file), 5U);
  EXPECT_EQ(files.fileSize(folder + "/link"), 5U);
  EXPECT_EQ(files.fileSize(folder + "/missing"), std::nullopt);
}

TEST_F(NativeFileSystemTest, AHandleOverwritesFromTheStartWithoutTruncating) {
  make(file, "0123456789");
  const auto handle = files.openForWriting(file);
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(handle->offset(), 0U);
  EXPECT_TRUE(handle->write("ab"));
  EXPECT_EQ(handle->offset(), 2U);
  EXPECT_EQ(contents(file), "ab23456789");
  EXPECT_EQ(handle->seekToEnd(), 10U);
  EXPECT_TRUE(handle->write("!"));
  EXPECT_EQ(handle->offset(), 11U);
  EXPECT_TRUE(handle->synchronize());
  EXPECT_EQ(contents(file), "ab23456789!");
}

TEST_F(NativeFileSystemTest, AHandleWritesAtItsOffsetAndNotAtTheEnd) {
  make(file, "01");
  const auto handle = files.openForWriting(file);
  handle->seekToEnd();
  std::ofstream(file, std::ios::app) << "23456";
  EXPECT_TRUE(handle->write("x"));
  EXPECT_EQ(contents(file), "01x3456");
}

TEST_F(NativeFileSystemTest, AHandleNeedsAFile) {
  EXPECT_EQ(files.openForWriting(file), nullptr);
  EXPECT_EQ(files.openForWriting(folder), nullptr);
  EXPECT_FALSE(fs::exists(file));
}

TEST_F(NativeFileSystemTest, AHandleThatCannotWriteAllKnowsHowFarItCame) {
  signal(SIGXFSZ, SIG_IGN);
  make(file);
  const rlimit small{.rlim_cur = 1000, .rlim_max = RLIM_INFINITY};
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  const auto handle = files.openForWriting(file);
  EXPECT_FALSE(handle->write(std::string(1500, 'x')));
  EXPECT_EQ(handle->offset(), 1000U);
  EXPECT_FALSE(handle->write("x"));
  const rlimit large{.rlim_cur = 2000, .rlim_max = RLIM_INFINITY};
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &large), 0);
  EXPECT_TRUE(handle->write("y"));
  EXPECT_EQ(fs::file_size(file), 1001U);
}

TEST_F(NativeFileSystemTest, DescriptorsAreNotInherited) {
  make(file);
  const auto handle = files.openForWriting(file);
  int open = 0;
  for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
    std::error_code ignored;
    if (fs::read_symlink(entry.path(), ignored) != file) continue;
    ++open;
    EXPECT_NE(::fcntl(std::stoi(entry.path().filename()), F_GETFD) & FD_CLOEXEC, 0);
  }
  EXPECT_EQ(open, 1);
}

TEST_F(NativeFileSystemTest, APathWithAZeroByteNamesNothing) {
  make(file, "kept");
  const std::string path = file + std::string("\0.plist", 7);
  EXPECT_FALSE(files.exists(path));
  EXPECT_FALSE(files.isDirectory(folder + std::string("\0x", 2)));
  EXPECT_FALSE(write(path, "x"));
  EXPECT_EQ(error, std::errc::invalid_argument);
  EXPECT_FALSE(files.remove(path, error));
  EXPECT_FALSE(files.rename(path, folder + "/y", error));
  EXPECT_FALSE(files.createDirectory(folder + std::string("/new\0x", 6), true, 0700, error));
  EXPECT_EQ(files.read(path, error), std::nullopt);
  EXPECT_EQ(files.list(folder + std::string("\0x", 2), error), std::nullopt);
  EXPECT_EQ(files.fileSize(path), std::nullopt);
  EXPECT_EQ(files.openForWriting(path), nullptr);
  EXPECT_EQ(contents(file), "kept");
  EXPECT_EQ(listed(folder), Names{"file"});
}

TEST_F(NativeFileSystemTest, RemovesWhatAnEndedProcessHasLeftAndNothingElse) {
  const std::string abandoned = folder + "/.orv-0123456789abcdef.tmp";
  const std::string underWay = folder + "/.orv-fedcba9876543210.tmp";
  make(abandoned, "half");
  make(underWay, "half");
  make(folder + "/.orv-0123456789abcdeg.tmp");
  make(folder + "/list.plist");
  fs::create_directory(folder + "/.orv-1111111111111111.tmp");
  make(folder + "/target");
  fs::create_symlink("target", folder + "/.orv-2222222222222222.tmp");
  const int held = ::open(underWay.c_str(), O_WRONLY | O_CLOEXEC);
  ASSERT_EQ(::flock(held, LOCK_EX), 0) << "as the process has that writes it";
  files.removeLeftovers(folder);
  EXPECT_EQ(listed(folder),
            (Names{".orv-0123456789abcdeg.tmp", ".orv-1111111111111111.tmp", ".orv-2222222222222222.tmp",
                   ".orv-fedcba9876543210.tmp", "list.plist", "target"}));
  ::close(held);
  files.removeLeftovers(folder);
  EXPECT_FALSE(fs::exists(underWay));
  files.removeLeftovers(folder + "/none");
}

TEST_F(NativeFileSystemTest, WritingIsNotDisturbedByWhoeverRemovesLeftovers) {
  std::atomic<bool> isOver = false;
  std::thread remover([&] {
    while (!isOver) NativeFileSystem().removeLeftovers(folder);
  });
  int failed = 0;
  for (int i = 0; i < 3'000; ++i) {
    const Durability durability = i % 10 == 0 ? Durability::Durable : Durability::Plain;
    if (!write(file, std::to_string(i), durability) || contents(file) != std::to_string(i)) ++failed;
  }
  isOver = true;
  remover.join();
  EXPECT_EQ(failed, 0);
  EXPECT_EQ(listed(folder), Names{"file"});
}

}  // namespace
}  // namespace orv::native_file_system_test
