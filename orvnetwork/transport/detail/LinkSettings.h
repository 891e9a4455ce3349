#pragma once

#include <orvnetwork/data/Property.h>

namespace orv {

/// What every request frame says of this installation and of the application. The host sets it through
/// `QXWebSocketMgr`, and all of it is absent before. Each field is read and written whole, on any thread.
struct LinkSettings {
  /// Identifier of this installation: "g" of every frame.
  Property<OptionalString> globalUUID;
  /// Version and build of the application, joined by a point in "b" of every frame.
  Property<OptionalString> appVersion;
  Property<OptionalString> appBuildVersion;

  /// The settings of the one link, made on first use and never destroyed.
  static LinkSettings& standard();
};

}  // namespace orv
