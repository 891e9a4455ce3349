#include "orvnetwork/transport/detail/RoundTripCounter.h"

#include <algorithm>
#include <bit>
#include <chrono>

namespace orv {

namespace {

constexpr std::int64_t kNanosecondsInMicrosecond = 1000;

Seconds secondsOf(std::uint64_t nanoseconds) {
  return std::chrono::nanoseconds(static_cast<std::int64_t>(nanoseconds));
}

/// The bucket that holds the span at this place of their order, counted from 1.
std::size_t bucketOfRank(const std::array<std::uint64_t, RoundTripBuckets::kCount>& buckets,
                         std::uint64_t rank) {
  std::size_t index = 0;
  for (std::uint64_t passed = buckets[0]; passed < rank && index + 1 < buckets.size();) {
    passed += buckets[++index];
  }
  return index;
}

}  // namespace

std::size_t RoundTripBuckets::indexOf(std::int64_t nanoseconds) {
  const auto span =
      static_cast<std::uint64_t>(std::max<std::int64_t>(nanoseconds, 0) / kNanosecondsInMicrosecond);
  if (span < kSteps) return static_cast<std::size_t>(span);
  // The power of two that the span lies in, where 32 to 63 µs is the first one.
  const auto power = static_cast<std::size_t>(std::bit_width(span / kSteps));
  if (power > kPowers) return kCount - 1;
  return power * kSteps + static_cast<std::size_t>(span >> (power - 1)) - kSteps;
}

Seconds RoundTripBuckets::firstOf(std::size_t index) {
  const std::size_t power = index / kSteps;
  const std::size_t first = power == 0 ? index : (index % kSteps + kSteps) << (power - 1);
  return std::chrono::microseconds(first);
}

Seconds RoundTripBuckets::middleOf(std::size_t index) {
  return (firstOf(index) + firstOf(index + 1)) / 2;
}

RoundTrips RoundTripValues::since(const RoundTripValues& before, Seconds longest) const {
  RoundTrips trips;
  auto counts = buckets;
  for (std::size_t i = 0; i < counts.size(); ++i) {
    counts[i] -= before.buckets[i];
    trips.count += counts[i];
    // One that is being counted at this moment may not be known as the longest yet.
    if (counts[i] > 0) longest = std::max(longest, RoundTripBuckets::firstOf(i));
  }
  if (trips.count == 0) return trips;
  trips.sum = secondsOf(nanoseconds - before.nanoseconds);
  trips.longest = longest;
  // No percentile is above the longest one, as the middle of a bucket may be.
  const auto told = [&](std::uint64_t rank) {
    return std::min(RoundTripBuckets::middleOf(bucketOfRank(counts, rank)), longest);
  };
  trips.p50 = told((trips.count + 1) / 2);
  trips.p99 = told(trips.count - trips.count / 100);
  return trips;
}

void RoundTripCounter::count(SteadyTime::duration span, std::uint64_t generation) {
  const std::int64_t nanoseconds = span.count();
  if (nanoseconds < 0) return;
  const auto length = static_cast<std::uint64_t>(nanoseconds);
  // First the longest: a reader that sees the count sees no percentile above it, but for a moment.
  if (length > longest_.get()) longest_.set(length);
  const std::uint64_t mark = (generation & kMostGeneration) << kSpanBits;
  const std::uint64_t marked = mark | std::min(length, kMostSpan);
  const std::uint64_t former = longestOfLink_.get();
  if ((former & ~kMostSpan) != mark || marked > former) longestOfLink_.set(marked);
  buckets_[RoundTripBuckets::indexOf(nanoseconds)].add(1);
  nanoseconds_.add(length);
}

RoundTripValues RoundTripCounter::values() const {
  RoundTripValues values;
  std::transform(buckets_.begin(), buckets_.end(), values.buckets.begin(),
                 [](const PlainSum& sum) { return sum.get(); });
  values.nanoseconds = nanoseconds_.get();
  return values;
}

Seconds RoundTripCounter::longest() const {
  return secondsOf(longest_.get());
}

Seconds RoundTripCounter::longestOf(std::uint64_t generation) const {
  const std::uint64_t marked = longestOfLink_.get();
  return marked >> kSpanBits == (generation & kMostGeneration) ? secondsOf(marked & kMostSpan) : Seconds(0);
}

}  // namespace orv
