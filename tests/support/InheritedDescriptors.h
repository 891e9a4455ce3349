#pragma once

#include <fcntl.h>

#include <filesystem>
#include <set>
#include <string>

namespace orv::test {

/// The descriptors that stay open in a program that is started now.
inline std::set<int> inheritedDescriptors() {
  std::set<int> inherited;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    const int descriptor = std::stoi(entry.path().filename());
    const int flags = ::fcntl(descriptor, F_GETFD);
    if (flags >= 0 && (flags & FD_CLOEXEC) == 0) inherited.insert(descriptor);
  }
  return inherited;
}

}  // namespace orv::test
