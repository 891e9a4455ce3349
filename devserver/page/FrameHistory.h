#pragma once

#include "devserver/page/PassedFrame.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string_view>

namespace orv::devserver {

/// The newest frames that passed, bounded in number and in bytes. I/O thread only.
class FrameHistory {
 public:
  FrameHistory(std::size_t maxFrames, std::size_t maxBytes) : maxFrames_(maxFrames), maxBytes_(maxBytes) {}

  /// Keeps the frame with as much of the payload as is shown; gives it its number, size and time.
  void add(PassedFrame frame, std::string_view payload);

  /// The number of the oldest frame that is kept; `next()` when none is.
  std::uint64_t first() const { return next_ - frames_.size(); }
  /// The number that the next frame gets.
  std::uint64_t next() const { return next_; }
  /// `first() <= number && number < next()`.
  const PassedFrame& at(std::uint64_t number) const { return frames_[number - first()]; }

 private:
  static std::size_t cost(const PassedFrame& frame) { return frame.bytes.capacity(); }

  const std::size_t maxFrames_;
  const std::size_t maxBytes_;
  std::deque<PassedFrame> frames_;
  std::size_t bytes_ = 0;
  std::uint64_t next_ = 1;
};

}  // namespace orv::devserver
