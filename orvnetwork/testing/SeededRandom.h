#pragma once

#include <cstdint>

namespace orv::testing {

/// A small generator of pseudo-random numbers: the same seed gives the same numbers on every machine, with every compiler
/// and in every release, so that a seed that made a test fail can be kept. Not for secrets. One thread at a time.
///
/// A copy goes on with the same numbers as its original, so a test can run one part twice with the same chance.
///
///     SeededRandom random(seed);
///     for (int round = 0; round < 1000; ++round) {
///       if (random.oneIn(10)) {
///         server.cutAll();
///       } else {
///         send(texts[random.below(texts.size())]);
///       }
///     }
class SeededRandom {
 public:
  /// @param seed any number; 0 is as good as others
  explicit SeededRandom(std::uint64_t seed) : state_(seed) {}

  /// The next number, all 64 bits of it.
  std::uint64_t next() {
    state_ += 0x9E3779B97F4A7C15U;
    std::uint64_t mixed = state_;
    mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9U;
    mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBU;
    return mixed ^ (mixed >> 31);
  }

  /// A number from 0 to `limit` - 1; 0 when `limit` is 0.
  /// It takes one number from the row, or none when `limit` is 0. All results are equally likely as long as `limit`
  /// is far below 2^64.
  std::uint64_t below(std::uint64_t limit) { return limit == 0 ? 0 : next() % limit; }

  /// True once in `n` times on average: always when `n` is 1, never when it is 0.
  bool oneIn(std::uint64_t n) { return n != 0 && below(n) == 0; }

 private:
  std::uint64_t state_;
};

}  // namespace orv::testing
