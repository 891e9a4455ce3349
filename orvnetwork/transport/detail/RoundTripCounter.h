#pragma once

#include <orvnetwork/transport/LinkStatistics.h>

#include <array>
#include <atomic>
#include <cstdint>

namespace orv {

/// A sum that one thread adds to and all may read.
class PlainSum {
 public:
  void add(std::uint64_t more) { set(get() + more); }
  void set(std::uint64_t value) { value_.store(value, std::memory_order_relaxed); }
  std::uint64_t get() const { return value_.load(std::memory_order_relaxed); }

 private:
  std::atomic<std::uint64_t> value_{0};
};

/// Spans of time in buckets: microseconds below 32 µs, then 32 steps to each power of two, up to 134 s. So a span is told
/// to 1/32 at worst, and with the middle of its bucket to half of that.
struct RoundTripBuckets {
  static constexpr std::size_t kSteps = 32;
  static constexpr std::size_t kPowers = 22;
  static constexpr std::size_t kCount = kSteps * (kPowers + 1);

  /// Which bucket a span is counted in; the last one holds all that is longer.
  static std::size_t indexOf(std::int64_t nanoseconds);
  /// The shortest span that a bucket holds, and the middle of it.
  static Seconds firstOf(std::size_t index);
  static Seconds middleOf(std::size_t index);
};

/// What a counter of round trips held at some moment.
struct RoundTripValues {
  std::array<std::uint64_t, RoundTripBuckets::kCount> buckets{};
  std::uint64_t nanoseconds = 0;

  /// The figures of what came after `before`, of which the longest took `longest`, as far as is known.
  RoundTrips since(const RoundTripValues& before, Seconds longest) const;
};

/// Counts round trips. One thread counts, any thread reads; there is no lock.
class RoundTripCounter {
 public:
  /// @param span nothing is told of one below 0
  /// @param generation the number of the present link
  void count(SteadyTime::duration span, std::uint64_t generation);

  RoundTripValues values() const;
  Seconds longest() const;
  /// The longest of the link with this number; 0 when there was none.
  Seconds longestOf(std::uint64_t generation) const;

 private:
  // The number of the link and the span in one word, so that they belong together: 2^48 ns are three days.
  static constexpr int kSpanBits = 48;
  static constexpr std::uint64_t kMostSpan = (std::uint64_t{1} << kSpanBits) - 1;
  static constexpr std::uint64_t kMostGeneration = 0xFFFF;

  std::array<PlainSum, RoundTripBuckets::kCount> buckets_;
  PlainSum nanoseconds_, longest_, longestOfLink_;
};

}  // namespace orv
