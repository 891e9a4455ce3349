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
  Lock,
  Reserve,
  HandleWrite,
  SeekToEnd,
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
class ORV_EXPORT SimulatedFileSystem final : public FileSystem {
 public:
  /// `seed` decides about the order in which folders are listed.
  explicit SimulatedFileSystem(std::uint64_t seed = 1);
  ~SimulatedFileSystem() override;

  bool exists(const std::string& path) override;
  bool isDirectory(const std::string& path) override;
  bool createDirectory(const std::string& path, bool intermediates, unsigned mode,
                       std::error_code& error) override;
  bool writeAtomically(const std::string& path, std::string_view bytes, Durability durability, unsigned mode,
                       std::error_code& error) override;
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
  void failAt(std::uint64_t n, std::errc error = std::errc::io_error);
  /// The same, counting the calls of one operation only.
  void failAt(FileOperation operation, std::uint64_t n, std::errc error = std::errc::io_error);
  /// Makes every call fail, or every call of one operation.
  void failAlways(std::errc error = std::errc::io_error);
  void failAlways(FileOperation operation, std::errc error = std::errc::io_error);
  /// Takes back all of the above.
  void clearFailures();
  /// How many calls were made to fail; what is out of space or not permitted by itself does not count.
  std::uint64_t failuresInjected() const { return failuresInjected_; }

  /// The sum of all file sizes that fits on the disk; absent (as at the start): no bound. An atomic write
  /// needs room for the old and the new file together.
  void setCapacity(std::optional<std::uint64_t> bytes) { capacity_ = bytes; }
  /// The sum of all file sizes at present, in bytes.
  std::uint64_t usedBytes() const;

  /// Bits that new files and folders do not get. 022 at the start.
  void setUmask(unsigned mask) { umask_ = mask; }

  // Counters.
  /// How many calls there were since the start or the last `resetCounters`, in all and of one operation.
  std::uint64_t calls() const { return calls_; }
  std::uint64_t calls(FileOperation operation) const { return counts_[static_cast<std::size_t>(operation)]; }
  void resetCounters();

  // A look at the disk, and a hand on it, past faults and counters.
  /// The bytes of a file; absent when there is no such file.
  std::optional<std::string> contents(const std::string& path) const;
  /// Writes a file as it would have been there for long: durable, its folders made when missing.
  void put(const std::string& path, std::string_view bytes, unsigned mode = 0644);
  /// The permissions of a file or folder; absent, and false, when there is none.
  std::optional<unsigned> mode(const std::string& path) const;
  bool setMode(const std::string& path, unsigned mode);
  /// A number that an item keeps as long as it exists; absent when there is none.
  std::optional<std::uint64_t> inode(const std::string& path) const;
  /// All files, by path.
  std::map<std::string, std::string> snapshot() const { return filesAfter(Crash::Process); }
  /// All folders, with a slash at the end.
  std::set<std::string> folders() const;

  /// The files that a restart would find.
  std::map<std::string, std::string> filesAfter(Crash crash) const;
  /// Stops and restarts the machine or the process: what does not survive is gone, and handles are dead.
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
