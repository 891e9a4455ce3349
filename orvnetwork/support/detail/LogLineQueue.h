#pragma once

// A block of memory holds one entry after another: four bytes with a line's length and then its bytes, or the length
// 2^32 - 1 for the next task, which waits in a list of its own. Those who push append under the lock; the one who
// takes swaps all of it out, goes through it without the lock, and gives each block back, which only then stops
// counting.

#include <orvnetwork/data/Task.h>
#include <orvnetwork/data/Types.h>

#include <cstring>
#include <deque>
#include <limits>
#include <memory>
#include <mutex>
#include <vector>

namespace orv {

/// Log lines and tasks on their way to the thread that writes the log, in the order in which they came.
///
/// Any thread may push; a push copies the line into a shared block of memory and never waits for the taker's
/// work. The memory has a bound: a line for which there is no room is lost, and how many were lost is told
/// by a line of the queue's own in their place.
class LogLineQueue {
 public:
  /// What lines may use until they are written: enough for a disk that hangs for a while, about half a
  /// million lines, and no burden for a desktop.
  static constexpr std::size_t kDefaultBound = std::size_t{64} << 20;

  class Batch;

  explicit LogLineQueue(std::size_t bound = kDefaultBound) : bound_(bound) { spare_.reserve(kSpareBlocks); }

  /// Queues a line, which may hold any bytes; false when it was lost.
  bool pushLine(std::string_view line);

  /// Queues a task behind the lines that are queued. Tasks are not counted against the bound.
  void pushTask(Task task);

  /// Takes everything that is queued.
  Batch take();

 private:
  using Length = std::uint32_t;
  /// In the place of a line's length: one task.
  static constexpr Length kTaskMark = std::numeric_limits<Length>::max();
  static constexpr std::size_t kBlockSize = std::size_t{64} << 10;
  /// Lines above this size get a block of their own, which is filled while nobody waits.
  static constexpr std::size_t kLongLine = kBlockSize / 4;
  /// How many empty blocks are kept for the next lines.
  static constexpr std::size_t kSpareBlocks = 32;

  struct Block {
    std::unique_ptr<char[]> bytes;
    std::size_t size = 0;
    std::size_t used = 0;

    std::size_t room() const { return size - used; }
    void append(std::string_view text);
    void appendLength(Length length);
  };

  static Block makeBlock(std::size_t size);

  std::unique_lock<std::mutex> lock();
  Block* blockWithRoom(std::size_t size);
  bool addBlock(Block block);
  bool appendLine(std::string_view line);
  bool tellLostLines(std::size_t nextSize);
  void giveBack(Block block);

  const std::size_t bound_;
  std::mutex mutex_;
  std::vector<Block> blocks_;
  std::vector<Block> spare_;
  std::deque<Task> tasks_;
  std::size_t inUse_ = 0;
  std::uint64_t lost_ = 0;
};

/// What was queued at one moment. Its memory goes back to the queue block by block as it is gone through.
class LogLineQueue::Batch {
 public:
  Batch(Batch&&) = default;
  ~Batch() {
    for (Block& block : blocks_) queue_.giveBack(std::move(block));
  }

  /// Calls `onLine` with each line and `onTask` with each task, in order. To be called once.
  template <typename OnLine, typename OnTask>
  void forEach(OnLine onLine, OnTask onTask) {
    for (Block& block : blocks_) {
      for (std::size_t at = 0; at < block.used;) {
        Length length = 0;
        std::memcpy(&length, block.bytes.get() + at, sizeof length);
        at += sizeof length;
        if (length == kTaskMark) {
          Task task = std::move(tasks_.front());
          tasks_.pop_front();
          onTask(task);
        } else {
          onLine(std::string_view(block.bytes.get() + at, length));
          at += length;
        }
      }
      queue_.giveBack(std::exchange(block, {}));
    }
    if (lost_ > 0) onLine(std::string_view(lostLinesText(lost_)));
  }

 private:
  friend class LogLineQueue;
  explicit Batch(LogLineQueue& queue) : queue_(queue) {}
  static std::string lostLinesText(std::uint64_t count);

  LogLineQueue& queue_;
  std::vector<Block> blocks_;
  std::deque<Task> tasks_;
  std::uint64_t lost_ = 0;
};

}  // namespace orv
