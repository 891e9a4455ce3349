#include "devserver/page/FrameHistory.h"

#include <orvnetwork/data/Utf8.h>

#include <chrono>
#include <string>
#include <utility>

namespace orv::devserver {

void FrameHistory::add(PassedFrame frame, std::string_view payload) {
  // The memory of the frame that goes serves the one that comes.
  if (frames_.size() >= maxFrames_) {
    frame.bytes = std::move(frames_.front().bytes);
    bytes_ -= frame.bytes.capacity();
    frames_.pop_front();
  }
  const std::string_view kept = payload.substr(0, PassedFrame::kMaxKept);
  if (frame.bytes.capacity() > 4 * kept.size() + 256) frame.bytes = std::string();
  frame.bytes.assign(kept);
  frame.size = payload.size();
  if (frame.command.size() > PassedFrame::kMaxCommand) {
    const std::string_view begins = std::string_view(frame.command).substr(0, PassedFrame::kMaxCommand);
    frame.command = std::string(withoutSplitUtf8(begins));
  }
  frame.number = next_++;
  frame.time = std::chrono::system_clock::now();
  bytes_ += cost(frame);
  frames_.push_back(std::move(frame));
  while (bytes_ > maxBytes_ && frames_.size() > 1) {
    bytes_ -= cost(frames_.front());
    frames_.pop_front();
  }
}

}  // namespace orv::devserver
