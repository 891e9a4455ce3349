#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>

namespace orv {

/// The folder that stands in for the user's home, where the host has chosen one.
///
/// The documents, data and caches folders lie in it then, wherever the user's settings put them: "Documents" (or what the
/// file ".config/user-dirs.dirs" in it says), ".local/share" and ".cache". The folder of temporary files stays where it
/// is. It counts for the operating system's platform and for the simulated one.
///
/// It must be chosen before anything else of the library is used: `QXPathManager`, the log and the managers read their
/// folders once, when they are made. `Client::start` looks after that.
///
///     HomeFolder::choose("/srv/kiosk/3");       // first thing in main
class ORV_EXPORT HomeFolder {
 public:
  HomeFolder() = delete;

  /// The folder that was chosen; absent: the user's own home. Any thread.
  static OptionalString chosen();
  /// Chooses the folder; it is not made. Any thread.
  /// @param path absolute, without a slash at its end; absent: the user's own home again
  static void choose(OptionalString path);
};

}  // namespace orv
