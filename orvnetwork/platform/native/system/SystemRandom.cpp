#include "orvnetwork/platform/native/system/SystemRandom.h"

#include <sys/random.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdlib>

namespace orv {

namespace {

/// One system call for a handful of numbers; each thread has its own.
struct Pool {
  std::array<std::uint32_t, 64> numbers{};
  std::size_t used = 64;

  void refill() {
    auto* bytes = reinterpret_cast<unsigned char*>(numbers.data());
    std::size_t filled = 0;
    while (filled < sizeof numbers) {
      const auto got = ::getrandom(bytes + filled, sizeof numbers - filled, 0);
      if (got < 0 && errno != EINTR) std::abort();  // cannot happen for so few bytes
      if (got > 0) filled += static_cast<std::size_t>(got);
    }
    used = 0;
  }
};

}  // namespace

std::uint32_t systemRandom() {
  thread_local Pool pool;
  if (pool.used == pool.numbers.size()) pool.refill();
  return pool.numbers[pool.used++];
}

}  // namespace orv
