#pragma once

// What is counted on the link. Sums only grow and are never set back: a new link notes how they stand, and whoever reads
// takes the difference. So the thread that counts never waits for one that reads, or for one that begins a link.

#include <orvnetwork/platform/ConnectReport.h>
#include <orvnetwork/transport/LinkStatistics.h>
#include <orvnetwork/transport/detail/RoundTripCounter.h>

#include <atomic>
#include <cstdint>
#include <limits>
#include <map>
#include <mutex>
#include <optional>
#include <string_view>

namespace orv {

/// Who writes what: the main thread everything in the first group, without a lock, any thread the second one by atomic
/// additions, and the third, which changes with attempts and not with frames, lies under a mutex.
class LinkCounters {
 public:
  /// @name Main thread
  /// @{
  void requestSent(std::size_t bytes, SteadyTime submittedAt);
  void received(std::size_t bytes, SteadyTime at);
  void requestAnswered(SteadyTime::duration span) { requests_.count(span, generation()); }
  void requestTimedOut(SteadyTime::duration span);
  void placeTaken() { equalTimestamps_.add(1); }
  void strayReplyCame() { strayReplies_.add(1); }
  void pushCame() { pushes_.add(1); }
  void unreadableCame() { unreadable_.add(1); }
  /// Measures the "PONG" that came at that time.
  void pongCame(SteadyTime at);
  /// @}

  /// @name Any thread
  /// @{
  /// A text that is no request's. To be called before it is sent.
  void textSent(std::string_view text, SteadyTime at);
  /// An attempt begins; `ofTheFormer` is what the one before has ended with, where nobody has told.
  void attemptBegins(SteadyTime at, std::optional<LinkTrouble> ofTheFormer);
  void opened(SteadyTime at);
  void up(SteadyTime at, const ConnectReport& report);
  void failed(LinkTrouble trouble);

  /// How many messages have come.
  std::uint64_t messages() const { return receivedFrames_.get(); }
  /// How many requests have had no reply in time.
  std::uint64_t timeouts() const { return timeouts_.get(); }
  /// When the last message came; absent before the first.
  std::optional<SteadyTime> lastReceived() const;
  /// All but what others count.
  LinkStatistics read(SteadyTime now) const;
  /// @}

 private:
  /// What a mutex guards of a span.
  struct Rare {
    std::optional<SteadyTime> begun;
    std::uint64_t attempts = 0, ups = 0;
    std::map<LinkTrouble, std::uint64_t> failures;
    LinkSteps steps;
  };
  struct Sums {
    std::uint64_t sentFrames = 0, sentBytes = 0, receivedFrames = 0, receivedBytes = 0;
    std::uint64_t timeouts = 0, equalTimestamps = 0, strayReplies = 0, pushes = 0, unreadable = 0;
    RoundTripValues requests, pings;
  };
  static constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::min();

  static std::optional<SteadyTime> moment(const std::atomic<std::int64_t>& at);
  std::uint64_t generation() const { return generation_.load(std::memory_order_relaxed); }
  Sums sums() const;
  LinkFigures figures(const Rare& rare, const Sums& now, const Sums& before) const;

  PlainSum requestFrames_, requestBytes_, receivedFrames_, receivedBytes_;
  PlainSum timeouts_, equalTimestamps_, strayReplies_, pushes_, unreadable_;
  RoundTripCounter requests_, pings_;
  std::atomic<std::int64_t> lastReceived_{kNever};

  std::atomic<std::uint64_t> textFrames_{0}, textBytes_{0};
  std::atomic<std::int64_t> lastSent_{kNever};
  std::atomic<std::int64_t> pingSentAt_{kNever};
  /// The number of the present link.
  std::atomic<std::uint64_t> generation_{0};

  mutable std::mutex mutex_;
  Rare link_, total_;
  Sums atBegin_;
  std::optional<SteadyTime> attemptedAt_, openedAt_;
};

}  // namespace orv
