#include "orvnetwork/data/Property.h"

#include <array>
#include <cstdint>

namespace orv::detail {

namespace {

/// A power of two, some times the number of threads that may meet, at a cache line each.
constexpr std::size_t kLocks = 64;

struct alignas(64) PaddedLock {
  std::mutex mutex;
};

// There before the first record, and never destroyed: a host may read a record while the program ends.
static_assert(std::is_trivially_destructible_v<std::mutex>);
constinit std::array<PaddedLock, kLocks> locks;

}  // namespace

std::mutex& propertyLock(const void* property) noexcept {
  // Fields that lie side by side in a record get different locks: the smallest is as large as two pointers.
  const auto address = reinterpret_cast<std::uintptr_t>(property);
  return locks[(address / 16 + address / 1024) % kLocks].mutex;
}

}  // namespace orv::detail
