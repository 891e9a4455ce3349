#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

namespace peers {

/// What a peer is told to do. All of them take the same command line:
///
///     PEER ADDRESS:PORT OUTSTANDING AMOUNT
///
/// With one request outstanding the next one is sent when the one before has been answered, which is a round trip;
/// with more there are always so many on their way. The amount is a number of requests (`20000`) or a time in
/// seconds (`1.5s`); a quarter of it is done before, unmeasured.
struct Order {
  std::string host;
  unsigned short port = 0;
  std::size_t outstanding = 1;
  /// How many requests are measured; with 0 it is the time that counts.
  std::uint64_t requests = 0;
  std::chrono::nanoseconds time{0};
};

/// Ends the process with status 2 and the usage where the arguments are others.
Order readOrder(int argc, char** argv);

}  // namespace peers
