#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>
#include <orvnetwork/platform/LockFile.h>

#include <memory>
#include <system_error>
#include <vector>

namespace orv {

/// A file that is open for writing, positioned where the next write goes. Used by one thread at a time.
/// Destroying it closes the file without flushing to the disk.
class ORV_EXPORT FileHandle {
 public:
  virtual ~FileHandle() = default;
  /// Writes all of `bytes` at the current offset (of a file that is appended to: at its end) and moves it. False when
  /// not all could be written.
  virtual bool write(std::string_view bytes) = 0;
  /// The current offset in bytes.
  virtual std::uint64_t offset() const = 0;
  /// Moves to the end and returns the offset there.
  virtual std::uint64_t seekToEnd() = 0;
  /// Flushes what was written to the disk, and returns when the disk has it; false when it refuses.
  virtual bool synchronize() = 0;
  /// Whether the file has no name any more, so that nobody will find what is written. False where that cannot be told.
  virtual bool isRemoved() const { return false; }
};

/// What a write has to survive.
enum class Durability {
  Plain,   ///< the old file or the new one after a crash of the process
  Durable  ///< the same after a power cut: file and folder are flushed before the call returns
};

/// The file operations that the library uses. Paths are absolute. No operation throws; what went wrong is
/// told in `error`, which is cleared on success. Any thread.
///
///     FileSystem& files = Platform::current().files();
///     std::error_code error;
///     if (!files.writeAtomically(path, text, Durability::Durable, 0600, error)) tell(error.message());
///     const std::optional<std::string> back = files.read(path, error);
class ORV_EXPORT FileSystem {
 public:
  virtual ~FileSystem() = default;

  /// Both follow symbolic links; a dangling link is missing.
  virtual bool exists(const std::string& path) = 0;
  virtual bool isDirectory(const std::string& path) = 0;

  /// Makes a folder. With `intermediates`, parents too, and an existing folder is a success; without, anything
  /// that exists at the path and a missing parent are failures. `mode` is the folder's own, narrowed by the
  /// process's umask; parents that are made get 0777, narrowed likewise. False, with `error` set, on a failure.
  virtual bool createDirectory(const std::string& path, bool intermediates, unsigned mode,
                               std::error_code& error) = 0;

  /// Replaces the file at `path` (a link itself, not its target) by one with these bytes, all or nothing, by a
  /// temporary file in the same folder. A missing parent or a folder at the path is a failure.
  /// @param durability how long the call waits for the disk
  /// @param mode permissions of the new file, narrowed by the process's umask
  /// @return false, with `error` set, when the old file is still there
  virtual bool writeAtomically(const std::string& path, std::string_view bytes, Durability durability,
                               unsigned mode, std::error_code& error) = 0;

  /// Removes from a folder what `writeAtomically` has left there in processes that have ended in the middle of it. What
  /// a process that lives is writing stays. A file system that leaves nothing need not do anything.
  virtual void removeLeftovers(const std::string& /*folder*/) {}

  /// The whole file; absent when it cannot be read.
  virtual std::optional<std::string> read(const std::string& path, std::error_code& error) = 0;

  /// Removes a file, a link (not its target), or a folder with everything in it. False, with `error` set, when
  /// there was nothing of that name or something is left.
  virtual bool remove(const std::string& path, std::error_code& error) = 0;

  /// Renames within one file system, replacing a file at `to`. False, with `error` set, when nothing has changed.
  virtual bool rename(const std::string& from, const std::string& to, std::error_code& error) = 0;

  /// The names in a folder, in no order, hidden ones included; absent when it cannot be listed.
  virtual std::optional<std::vector<std::string>> list(const std::string& path, std::error_code& error) = 0;

  /// Size in bytes; absent when the item cannot be looked at.
  virtual std::optional<std::uint64_t> fileSize(const std::string& path) = 0;

  /// Opens an existing file for writing at offset 0 without truncating it; null when there is none.
  virtual std::unique_ptr<FileHandle> openForWriting(const std::string& path) = 0;

  /// Opens a file to which every write of the handle is appended in one piece, wherever its end is by then: what other
  /// programs append to the same file is neither torn nor written over. A file that is missing is made, empty, with
  /// the permissions `mode`, narrowed by the process's umask. The handle's offset is 0 at first, and after a write
  /// where the file's end was then. Null when the file can be neither opened nor made.
  virtual std::unique_ptr<FileHandle> openForAppending(const std::string& path, unsigned mode) = 0;

  /// Opens a file for locks, which is made with the permissions `mode`, narrowed by the process's umask, when it is
  /// missing. Null when it can be neither opened nor made.
  virtual std::unique_ptr<LockFile> openLockFile(const std::string& path, unsigned mode) = 0;
};

}  // namespace orv
