#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace orv::devserver {

/// Faults in the way bytes go out. Armed from any thread, read by every link before each write.
class WireFaults {
 public:
  /// Every write to a socket takes one byte.
  void setOneByteWrites(bool on) { oneByteWrites_ = on; }
  bool oneByteWrites() const { return oneByteWrites_; }

  /// The next `links` links that write `bytes` bytes from now on are cut there (end of stream).
  void cutAfter(std::uint64_t bytes, std::size_t links) {
    cutBytes_ = bytes;
    linksLeft_ = links;
    generation_ = links == 0 ? 0 : ++lastGeneration_;
  }
  bool cutArmed() const { return generation_ != 0; }
  std::uint64_t cutBytes() const { return cutBytes_; }
  std::size_t linksLeft() const { return cutArmed() ? linksLeft_.load() : 0; }

  void clear() {
    oneByteWrites_ = false;
    cutAfter(0, 0);
  }

  /// One link's own count towards the cut.
  struct Meter {
    std::uint64_t generation = 0;
    std::uint64_t sent = 0;
  };

  /// How many of `wanted` bytes the link may write now; 0: it is to be cut.
  std::size_t allowance(Meter& meter, std::size_t wanted) const {
    if (std::uint64_t generation = generation_; generation != 0) {
      if (meter.generation != generation) meter = {generation, 0};
      const std::uint64_t limit = cutBytes_;
      const std::uint64_t left = limit > meter.sent ? limit - meter.sent : 0;
      wanted = static_cast<std::size_t>(std::min<std::uint64_t>(wanted, left));
    }
    return oneByteWrites_ ? std::min<std::size_t>(wanted, 1) : wanted;
  }

  /// The link was cut; the fault is spent with the last of its links.
  void spendCut() {
    if (linksLeft_ <= 1) {
      generation_ = 0;
    } else {
      --linksLeft_;
    }
  }

 private:
  std::atomic<bool> oneByteWrites_{false};
  std::atomic<std::uint64_t> cutBytes_{0};
  std::atomic<std::size_t> linksLeft_{0};
  std::atomic<std::uint64_t> generation_{0};
  std::atomic<std::uint64_t> lastGeneration_{0};
};

}  // namespace orv::devserver
