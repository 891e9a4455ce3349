#pragma once

#include <orvnetwork/platform/FileSystem.h>
#include <orvnetwork/testing/Crash.h>
#include <orvnetwork/testing/SeededRandom.h>

#include <array>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace orv::testing {

/// The calls of a file system and of its handles that are counted and can be made to fail.
enum class FileOperation {
  Exists,
  IsDirectory,
  CreateDirectory,
  WriteAtomically,
  Read,
  Remove,
  Rename,
  List,
  FileSize,
  OpenForWriting,
  OpenForAppending,
  OpenLockFile,
  /// `LockFile::lock`
  Lock,
  /// `LockFile::reserve`
  Reserve,
  /// `FileHandle::write`
  HandleWrite,
  /// `FileHandle::seekToEnd`
  SeekToEnd,
  /// `FileHandle::synchronize`
  Synchronize,
  Count  ///< how many there are
};

struct SimulatedFileNode;
struct SimulatedFilePlace;

/// A file system in memory. At the start it has "/home/user" and "/tmp".
///
///     platform.files().failAt(1, std::errc::no_space_on_device);   // the next call fails
///     platform.files().setCapacity(100'000);                       // a disk that gets full
///     const auto left = platform.files().filesAfter(Crash::PowerCut);
///
/// A handle that was opened before its file was replaced or removed goes on writing to the old file, which
/// nobody sees any more. Flushing a folder makes the path to it durable too, as journaling file systems do.
/// There are no symbolic links. Write permission of folders and files is checked; the owner is always the
/// user.
///
/// Every place at which saving can fail, one after another:
///
///     for (std::uint64_t n = 1;; ++n) {
///       SimulatedFileSystem files;
///       files.put("/home/user/state", "old");
///       files.failAt(n);
///       save(files);
///       if (files.failuresInjected() == 0) break;   // there are fewer than n calls
///       EXPECT_TRUE(isOldOrNew(*files.contents("/home/user/state"))) << "call " << n;
///     }
///
/// It has no lock: one thread. It may be used alone, without a simulated platform; it must outlive its handles.
class ORV_EXPORT SimulatedFileSystem final : public FileSystem {
 public:
  /// @param seed decides about the order in which folders are listed: the same seed and the same calls give the same
  /// order
  explicit SimulatedFileSystem(std::uint64_t seed = 1);
  ~SimulatedFileSystem() override;

  bool exists(const std::string& path) override;
  bool isDirectory(const std::string& path) override;
  bool createDirectory(const std::string& path, bool intermediates, unsigned mode,
                       std::error_code& error) override;
  bool writeAtomically(const std::string& path, std::string_view bytes, Durability durability, unsigned mode,
                       std::error_code& error) override;
  /// No process but this one writes here: all go. Not counted, and never made to fail.
  void removeLeftovers(const std::string& folder) override;
  std::optional<std::string> read(const std::string& path, std::error_code& error) override;
  bool remove(const std::string& path, std::error_code& error) override;
  bool rename(const std::string& from, const std::string& to, std::error_code& error) override;
  std::optional<std::vector<std::string>> list(const std::string& path, std::error_code& error) override;
  std::optional<std::uint64_t> fileSize(const std::string& path) override;
  std::unique_ptr<FileHandle> openForWriting(const std::string& path) override;
  std::unique_ptr<FileHandle> openForAppending(const std::string& path, unsigned mode) override;
  /// Its file is not to be seen. A call that is made to fail finds that another program has the lock or the number.
  std::unique_ptr<LockFile> openLockFile(const std::string& path, unsigned mode) override;

  // Faults.

  /// Makes the `n`-th call from now fail with `error`, 1 being the next; 0 makes none fail. All operations
  /// count. Those that cannot tell an error answer false or absent; a failing write to a handle writes the
  /// first half of its bytes.
  /// An order given anew takes the place of the one before, `failAlways` among them; it strikes once.
  void failAt(std::uint64_t n, std::errc error = std::errc::io_error);
  /// The same, counting the calls of one operation only.
  /// It stands beside an order for all operations. When both strike at one call, its `error` is the one that is told.
  void failAt(FileOperation operation, std::uint64_t n, std::errc error = std::errc::io_error);
  /// Makes every call fail, or every call of one operation.
  void failAlways(std::errc error = std::errc::io_error);
  void failAlways(FileOperation operation, std::errc error = std::errc::io_error);
  /// Takes back all of the above; the count of `failuresInjected` stays.
  void clearFailures();
  /// How many calls were made to fail; what is out of space or not permitted by itself does not count.
  std::uint64_t failuresInjected() const { return failuresInjected_; }

  /// The sum of all file sizes that fits on the disk; absent (as at the start): no bound. An atomic write
  /// needs room for the old and the new file together.
  /// A write to a handle that does not fit writes what there is room for. `put` takes no notice of the bound.
  void setCapacity(std::optional<std::uint64_t> bytes) { capacity_ = bytes; }
  /// The sum of all file sizes at present, in bytes. A file whose name is gone counts as long as it is open.
  std::uint64_t usedBytes() const;

  /// Bits that new files and folders do not get. 022 at the start.
  void setUmask(unsigned mask) { umask_ = mask; }

  // Counters.
  /// How many calls there were since the start or the last `resetCounters`, in all and of one operation.
  std::uint64_t calls() const { return calls_; }
  std::uint64_t calls(FileOperation operation) const { return counts_[static_cast<std::size_t>(operation)]; }
  /// Sets all of them, and `failuresInjected`, to 0.
  void resetCounters();

  // A look at the disk, and a hand on it, past faults and counters.
  /// The bytes of a file; absent when there is no such file.
  std::optional<std::string> contents(const std::string& path) const;
  /// Writes a file as it would have been there for long: durable, its folders made when missing.
  /// @param path absolute; throws std::invalid_argument when a folder has that name or a file is in the way
  /// @param mode the file's permissions as they are, past the umask
  void put(const std::string& path, std::string_view bytes, unsigned mode = 0644);
  /// The permission bits of a file or folder, such as 0644; absent when there is none.
  std::optional<unsigned> mode(const std::string& path) const;
  /// Sets them, whatever the umask is; false when nothing has that path.
  /// @param mode without 0200 nothing is written there, and without 0400 nothing is read
  bool setMode(const std::string& path, unsigned mode);
  /// A number that an item keeps as long as it exists; absent when there is none.
  /// A renamed file keeps its number; one that was written atomically has a new one, by which a test can see that.
  std::optional<std::uint64_t> inode(const std::string& path) const;
  /// All files, by path.
  std::map<std::string, std::string> snapshot() const { return filesAfter(Crash::Process); }
  /// All folders, with a slash at the end; the root is among them, as "/".
  std::set<std::string> folders() const;

  /// The files that a restart would find.
  /// Nothing changes by that: a test may look after each step. The result goes by path and holds each file's bytes.
  std::map<std::string, std::string> filesAfter(Crash crash) const;
  /// Stops and restarts the machine or the process: what does not survive is gone, and handles are dead.
  /// Writing to a dead handle and flushing it answer false. Orders to fail, counters, capacity and umask stay.
  void crash(Crash crash);

 private:
  class Handle;
  class Lock;
  using Node = SimulatedFileNode;
  using Place = SimulatedFilePlace;
  struct Failure {
    std::uint64_t in = 0;  // calls until it strikes; 0: never
    bool always = false;
    std::errc error{};
  };
  static constexpr auto kOperations = static_cast<std::size_t>(FileOperation::Count);

  std::optional<std::errc> begin(FileOperation operation);
  std::unique_ptr<FileHandle> openNode(const std::shared_ptr<Node>& node, bool appends);
  Place locate(const std::string& path) const;
  std::shared_ptr<Node> find(const std::string& path) const;
  std::shared_ptr<Node> makeNode(bool isFolder, unsigned mode);
  bool makeFolder(const std::string& path, bool intermediates, unsigned mode, std::error_code& error);
  static void restart(Node& node, Crash crash);
  std::uint64_t freeBytes() const;
  bool hasRoomFor(std::uint64_t bytes) const;

  SeededRandom random_;
  std::shared_ptr<Node> root_;
  std::uint64_t lastInode_ = 0;
  std::uint64_t generation_ = 0;  // counts the crashes
  unsigned umask_ = 022;
  std::optional<std::uint64_t> capacity_;
  std::vector<std::weak_ptr<Node>> opened_;  // by handles, some perhaps closed since
  Failure failure_;
  std::array<Failure, kOperations> failures_{};
  std::uint64_t failuresInjected_ = 0;
  std::uint64_t calls_ = 0;
  std::array<std::uint64_t, kOperations> counts_{};
};

}  // namespace orv::testing
