#pragma once

#include <string>

namespace orv::test {

/// From now on this process, and those that it starts, have mounts of their own, which nobody else sees. Fails the test where
/// that is not permitted.
void ownMounts();

/// A disk that never answers, such as one on a machine that was switched off: who asks it for anything waits until this
/// object is gone or is killed itself.
class SilentDisk {
 public:
  /// Whether the kernel makes one.
  static bool isPossible();

  /// Lies at a folder that is there. After `ownMounts`.
  explicit SilentDisk(const std::string& folder);
  SilentDisk(const SilentDisk&) = delete;
  SilentDisk& operator=(const SilentDisk&) = delete;
  ~SilentDisk();

 private:
  const std::string folder_;
  int questions_;
};

}  // namespace orv::test
