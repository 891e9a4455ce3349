#pragma once

#include <orvnetwork/support/detail/LogFolder.h>
#include <orvnetwork/support/detail/LogStamp.h>

#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>

namespace orv {

/// Puts time stamps before log lines and writes them: many lines with one write, as if each were written by
/// itself, flushed if it is a tenth one and followed by a look at the file's size if it is the 101st. Used by
/// one thread at a time, but for `logTimes`.
///
/// A new file can begin once a second. Lines that come faster than that allows, 64 MiB in one file, are lost, and the
/// first one after them says how many.
class LogFileWriter {
 public:
  explicit LogFileWriter(LogFolder& folder) : folder_(folder) {}

  /// Adds a line, stamped with the time of this call. It reaches the file by the next `finish` at the latest.
  void add(std::string_view message);

  /// Writes what was added, and flushes the file to the disk if a tenth line was among it.
  void finish();
  /// The same, and if lines were lost last, says so now, since no line will come after them.
  void finishForGood();

  /// Lines since the last look at the file's size. Any thread.
  std::int64_t logTimes() const { return logTimes_.load(std::memory_order_relaxed); }

 private:
  /// What is written at once at most, but for the last line's excess.
  static constexpr std::size_t kBlockSize = std::size_t{1} << 20;
  /// As much as may wait in memory, which comes all at once after the disk has hung for a while.
  static constexpr std::uint64_t kMostInFile = std::uint64_t{64} << 20;
  static constexpr std::int64_t kLinesPerFlush = 10;
  static constexpr std::int64_t kLinesPerSizeCheck = 100;

  bool makeRoom(std::size_t size, WallTime now);
  void append(std::string_view message, WallTime now);
  void tellLost(WallTime now);
  void write();
  void checkFileSize(WallTime now);
  void rotate();

  LogFolder& folder_;
  LogStamp stamp_;
  std::string block_;
  bool flushDue_ = false;
  /// The last write ended within a line.
  bool isTorn_ = false;
  /// What the file can still take, block and all, as far as is known.
  std::uint64_t room_ = 0;
  std::uint64_t lost_ = 0;
  std::atomic<std::int64_t> logTimes_{0};
};

}  // namespace orv
