#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace orv::test {

/// A system call that the kernel is to answer with an error.
struct RefusedCall {
  /// Its number (`__NR_` ...).
  std::uint32_t number = 0;
  std::uint32_t error = 0;
  /// If set, only calls with this first argument.
  std::optional<std::uint32_t> firstArgument{};
};

/// Whose calls are refused, for good: those of the calling thread and of the threads that it starts afterwards, or those of
/// all threads of the process.
enum class RefusedTo { ThisThread, AllThreads };

/// Makes the kernel refuse these calls, as a sandbox does, or as a system does that has run out of something. Throws
/// `std::system_error` when the kernel does not do that.
void refuseSystemCalls(const std::vector<RefusedCall>& calls, RefusedTo whom = RefusedTo::ThisThread);

}  // namespace orv::test
