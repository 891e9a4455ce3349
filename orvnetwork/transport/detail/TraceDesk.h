#pragma once

#include <orvnetwork/platform/BackgroundDrain.h>
#include <orvnetwork/platform/Semaphore.h>
#include <orvnetwork/transport/FrameTrace.h>
#include <orvnetwork/transport/LinkFailure.h>

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace orv {

/// Takes what passes on the link, and gives it to the host's sink on a thread of its own, or of who flushes, secrets hidden.
/// All of it on any thread. Nobody who notes something waits for the sink: what waits is bounded, and the oldest go.
class TraceDesk {
 public:
  static constexpr std::size_t kMostEntries = 4096;
  static constexpr std::size_t kMostBytes = std::size_t{8} << 20;
  /// A longer text is told by its size.
  static constexpr std::size_t kLongestText = std::size_t{1} << 20;

  TraceDesk();
  ~TraceDesk();

  /// Whether there is a sink. Who asks first saves the work for the others.
  bool isOn() const { return isOn_.load(std::memory_order_relaxed); }

  /// Waits for a call of a former sink that is under way on another thread. The former sink is destroyed here, or, when this
  /// is called inside of it, on the same thread when that call has returned.
  void set(TraceSink sink, TraceMode mode);
  void flush();

  void message(TraceKind kind, std::uint64_t connection, std::shared_ptr<const std::string> text);
  void binary(std::uint64_t connection, std::size_t size);
  void attempt(std::uint64_t connection, const OptionalString& url);
  void failure(std::uint64_t connection, const LinkFailure& failure);
  /// @param text in words of the library's own
  void event(TraceKind kind, std::uint64_t connection, std::string text = {});

 private:
  struct Target {
    TraceSink sink;
    TraceMode mode;
    /// Tells it from those before and behind it, which may lie at the same address.
    std::uint64_t number;
  };
  struct Waiting {
    TraceEntry entry;
    /// Of a message, as it came: it is looked at on the sink's thread.
    std::shared_ptr<const std::string> message;
    std::size_t bytes() const { return message ? message->size() : entry.text.size(); }
  };

  void note(Waiting waiting);
  void drain();
  bool deliverNext();
  void call(std::uint64_t number, const TraceEntry& entry);
  void leaveCall();

  std::atomic<bool> isOn_{false};

  std::mutex mutex_;
  std::unique_ptr<Target> target_;
  std::uint64_t targets_ = 0;
  bool isCalling_ = false;
  /// Those who wait for the end of the call that is under way, and the sinks that were replaced inside of it.
  std::vector<std::shared_ptr<Semaphore>> callWaiters_;
  std::vector<std::unique_ptr<Target>> replacedInside_;
  std::deque<Waiting> waiting_;
  std::size_t bytes_ = 0;
  std::uint64_t skipped_ = 0;
  std::unique_ptr<BackgroundDrain> drain_;
};

}  // namespace orv
