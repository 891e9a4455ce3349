#include "orvnetwork/support/detail/LogLineQueue.h"

#include <orvnetwork/data/TextFormat.h>

namespace orv {

void LogLineQueue::Block::append(std::string_view text) {
  std::memcpy(bytes.get() + used, text.data(), text.size());
  used += text.size();
}

void LogLineQueue::Block::appendLength(Length length) {
  append({reinterpret_cast<const char*>(&length), sizeof length});
}

LogLineQueue::Block LogLineQueue::makeBlock(std::size_t size) {
  return {.bytes = std::make_unique_for_overwrite<char[]>(size), .size = size};
}

std::unique_lock<std::mutex> LogLineQueue::lock() {
  // The lock is held for tens of nanoseconds, so it is worth trying again before sleeping.
  constexpr int kTries = 50;
  std::unique_lock guard(mutex_, std::try_to_lock);
  for (int tries = 1; !guard.owns_lock() && tries < kTries; ++tries) guard.try_lock();
  if (!guard.owns_lock()) guard.lock();
  return guard;
}

/// The last block if that much fits in it, else a new one; null when the bound is reached.
LogLineQueue::Block* LogLineQueue::blockWithRoom(std::size_t size) {
  if (!blocks_.empty() && blocks_.back().room() >= size) return &blocks_.back();
  if (inUse_ + kBlockSize > bound_) return nullptr;
  Block block;
  if (spare_.empty()) {
    block = makeBlock(kBlockSize);
  } else {
    block = std::move(spare_.back());
    spare_.pop_back();
  }
  addBlock(std::move(block));
  return &blocks_.back();
}

bool LogLineQueue::addBlock(Block block) {
  const std::size_t size = block.size;
  if (inUse_ + size > bound_) return false;
  blocks_.push_back(std::move(block));
  inUse_ += size;
  return true;
}

bool LogLineQueue::appendLine(std::string_view line) {
  Block* block = blockWithRoom(sizeof(Length) + line.size());
  if (block == nullptr) return false;
  block->appendLength(static_cast<Length>(line.size()));
  block->append(line);
  return true;
}

/// Puts down how many lines were lost before the first that is not; false when there is no room for both.
bool LogLineQueue::tellLostLines(std::size_t nextSize) {
  if (lost_ == 0) return true;
  const std::string text = Batch::lostLinesText(lost_);
  const bool nextIsLong = nextSize > kLongLine;
  const std::size_t size = 2 * sizeof(Length) + text.size() + (nextIsLong ? 0 : nextSize);
  const bool fitsBlock = !blocks_.empty() && blocks_.back().room() >= size;
  const std::size_t growth = (fitsBlock ? 0 : kBlockSize) + (nextIsLong ? sizeof(Length) + nextSize : 0);
  if (growth > 0 && inUse_ + growth > bound_) return false;
  appendLine(text);
  lost_ = 0;
  return true;
}

bool LogLineQueue::pushLine(std::string_view line) {
  Block own;
  const bool isLong = line.size() > kLongLine;
  if (isLong && line.size() < bound_) {
    own = makeBlock(sizeof(Length) + line.size());
    own.appendLength(static_cast<Length>(line.size()));
    own.append(line);
  }
  const auto guard = lock();
  const bool pushed =
      tellLostLines(line.size()) && (isLong ? own.bytes && addBlock(std::move(own)) : appendLine(line));
  if (!pushed) ++lost_;
  return pushed;
}

void LogLineQueue::pushTask(Task task) {
  const auto guard = lock();
  tasks_.push_back(std::move(task));
  Block* block = blockWithRoom(sizeof(Length));
  if (block == nullptr) {
    // A task is never lost, so its mark may go beyond the bound.
    block = &blocks_.emplace_back(makeBlock(kBlockSize));
    inUse_ += kBlockSize;
  }
  block->appendLength(kTaskMark);
}

LogLineQueue::Batch LogLineQueue::take() {
  Batch batch(*this);
  const auto guard = lock();
  batch.blocks_.swap(blocks_);
  batch.tasks_.swap(tasks_);
  batch.lost_ = std::exchange(lost_, 0);
  return batch;
}

void LogLineQueue::giveBack(Block block) {
  if (!block.bytes) return;
  const auto guard = lock();
  inUse_ -= block.size;
  block.used = 0;
  if (block.size == kBlockSize && spare_.size() < kSpareBlocks) spare_.push_back(std::move(block));
}

std::string LogLineQueue::Batch::lostLinesText(std::uint64_t count) {
  return formatText("%lu log lines were lost here: they came faster than they could be written", count);
}

}  // namespace orv
