#include "orvnetwork/support/detail/LogFileWriter.h"

#include <orvnetwork/data/LineShape.h>
#include <orvnetwork/data/TextFormat.h>
#include <orvnetwork/platform/Platform.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace orv {

namespace {

/// How a line of the log begins.
constexpr std::string_view kShapeOfStamp = "0000/00/00 ";

}  // namespace

void LogFileWriter::add(std::string_view message) {
  const WallTime now = Platform::current().clock().wallNow();
  constexpr std::size_t kAroundMessage = 32;
  // A line feed takes two bytes where a forged line would begin.
  const auto feeds = static_cast<std::size_t>(std::ranges::count(message, '\n'));
  if (!makeRoom(message.size() + feeds + kAroundMessage, now)) {
    ++lost_;
    return;
  }
  if (lost_ > 0) tellLost(now);
  append(message, now);
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

void LogFileWriter::finishForGood() {
  if (lost_ > 0) tellLost(Platform::current().clock().wallNow());
  finish();
}

/// Whether a line of that size fits into the file, or into the next one, if it can begin now.
bool LogFileWriter::makeRoom(std::size_t size, WallTime now) {
  if (block_.size() + size <= room_) return true;
  write();
  const auto fits = [this, size] {
    const auto handle = folder_.writeFileHandle();
    // Without a file the lines go nowhere, but in order.
    const std::uint64_t used = handle ? handle->offset() : 0;
    room_ = kMostInFile - std::min(kMostInFile, used);
    // A file that is not left yet takes one line of any length.
    return size <= room_ || used <= LogFolder::kRotateAbove;
  };
  if (fits()) return true;
  if (folder_.wouldReopenSameFile(now)) return false;
  rotate();
  return fits();
}

void LogFileWriter::append(std::string_view message, WallTime now) {
  block_ += stamp_.of(now);
  block_ += " - ";
  appendMessage(block_, message, kShapeOfStamp);
  block_ += '\n';
}

void LogFileWriter::tellLost(WallTime now) {
  append(formatText("%lu log lines were lost here: they came faster than log files may grow",
                    std::exchange(lost_, 0)),
         now);
}

void LogFileWriter::write() {
  if (block_.empty()) return;
  if (folder_.openNewIfRemoved()) isTorn_ = false;
  // Nothing is told of a failure: there is no better place for it than this log.
  if (const auto handle = folder_.writeFileHandle()) {
    if (std::exchange(isTorn_, false)) block_.insert(block_.begin(), '\n');
    const std::uint64_t before = handle->offset();
    isTorn_ = !handle->write(block_) && handle->offset() != before;
    room_ = kMostInFile - std::min(kMostInFile, handle->offset());
  }
  block_.clear();
}

void LogFileWriter::checkFileSize(WallTime now) {
  if (folder_.isOpeningDue()) {
    write();
    folder_.openNewLogFile();
    return;
  }
  const auto handle = folder_.writeFileHandle();
  // Up to here nothing has to be written for the file's size to be known.
  if (!handle || handle->offset() + block_.size() <= LogFolder::kRotateAbove) return;
  write();
  if (handle->offset() <= LogFolder::kRotateAbove) return;
  if (folder_.wouldReopenSameFile(now)) {
    folder_.forgetRemoved();
  } else {
    rotate();
  }
}

void LogFileWriter::rotate() {
  folder_.checkFileSize();
  flushDue_ = false;  // the file that is left is flushed when it is closed
  isTorn_ = false;
  room_ = 0;
}

}  // namespace orv
