#pragma once

#include <orvnetwork/data/Types.h>

#include <deque>

namespace orv {

/// The armed time-outs of requests, all of the same length, so that the first one in is the first one due and
/// arming one is a push. A time-out cannot be taken back: it looks when it is due whether its request is still
/// outstanding. Memory is bounded by the requests sent within one time-out, 16 bytes each. One thread.
class TimeoutList {
 public:
  void arm(SteadyTime due, std::int64_t timestamp) { entries_.push_back({due, timestamp}); }

  bool empty() const { return entries_.empty(); }
  std::size_t size() const { return entries_.size(); }
  /// When the first one is due. The list must not be empty.
  SteadyTime nextDue() const { return entries_.front().due; }

  /// Takes out the first one if it is due at `now`.
  std::optional<std::int64_t> takeDue(SteadyTime now) {
    if (entries_.empty() || entries_.front().due > now) return std::nullopt;
    const auto timestamp = entries_.front().timestamp;
    entries_.pop_front();
    return timestamp;
  }

 private:
  struct Entry {
    SteadyTime due;
    std::int64_t timestamp;
  };
  std::deque<Entry> entries_;
};

}  // namespace orv
