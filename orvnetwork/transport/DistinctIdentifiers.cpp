#include "orvnetwork/transport/DistinctIdentifiers.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <utility>

namespace orv {

namespace {

// Requests that are made at the same time lie within a millisecond: these reach back to four.
constexpr std::size_t kRemembered = 4096;

/// The last identifier taken of those with the same rest, by that rest.
std::array<std::atomic<std::int64_t>, kRemembered> takenIdentifiers;

thread_local bool wantsDistinctIdentifiers = false;

std::atomic<std::int64_t>& placeOf(std::int64_t identifier) {
  return takenIdentifiers[static_cast<std::uint64_t>(identifier) % kRemembered];
}

/// Whether it was free, and is taken now.
bool takeIfFree(std::int64_t identifier) {
  return placeOf(identifier).exchange(identifier, std::memory_order_relaxed) != identifier;
}

}  // namespace

DistinctIdentifiers::DistinctIdentifiers() : outer_(std::exchange(wantsDistinctIdentifiers, true)) {}

DistinctIdentifiers::~DistinctIdentifiers() {
  wantsDistinctIdentifiers = outer_;
}

std::int64_t DistinctIdentifiers::take(std::int64_t drawn) {
  std::int64_t identifier = drawn;
  // When none at all is free, which takes thousands of requests within a millisecond, the first one is as good as any.
  for (std::size_t tried = 0; !takeIfFree(identifier); ++tried) {
    if (!wantsDistinctIdentifiers || tried == kRemembered) return drawn;
    ++identifier;
  }
  return identifier;
}

}  // namespace orv
