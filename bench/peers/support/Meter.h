#pragma once

#include "bench/peers/support/Order.h"

#include <sys/resource.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace peers {

/// Tells a peer when to ask and when to end, and measures: the time from asking to the answer, requests a second and the
/// processor time of the whole process. One thread, the one that asks and is answered.
///
/// Replies come in the order of their requests. What is outstanding at the end is awaited, but is in no figure.
///
///     meter.start();
///     while (meter.mayAsk()) ask();
///     ... at each answer:
///     meter.answered();
///     if (meter.mayAsk()) ask();
///     if (meter.isOver()) stop();
class Meter {
 public:
  explicit Meter(const Order& order);

  /// When the connection is up.
  void start();
  /// Whether another request is to be sent now; it counts as sent.
  bool mayAsk();
  /// The oldest request has been answered.
  void answered();
  /// The same, by a reply of so many bytes. Ends the process where a reply has another size than it should have.
  void answered(std::size_t bytes);
  /// Whether all that were asked have been answered.
  bool isOver() const { return phase_ == Phase::Ended && asked_ == answered_; }

  /// Prints one line of JSON. After the end.
  void print() const;

 private:
  using Clock = std::chrono::steady_clock;
  enum class Phase { WarmingUp, Measuring, Ended };
  struct Moment {
    Clock::time_point time;
    rusage used{};
    std::uint64_t answered = 0;
  };

  Moment moment() const;
  bool amountIsReached(const Order& amount, const Moment& since) const;
  void note(std::chrono::nanoseconds took);

  const Order order_;
  const Order warmUp_;
  /// The times at which what is outstanding was sent, in a ring.
  std::vector<Clock::time_point> sent_;
  /// Nanoseconds; the memory is there before the run.
  std::vector<std::uint32_t> samples_;
  std::size_t sampled_ = 0;
  std::uint64_t asked_ = 0;
  std::uint64_t answered_ = 0;
  std::size_t oldest_ = 0;
  std::size_t newest_ = 0;
  /// Read once for an answer and the request that follows it.
  Clock::time_point now_;
  Moment begin_;
  Moment end_;
  Phase phase_ = Phase::WarmingUp;
};

}  // namespace peers
