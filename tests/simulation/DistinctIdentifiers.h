#pragma once

#include <orvnetwork/testing/SimulatedPlatform.h>

#include <cstdint>
#include <vector>

namespace orv {

/// Keeps the identifiers of the next `count` requests apart, which otherwise only chance does: of a request whose
/// identifier another one took nobody hears again.
///
/// An identifier is the time in microseconds, rounded down, and the random number's last three digits. Here these count
/// up, so requests of one moment differ, and begin anew before they reach a thousandth of a second, which is the walks'
/// step of time less the microsecond that rounding can take from it. Up to that the numbers themselves are all different.
inline void keepIdentifiersApart(testing::SimulatedPlatform& platform, std::uint32_t count) {
  constexpr std::uint32_t kCycle = 990;
  std::vector<std::uint32_t> numbers(count);
  for (std::uint32_t i = 0; i < count; ++i) numbers[i] = i / kCycle * 1000 + i % kCycle;
  platform.queueRandom(numbers);
}

}  // namespace orv
