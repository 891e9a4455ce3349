#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace orv::test {

/// What a crowd of clients has seen; each thread has its own, added up at the end.
struct LoadFigures {
  static constexpr std::size_t kBuckets = 100'000;
  static constexpr std::chrono::microseconds kBucket{100};

  std::uint64_t answered = 0;
  std::uint64_t pushes = 0;
  std::uint64_t reconnects = 0;
  std::uint64_t garbageFrames = 0;
  /// Connections whose end was seen by a listener of the room.
  std::uint64_t lossesSeen = 0;
  /// Requests of clients that stayed which were never answered.
  std::uint64_t unanswered = 0;
  /// What should not have come, for example "Course.Get.Info 1202", and how often.
  std::map<std::string, std::uint64_t> problems;
  /// Messages that were posted into each room, as their posters know, and as its listener saw them.
  std::map<std::int64_t, std::vector<std::int64_t>> posted, seen;
  /// Requests by the time that they took.
  std::vector<std::uint32_t> times = std::vector<std::uint32_t>(kBuckets);

  void add(const LoadFigures& other);
  /// The time within which this part of the requests was answered, in milliseconds.
  double milliseconds(double part) const;
};

}  // namespace orv::test
