#include "orvnetwork/course/detail/Trash.h"

#include <orvnetwork/data/PathText.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/platform/TemporaryName.h>
#include <orvnetwork/support/QXPathManager.h>

#include <string>
#include <system_error>

namespace orv {

namespace {

void removeWhole(const OptionalString& path) {
  QXPathManager::sharedManager().removeFolderOrFile(path);
}

}  // namespace

void throwAway(const OptionalString& path, const OptionalString& trash, Executor& workers) {
  Platform& platform = Platform::current();
  if (!path || !platform.files().exists(*path)) return;
  std::error_code error;
  if (trash) {
    const std::string name = temporaryName(platform.random(), platform.random(), kDeletedEnding);
    const std::string thrown = appendPathComponent(*trash, name);
    if (platform.files().rename(*path, thrown, error)) {
      workers.post([thrown] { removeWhole(thrown); });
      return;
    }
  }
  removeWhole(path);
}

void emptyTrash(const OptionalString& trash) {
  std::error_code error;
  const auto names = trash ? Platform::current().files().list(*trash, error) : std::nullopt;
  if (!names) return;
  for (const std::string& name : *names) {
    if (isTemporaryName(name, kDeletedEnding)) removeWhole(appendPathComponent(*trash, name));
  }
}

}  // namespace orv
