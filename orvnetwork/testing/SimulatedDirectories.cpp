#include "orvnetwork/testing/SimulatedDirectories.h"

#include <orvnetwork/platform/HomeFolder.h>

#include <optional>

namespace orv::testing {

std::string SimulatedDirectories::home() {
  return HomeFolder::chosen().value_or(home_);
}

OptionalString SimulatedDirectories::searchPath(int code) {
  const auto set = searchPaths_.find(code);
  if (set != searchPaths_.end()) {
    return set->second;
  }
  switch (code) {
    case kLibraryDirectoryCode:
      return home() + "/.local/share";
    case kDocumentDirectoryCode:
      return home() + "/Documents";
    case kCachesDirectoryCode:
      return home() + "/.cache";
    default:
      return std::nullopt;
  }
}

}  // namespace orv::testing
