#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>

namespace orv {

/// Version and build of the application that the library is part of.
///
/// They are what the host sets, else "CFBundleShortVersionString" and "CFBundleVersion" of an `Info.plist` beside
/// the program's file, which is read once, when it is first asked for. One that cannot be read counts as none and
/// is logged to the console. Any thread.
class ORV_EXPORT MainBundle {
 public:
  MainBundle() = delete;

  /// The short version, for example "2.3.1"; absent when neither the host nor an `Info.plist` tells it.
  static OptionalString shortVersion();
  /// The build, for example "57"; absent likewise.
  static OptionalString version();

  /// Sets both, for whoever asks from now on.
  /// @param shortVersion the short version; absent: the one of the `Info.plist` again
  /// @param version the build; absent likewise
  static void setVersions(OptionalString shortVersion, OptionalString version);
};

}  // namespace orv
