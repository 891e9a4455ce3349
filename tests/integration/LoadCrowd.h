#pragma once

#include <tests/integration/LoadFigures.h>

#include <chrono>
#include <cstdint>
#include <utility>
#include <vector>

namespace orv::test {

/// Two hundred clients in a few threads. Most stay and are answered whatever they ask; some break off again and again
/// in every way and come back; one in each room listens.
class LoadCrowd {
 public:
  static constexpr int kThreads = 4;
  static constexpr int kClientsOfThread = 50;

  LoadCrowd(std::uint16_t port, std::vector<std::int64_t> rooms, unsigned seed)
      : port_(port), rooms_(std::move(rooms)), seed_(seed) {}

  /// Works for that long, waits for all answers, and goes. The first time, the clients make their accounts.
  LoadFigures run(std::chrono::milliseconds length);

 private:
  std::uint16_t port_;
  std::vector<std::int64_t> rooms_;
  unsigned seed_;
  bool registered_ = false;
};

}  // namespace orv::test
