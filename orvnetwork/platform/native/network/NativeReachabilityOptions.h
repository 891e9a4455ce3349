#pragma once

#include <chrono>
#include <string>

namespace orv {

/// How the kernel is watched.
struct NativeReachabilityOptions {
  /// A report follows when the system has announced nothing for this long ...
  std::chrono::milliseconds quiet{100};
  /// ... or when the first announcement is this long ago.
  std::chrono::milliseconds longestBurst{500};
  /// How long after it could not be watched another look is tried.
  std::chrono::milliseconds again{30'000};
  /// Where the system tells the kinds of its links.
  std::string linkInformation = "/sys/class/net";
};

}  // namespace orv
