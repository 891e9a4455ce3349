#include <orvnetwork/transport/detail/RoundTripCounter.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <memory>
#include <optional>
#include <random>
#include <vector>

namespace orv::round_trip_counter_test {
namespace {

using namespace std::chrono_literals;

/// The figures of a counter since it was made.
RoundTrips figuresOf(const RoundTripCounter& counter) {
  return counter.values().since({}, counter.longest());
}

std::unique_ptr<RoundTripCounter> counterOf(const std::vector<SteadyTime::duration>& spans) {
  auto counter = std::make_unique<RoundTripCounter>();
  for (const auto span : spans) counter->count(span, 0);
  return counter;
}

/// The one of which the first `share` of all are not longer.
Seconds exactShare(std::vector<SteadyTime::duration> spans, std::size_t ofHundred) {
  std::sort(spans.begin(), spans.end());
  const std::size_t rank = std::max<std::size_t>(1, (spans.size() * ofHundred + 99) / 100);
  return spans[rank - 1];
}

TEST(RoundTripBuckets, HoldEverySpanOfAMicrosecondToTwoMinutesWithinTheirEdges) {
  for (std::int64_t ns = 1000; ns < std::int64_t{134'000'000'000}; ns += 1 + ns / 97) {
    const std::size_t index = RoundTripBuckets::indexOf(ns);
    const Seconds span = std::chrono::nanoseconds(ns);
    ASSERT_LE(RoundTripBuckets::firstOf(index).count(), span.count()) << ns;
    ASSERT_LT(span.count(), RoundTripBuckets::firstOf(index + 1).count()) << ns;
    const Seconds width = RoundTripBuckets::firstOf(index + 1) - RoundTripBuckets::firstOf(index);
    ASSERT_LE(width.count(), std::max(1e-6, span.count() / 32) * 1.000001) << ns;
  }
}

TEST(RoundTripBuckets, TakeWhatIsShorterAndLongerAtTheirEnds) {
  EXPECT_EQ(RoundTripBuckets::indexOf(0), 0u);
  EXPECT_EQ(RoundTripBuckets::indexOf(999), 0u);
  EXPECT_EQ(RoundTripBuckets::indexOf(-5), 0u);
  EXPECT_EQ(RoundTripBuckets::indexOf(31'999), 31u);
  EXPECT_EQ(RoundTripBuckets::indexOf(32'000), 32u);
  EXPECT_EQ(RoundTripBuckets::indexOf(134'217'727'999), RoundTripBuckets::kCount - 1);
  EXPECT_EQ(RoundTripBuckets::indexOf(134'217'728'000), RoundTripBuckets::kCount - 1);
  EXPECT_EQ(RoundTripBuckets::indexOf(INT64_MAX), RoundTripBuckets::kCount - 1);
  EXPECT_EQ(RoundTripBuckets::kCount, 736u);
}

TEST(RoundTripCounter, SaysNothingBeforeAnythingHappened) {
  const RoundTrips none = figuresOf(RoundTripCounter());
  EXPECT_EQ(none.count, 0u);
  EXPECT_EQ(none.sum, Seconds(0));
  EXPECT_EQ(none.p50, std::nullopt);
  EXPECT_EQ(none.p99, std::nullopt);
  EXPECT_EQ(none.longest, std::nullopt);
}

TEST(RoundTripCounter, TellsPercentilesWithinThreePointTwoPerCentOfTheExactOnes) {
  std::mt19937_64 random(4711);
  for (int run = 0; run < 60; ++run) {
    std::lognormal_distribution<double> spread(-7.0 + run % 6, 0.2 + 0.05 * (run % 20));
    std::vector<SteadyTime::duration> spans(1 + random() % 3000);
    for (auto& span : spans) {
      const double seconds = std::clamp(spread(random), 40e-6, 130.0);
      span = std::chrono::duration_cast<SteadyTime::duration>(Seconds(seconds));
    }
    const RoundTrips told = figuresOf(*counterOf(spans));
    ASSERT_EQ(told.count, spans.size());
    EXPECT_NEAR(told.p50->count() / exactShare(spans, 50).count(), 1, 0.032) << "run " << run;
    EXPECT_NEAR(told.p99->count() / exactShare(spans, 99).count(), 1, 0.032) << "run " << run;
    EXPECT_EQ(*told.longest, Seconds(*std::max_element(spans.begin(), spans.end())));
    Seconds sum{0};
    for (const auto span : spans) sum += span;
    EXPECT_NEAR(told.sum.count(), sum.count(), sum.count() * 1e-9);
  }
}

TEST(RoundTripCounter, TellsOneSpanAsWhatItWas) {
  const RoundTrips one = figuresOf(*counterOf({20ms}));
  EXPECT_NEAR(one.p50->count(), 0.02, 0.02 * 0.032);
  EXPECT_EQ(one.longest, Seconds(20ms));
  EXPECT_LE(one.p99, one.longest) << "no percentile is above the longest one";
  EXPECT_EQ(figuresOf(*counterOf({0ns})).p99, Seconds(0));
}

TEST(RoundTripCounter, CountsOnlyWhatCameAfterAMoment) {
  RoundTripCounter counter;
  for (int i = 0; i < 100; ++i) counter.count(5s, 1);
  const RoundTripValues before = counter.values();
  for (int i = 0; i < 10; ++i) counter.count(10ms, 2);
  const RoundTrips later = counter.values().since(before, counter.longestOf(2));
  EXPECT_EQ(later.count, 10u);
  EXPECT_NEAR(later.sum.count(), 0.1, 1e-9);
  EXPECT_NEAR(later.p99->count(), 0.01, 0.01 * 0.032);
  EXPECT_EQ(later.longest, Seconds(10ms));
  EXPECT_EQ(counter.longest(), Seconds(5s));
  EXPECT_EQ(counter.longestOf(1), Seconds(0)) << "that of a former link is not kept";
}

TEST(RoundTripCounter, KeepsTheLongestOfEachLinkThroughManyOfThem) {
  RoundTripCounter counter;
  for (std::uint64_t link = 0; link < 200'000; link += 7919) {
    counter.count(3ms, link);
    counter.count(2ms, link);
    EXPECT_EQ(counter.longestOf(link), Seconds(3ms)) << link;
  }
}

TEST(RoundTripCounter, TakesNoSpanBelowZero) {
  EXPECT_EQ(figuresOf(*counterOf({-1ms})).count, 0u);
}

TEST(RoundTripCounter, TellsASpanThatIsBeingCountedAsNoShorterThanItsBucket) {
  // As a reader finds it between two steps of the one that counts.
  RoundTripCounter counter;
  counter.count(1s, 1);
  const RoundTrips seen = counter.values().since({}, counter.longestOf(2));
  EXPECT_NEAR(seen.longest->count(), 1, 0.032);
  EXPECT_NEAR(seen.p50->count(), 1, 0.032);
}

}  // namespace
}  // namespace orv::round_trip_counter_test
