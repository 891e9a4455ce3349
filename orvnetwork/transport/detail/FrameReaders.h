#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <unordered_set>

namespace orv {

/// The identifiers of the outstanding requests whose sender takes an `UnreadReply`. Any thread.
class FrameReaders {
 public:
  /// Whether there are any, without a lock: it is asked for each large message.
  bool any() const { return count_ != 0; }
  bool contains(std::int64_t identifier) const {
    const std::lock_guard lock(mutex_);
    return identifiers_.contains(identifier);
  }
  /// Says whether an identifier belongs to them.
  void set(std::int64_t identifier, bool isReader) {
    if (!isReader && !any()) return;
    const std::lock_guard lock(mutex_);
    if (isReader) {
      identifiers_.insert(identifier);
    } else {
      identifiers_.erase(identifier);
    }
    count_ = identifiers_.size();
  }

 private:
  mutable std::mutex mutex_;
  std::unordered_set<std::int64_t> identifiers_;
  std::atomic<std::size_t> count_{0};
};

}  // namespace orv
