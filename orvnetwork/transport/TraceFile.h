#pragma once

#include <orvnetwork/data/Error.h>
#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Result.h>
#include <orvnetwork/platform/FileSystem.h>
#include <orvnetwork/transport/FrameTrace.h>

#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace orv {

/// A file for the trace of frames: JSON Lines, one entry a line, as `lineOf` writes it.
///
///     auto file = orv::TraceFile::open("/home/ada/link.jsonl");
///     if (!file) return tell(file.error().description);
///     orv::QXWebSocketMgr::standard().setFrameTrace(orv::TraceFile::sinkOf(*file));
///
/// A file that is made is closed to other users (mode 0600). One that is there is appended to, and keeps its permissions.
/// It is bounded: a file that would pass its bound is renamed to the same name with ".1" behind it, in the place of the one
/// that was there, and a new one is begun; so the newest entries are kept, in twice the bound at most.
///
/// A line that cannot be written, such as on a full disk, is lost; each further entry tries again, and the first one that
/// succeeds is led by an entry that says how many are missing. `trouble` tells.
///
/// Any thread. It is closed when nobody holds it.
class ORV_EXPORT TraceFile {
 public:
  static constexpr std::uint64_t kUsualBound = std::uint64_t{64} << 20;

  /// Opens or makes the file. It reads and writes the disk before it returns.
  /// @param path absolute
  /// @param bound of the file, in bytes; an entry that is larger by itself is written all the same
  /// @return the file, or why it can be neither opened nor written
  static Result<std::shared_ptr<TraceFile>> open(std::string path, std::uint64_t bound = kUsualBound);
  /// A sink that writes to the file and keeps it open.
  static TraceSink sinkOf(std::shared_ptr<TraceFile> file);

  TraceFile(const TraceFile&) = delete;
  TraceFile& operator=(const TraceFile&) = delete;
  ~TraceFile();

  /// Writes an entry. Waits for the disk.
  void write(const TraceEntry& entry);

  /// Why entries are missing in the file, the last reason; absent while none are.
  std::optional<Error> trouble() const;
  /// How many were not written; 0 at first.
  std::uint64_t lost() const;
  /// As it was given.
  const std::string& path() const { return path_; }

 private:
  TraceFile(std::string path, std::uint64_t bound);

  bool begin();
  bool append(std::string line);
  bool makeRoom(std::uint64_t size);
  void couldNot(std::string what);

  const std::string path_;
  const std::uint64_t bound_;
  mutable std::mutex mutex_;
  std::unique_ptr<FileHandle> file_;
  std::uint64_t size_ = 0;
  bool isTorn_ = false;
  std::uint64_t lost_ = 0, untold_ = 0;
  std::optional<Error> trouble_;
};

}  // namespace orv
