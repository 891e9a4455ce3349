#include "devserver/engine/FrameLog.h"

#include <algorithm>
#include <utility>

namespace orv::devserver {

void FrameLog::add(std::uint64_t connectionId, bool binary, std::string_view text) {
  auto frame = std::make_shared<ReceivedFrame>();
  frame->connectionId = connectionId;
  frame->time = std::chrono::system_clock::now();
  frame->binary = binary;
  frame->text = text;

  std::shared_ptr<const Listener> listener;
  std::vector<Entry> dropped;  // freed outside the lock
  bool wake = false;
  {
    std::lock_guard lock(mutex_);
    frame->sequence = ++total_;
    ++happenings_;
    bytes_ += frame->text.size();
    entries_.push_back(frame);
    while (entries_.size() > maxFrames_ || (bytes_ > maxBytes_ && entries_.size() > 1)) {
      bytes_ -= entries_.front()->text.size();
      dropped.push_back(std::move(entries_.front()));
      entries_.pop_front();
    }
    listener = listener_;
    wake = waiters_ > 0;
  }
  if (wake) changed_.notify_all();
  if (listener && *listener) (*listener)(*frame);
}

void FrameLog::touch() {
  {
    std::lock_guard lock(mutex_);
    ++happenings_;
  }
  changed_.notify_all();
}

std::vector<FrameLog::Entry> FrameLog::newerThan(std::uint64_t sequence) const {
  auto first = std::partition_point(entries_.begin(), entries_.end(),
                                    [&](const Entry& entry) { return entry->sequence <= sequence; });
  return {first, entries_.end()};
}

std::vector<ReceivedFrame> FrameLog::frames() const {
  std::vector<Entry> entries;
  {
    std::lock_guard lock(mutex_);
    entries.assign(entries_.begin(), entries_.end());
  }
  std::vector<ReceivedFrame> frames;
  frames.reserve(entries.size());
  for (const Entry& entry : entries) frames.push_back(*entry);
  return frames;
}

std::uint64_t FrameLog::total() const {
  std::lock_guard lock(mutex_);
  return total_;
}

void FrameLog::clear() {
  std::lock_guard lock(mutex_);
  entries_.clear();
  bytes_ = 0;
}

void FrameLog::setListener(Listener listener) {
  auto shared = std::make_shared<const Listener>(std::move(listener));
  std::lock_guard lock(mutex_);
  listener_.swap(shared);
}

std::optional<ReceivedFrame> FrameLog::waitForFrame(const Predicate& predicate,
                                                    std::chrono::milliseconds timeout) {
  std::uint64_t seen = 0;
  std::optional<ReceivedFrame> found;
  waitUntil(
      [&] {
        std::vector<Entry> entries;
        {
          std::lock_guard lock(mutex_);
          entries = newerThan(seen);
        }
        for (const Entry& entry : entries) {
          seen = entry->sequence;
          if (predicate(*entry)) {
            found = *entry;
            return true;
          }
        }
        return false;
      },
      timeout);
  return found;
}

bool FrameLog::waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds timeout) {
  const auto deadline = Clock::now() + timeout;
  std::unique_lock lock(mutex_);
  ++waiters_;
  bool holds = false;
  for (bool late = false;;) {
    const std::uint64_t known = happenings_;
    lock.unlock();
    holds = condition();
    lock.lock();
    if (holds || late) break;
    late = !changed_.wait_until(lock, deadline, [&] { return happenings_ != known; });
  }
  --waiters_;
  return holds;
}

}  // namespace orv::devserver
