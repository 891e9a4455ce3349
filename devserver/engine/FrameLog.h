#pragma once

#include "devserver/engine/ReceivedFrame.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv::devserver {

/// The newest frames that came in, bounded in number and in bytes, and the place where other threads wait
/// for something to happen. Every operation may be called from any thread.
class FrameLog {
 public:
  using Predicate = std::function<bool(const ReceivedFrame&)>;
  using Listener = std::function<void(const ReceivedFrame&)>;
  using Clock = std::chrono::steady_clock;

  FrameLog(std::size_t maxFrames, std::size_t maxBytes) : maxFrames_(maxFrames), maxBytes_(maxBytes) {}

  /// Keeps the frame, wakes who waits, and calls the listener on this thread.
  void add(std::uint64_t connectionId, bool binary, std::string_view text);
  /// Wakes who waits: something other than a frame changed.
  void touch();
  /// The same at less cost while nobody waits.
  void touchIfAwaited() {
    if (waiters_ != 0) touch();
  }

  std::vector<ReceivedFrame> frames() const;
  std::uint64_t total() const;
  void clear();
  void setListener(Listener listener);

  /// The first kept or coming frame that the predicate accepts; absent after `timeout`.
  std::optional<ReceivedFrame> waitForFrame(const Predicate& predicate, std::chrono::milliseconds timeout);
  /// Waits until `condition` holds; it is asked again whenever something happened. False after `timeout`.
  bool waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds timeout);

 private:
  using Entry = std::shared_ptr<const ReceivedFrame>;
  std::vector<Entry> newerThan(std::uint64_t sequence) const;

  const std::size_t maxFrames_;
  const std::size_t maxBytes_;
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Entry> entries_;
  std::size_t bytes_ = 0;
  std::uint64_t total_ = 0;
  std::uint64_t happenings_ = 0;
  std::atomic<std::size_t> waiters_{0};
  std::shared_ptr<const Listener> listener_;
};

}  // namespace orv::devserver
