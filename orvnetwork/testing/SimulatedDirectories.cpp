#include "orvnetwork/testing/SimulatedDirectories.h"

#include <optional>

namespace orv::testing {

OptionalString SimulatedDirectories::searchPath(int code) {
  const auto set = searchPaths_.find(code);
  if (set != searchPaths_.end()) {
    return set->second;
  }
  switch (code) {
    case kLibraryDirectoryCode:
      return home_ + "/.local/share";
    case kDocumentDirectoryCode:
      return home_ + "/Documents";
    case kCachesDirectoryCode:
      return home_ + "/.cache";
    default:
      return std::nullopt;
  }
}

}  // namespace orv::testing
