#include "orvnetwork/support/detail/LogFileWriter.h"

#include <orvnetwork/platform/Platform.h>

#include <atomic>
#include <string>
#include <string_view>

namespace orv {

void LogFileWriter::add(std::string_view message) {
  const WallTime now = Platform::current().clock().wallNow();
  block_ += stamp_.of(now);
  block_ += " - ";
  block_ += message;
  block_ += '\n';
  const std::int64_t lines = logTimes() + 1;
  if (lines % kLinesPerFlush == 0) flushDue_ = true;
  if (lines > kLinesPerSizeCheck) checkFileSize(now);
  logTimes_.store(lines > kLinesPerSizeCheck ? 0 : lines, std::memory_order_relaxed);
  if (block_.size() >= kBlockSize) write();
}

void LogFileWriter::finish() {
  write();
  if (std::exchange(flushDue_, false)) folder_.synchronizeFile();
  if (block_.capacity() > 2 * kBlockSize) std::string().swap(block_);  // after a very long line
}

void LogFileWriter::write() {
  if (block_.empty()) return;
  // Nothing is told of a failure: there is no better place for it than this log.
  if (const auto handle = folder_.writeFileHandle()) handle->write(block_);
  block_.clear();
}

void LogFileWriter::checkFileSize(WallTime now) {
  const auto handle = folder_.writeFileHandle();
  // Up to here nothing has to be written for the file's size to be known.
  if (!handle || handle->offset() + block_.size() <= LogFolder::kRotateAbove) return;
  write();
  if (handle->offset() <= LogFolder::kRotateAbove || folder_.wouldReopenSameFile(now)) return;
  folder_.checkFileSize();
  flushDue_ = false;  // the file that is left is flushed when it is closed
}

}  // namespace orv
